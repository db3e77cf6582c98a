// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const ActionState enabled {};

ActionState disabled(std::string reason = {}) {
    return { false, std::move(reason) };
}

} // namespace

class ActionsTest : public WindowTest {
protected:
    ActionsTest() { host->resolved.set(true); }

    /// What stands in the queue behind blockers after the action, with the queue empty again at the end.
    [[nodiscard]] std::vector<std::string> mountedBy(Selector action, const MenuItem& sender = {}) {
        controller->perform(action, sender);
        waitUntilIdle();
        std::vector<std::string> names;
        for (const auto& request : volumes.requests())
            names.push_back(request.volumeName);
        return names;
    }

    const std::shared_ptr<HostDefinition> host = addHost("192.168.1.20", smb, { "a", "b" });
    const std::shared_ptr<SharePointDefinition> a = host->sharePointForName("a");
    const std::shared_ptr<SharePointDefinition> b = host->sharePointForName("b");
};

TEST_F(ActionsTest, AnActionThatNobodyKnowsDoesNothing) {
    for (const Selector name : { "", "mount", "mountAllListItem:", "applicationWillTerminate" }) {
        perform(name);
        EXPECT_EQ(controller->validate(name), disabled()) << name;
    }
    EXPECT_THAT(application.events(), IsEmpty());
    EXPECT_THAT(window.events(), IsEmpty());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
}

TEST_F(ActionsTest, TheWindowsActionsReachTheWindows) {
    perform("showMountList");
    EXPECT_THAT(window.events(), ElementsAre("center", "front"));
    perform("showPreferences");
    EXPECT_THAT(preferencesWindow.events(), ElementsAre("center", "front regardless", "front"));
    perform("switchTab", 1);
    EXPECT_EQ(preferencesWindow.selectedTab(), "1");
    application.clearEvents();
    perform("showAbout");
    perform("terminate");
    EXPECT_THAT(application.events(), ElementsAre("about", "terminate"));
    perform("help");
    EXPECT_THAT(workspace.openedURLs(), ElementsAre(environment.helpPage));
}

TEST_F(ActionsTest, MountAllMountsAll) {
    EXPECT_THAT(mountedBy("mountAllListItem"), testing::UnorderedElementsAre("a", "b"));
    perform("unmountAllListItem");
    waitUntilIdle();
    EXPECT_THAT(volumes.mountedVolumes(), IsEmpty());
}

TEST_F(ActionsTest, TheWindowIsToldWhenWhatCanBeDoneChangesBehindItsLists) {
    const auto other = addHost("192.168.1.21", smb, { "c" });
    selectHost(other); // so that nothing of what is mounted is shown
    static_cast<void>(window.takeValidations());
    perform("mountAllListItem");
    EXPECT_GT(window.takeValidations(), 0) << "something is queued now";
    waitUntilIdle();
    mainThreadQueue.runPending();
    EXPECT_GT(window.takeValidations(), 0) << "and nothing is any more";
    controller->applicationDidFinishLaunching();
    waitUntilIdle();
    mainThreadQueue.runPending();
    static_cast<void>(window.takeValidations());
    for (int volume = 0; volume < 10; ++volume)
        notificationCenter.post("diskAddRemoveNotification");
    EXPECT_EQ(window.takeValidations(), 0);
    mainThreadQueue.runPending();
    EXPECT_EQ(window.takeValidations(), 1) << "volumes came or went, and that was looked at once for all of them";
}

TEST_F(ActionsTest, TheSelectedHostsActionsActOnItsShares) {
    const auto other = addHost("192.168.1.21", smb, { "c" });
    other->resolved.set(true);
    selectHost(host);
    EXPECT_THAT(mountedBy("mountThisHostListItem"), testing::UnorderedElementsAre("a", "b"));
    perform("unmountThisHostListItem");
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 2U);
}

TEST_F(ActionsTest, TheSelectedSharesActionsActOnIt) {
    select(b);
    EXPECT_THAT(mountedBy("mountSelectedListItem"), ElementsAre("b"));
    perform("openMountedFolder");
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("/home/test/Volumes/b"));
    perform("toggleFavroite");
    EXPECT_EQ(b->favroite.get(), true);
    perform("unmountSelectedListItem");
    waitUntilIdle();
    EXPECT_FALSE(b->mounted.get());
}

TEST_F(ActionsTest, TheMenusActionsGoByTheSendersTitleAndMenu) {
    const Menu menu("192.168.1.20");
    MenuItem sender;
    sender.menu = &menu;
    sender.title = "b";
    EXPECT_THAT(mountedBy("mountMenuItem", sender), ElementsAre("b"));
    controller->perform("unmountMenuItem", sender);
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 1U);
    sender.title = "Server";
    EXPECT_EQ(mountedBy("mountThisHostMenuItem", sender).size(), 3U);
    controller->perform("unmountThisHostMenuItem", sender);
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 3U);
    sender.title = "192.168.1.20 : a";
    EXPECT_EQ(mountedBy("mountFavroiteItem", sender).size(), 4U);
    EXPECT_TRUE(a->mounted.get());
}

TEST_F(ActionsTest, EveryOtherActionIsAlwaysPossible) {
    for (const Selector name :
        { "mountMenuItem", "unmountMenuItem", "mountThisHostMenuItem", "unmountThisHostMenuItem", "mountFavroiteItem",
            "addMountSheet", "showMountList", "showPreferences", "switchTab", "showAbout", "help", "terminate" })
        EXPECT_EQ(controller->validate(name), enabled) << name;
    EXPECT_EQ(controller->validate("browseMount"), disabled());
}

TEST_F(ActionsTest, WithoutWindowsTheirActionsAreImpossible) {
    environment.windows = nullptr;
    environment.helpPage.clear();
    controller = std::make_unique<QuorrelAppDelegate>(environment);
    for (const Selector name :
        { "addMountSheet", "showMountList", "showPreferences", "switchTab", "showAbout", "help", "terminate" }) {
        EXPECT_EQ(controller->validate(name), disabled()) << name;
        perform(name);
    }
    EXPECT_THAT(application.events(), ElementsAre("no delegate"));
}

TEST_F(ActionsTest, WithNothingSelectedTheActionsOnASelectionSayWhatIsMissing) {
    for (const Selector name : { "mountSelectedListItem", "unmountSelectedListItem", "editMountAction",
             "deleteSelectedMount", "openMountedFolder", "toggleFavroite" })
        EXPECT_EQ(controller->validate(name), disabled("Select a share first.")) << name;
    for (const Selector name : { "mountThisHostListItem", "unmountThisHostListItem" })
        EXPECT_EQ(controller->validate(name), disabled("Select a server first.")) << name;
}

TEST_F(ActionsTest, AnySelectedShareCanBeEditedDeletedAndFavoured) {
    select(a);
    for (const Selector name : { "editMountAction", "deleteSelectedMount", "toggleFavroite" })
        EXPECT_EQ(controller->validate(name), enabled) << name;
}

TEST_F(ActionsTest, WhileTheSheetIsOpenNothingIsAddedEditedOrDeleted) {
    select(a);
    perform("editMountAction");
    ASSERT_TRUE(sheet.controller());
    for (const Selector name : { "addMountSheet", "editMountAction", "deleteSelectedMount" })
        EXPECT_EQ(controller->validate(name), disabled()) << name;
    sheet.controller()->cancelMountSheet();
    for (const Selector name : { "addMountSheet", "editMountAction", "deleteSelectedMount" })
        EXPECT_EQ(controller->validate(name), enabled) << name;
}

TEST_F(ActionsTest, WhatCanBeDoneWithAShareIsAMatterOfItsState) {
    const std::string byOthers = "Another program mounted this volume, and it can be unmounted there.";
    const std::string beingMounted = "The share is being mounted.";
    const std::string beingUnmounted = "The share is being unmounted.";
    const std::string isMounted = "The share is mounted already.";
    const std::string notMounted = "The share is not mounted.";
    const std::string noFolder = "It is not known under which folder the share is mounted.";
    struct Row final {
        const char* what;
        std::function<void(SharePointDefinition&)> prepare;
        ActionState mount;
        ActionState unmount;
        ActionState folder;
    };
    const std::vector<Row> rows {
        { "offline", [](auto&) {}, enabled, disabled(notMounted), disabled(notMounted) },
        { "mounting", [](auto& share) { share.setMounting(true); }, disabled(beingMounted), disabled(beingMounted),
            disabled(notMounted) },
        { "mounted",
            [](auto& share) {
                share.setVolume(3, "/home/ann/Volumes/a");
                share.setMounted(true);
            },
            disabled(isMounted), enabled, enabled },
        { "mounted without a path",
            [](auto& share) {
                share.setVolume(3);
                share.setMounted(true);
            },
            disabled(isMounted), enabled, disabled(noFolder) },
        { "unmounting",
            [](auto& share) {
                share.setVolume(3, "/home/ann/Volumes/a");
                share.setMounted(true);
                share.setUnmounting(true);
            },
            disabled(beingUnmounted), disabled(beingUnmounted), enabled },
        { "mounted by another program", [](auto& share) { share.setMounted(true); }, enabled, disabled(byOthers),
            disabled(noFolder) },
        { "mounted by another program after a failure of ours",
            [](auto& share) {
                share.setVolume(0);
                share.setMounted(true);
            },
            enabled, disabled(byOthers), disabled(noFolder) },
        { "failed",
            [](auto& share) {
                share.setVolume(0);
                share.setMounted(false);
            },
            enabled, disabled(notMounted), disabled(notMounted) },
        { "a namesake went",
            [](auto& share) {
                share.setVolume(3, "/home/ann/Volumes/a");
                share.setMounted(false);
            },
            enabled, enabled, disabled(notMounted) },
    };
    for (const auto& row : rows) {
        const auto share = addShare(host, smb, row.what);
        row.prepare(*share);
        select(share);
        EXPECT_EQ(controller->validate("mountSelectedListItem"), row.mount) << row.what;
        EXPECT_EQ(controller->validate("unmountSelectedListItem"), row.unmount) << row.what;
        EXPECT_EQ(controller->validate("openMountedFolder"), row.folder) << row.what;
    }
}

TEST_F(ActionsTest, WhatCanBeDoneWithAHostIsAMatterOfItsShares) {
    selectHost(host);
    EXPECT_EQ(controller->validate("mountThisHostListItem"), enabled);
    EXPECT_EQ(controller->validate("unmountThisHostListItem"), disabled("No share of the server is mounted."));
    a->setVolume(3);
    a->setMounted(true);
    EXPECT_EQ(controller->validate("mountThisHostListItem"), enabled);
    EXPECT_EQ(controller->validate("unmountThisHostListItem"), enabled);
    b->setVolume(4);
    b->setMounted(true);
    EXPECT_EQ(controller->validate("mountThisHostListItem"), disabled("Every share of the server is mounted already."));
    host->sharePoints.removeAll();
    for (const Selector name : { "mountThisHostListItem", "unmountThisHostListItem" })
        EXPECT_EQ(controller->validate(name), disabled("The server has no shares in the catalogue.")) << name;
}

TEST_F(ActionsTest, WhatCanBeDoneWithAllIsAMatterOfAllShares) {
    const auto other = addHost("192.168.1.21", smb, { "c" });
    EXPECT_EQ(controller->validate("mountAllListItem"), enabled);
    EXPECT_EQ(controller->validate("unmountAllListItem"), disabled("No share is mounted."));
    other->sharePointForName("c")->setVolume(3);
    other->sharePointForName("c")->setMounted(true);
    EXPECT_EQ(controller->validate("unmountAllListItem"), enabled);
    for (const auto& share : host->sharePoints.snapshot()) {
        share->setVolume(4);
        share->setMounted(true);
    }
    EXPECT_EQ(controller->validate("mountAllListItem"), disabled("Every share is mounted already."));
    controller->hosts.removeAll();
    for (const Selector name : { "mountAllListItem", "unmountAllListItem" })
        EXPECT_EQ(controller->validate(name), disabled("There are no shares in the catalogue.")) << name;
}

TEST_F(ActionsTest, WhileMountsWaitUnmountingAllCallsThemOff) {
    selectHost(host);
    occupyQueue();
    perform("mountThisHostListItem");
    EXPECT_EQ(waitingOperations(), 2U);
    EXPECT_EQ(controller->validate("unmountAllListItem"), enabled);
    perform("unmountAllListItem");
    EXPECT_EQ(waitingOperations(), 0U);
    releaseQueue();
    EXPECT_EQ(controller->validate("unmountAllListItem"), disabled("No share is mounted."));
}

TEST_F(ActionsTest, ReasonsAreInTheUsersLanguage) {
    const FakeStringTable german(
        FakeStringTable::Texts { { "Select a share first.", "Erst eine Freigabe auswählen." } });
    const QuorrelAppDelegate germanController(
        { { mounting, resolving, preferences, notificationCenter, files, workspace, german, log, mainThreadQueue },
            passwordWindow });
    EXPECT_EQ(germanController.validate("toggleFavroite"), disabled("Erst eine Freigabe auswählen."));
}

} // namespace quorrel
