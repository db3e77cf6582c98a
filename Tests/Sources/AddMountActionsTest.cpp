// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AddMountWindowController.h"

#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The controller's operations that open the share editor, and its deletion of a share point.
class AddMountActionsTest : public WindowTest {
protected:
    using SharePoints = std::vector<std::shared_ptr<SharePointDefinition>>;

    AddMountActionsTest() {
        subscription = notificationCenter.addObserver("900", [this](const Notification& each) {
            saves.push_back(each);
            hostNamesAtSave = hostNames();
        });
    }

    void select(const std::shared_ptr<HostDefinition>& host, const SharePoints& selected) const {
        selectHost(host);
        controller->mountsArrayController.setSelectedObjects(selected);
    }
    void selectAll(const std::shared_ptr<HostDefinition>& host) const { select(host, host->sharePoints.snapshot()); }

    /// Asks for the deletion of what is selected, and gives the answer.
    void deleteSelected(AlertAnswer answer) {
        controller->deleteSelectedMount();
        window.answer(answer);
    }

    [[nodiscard]] std::vector<std::string> hostNames() const {
        std::vector<std::string> result;
        for (const auto& host : controller->hosts.snapshot())
            result.push_back(textOf(host->displayName.get()));
        return result;
    }

    std::vector<Notification> saves;
    std::vector<std::string> hostNamesAtSave;
    Subscription subscription;
};

TEST_F(AddMountActionsTest, AddOpensTheSheetForTheSelectedHost) {
    const auto host = addHost("nas", smb, { "films" });
    selectHost(host);
    controller->bonjourServices.append("beamer");
    controller->addMountSheet();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(editor->isAdd());
    EXPECT_FALSE(editor->isEdit());
    EXPECT_EQ(editor->_Name.get(), "nas");
    EXPECT_FALSE(editor->_SharePoint.get());
    EXPECT_THAT(editor->serverNames(), ElementsAre("beamer", "nas"));
    EXPECT_THAT(sheet.events(), ElementsAre("focus share point", "begin"));
}

TEST_F(AddMountActionsTest, AnOpenSheetHearsOnceATurnOfServersThatAreFound) {
    controller->addMountSheet();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    std::vector<std::size_t> seen;
    const auto mainThread = std::this_thread::get_id();
    const auto names = editor->observe("serverNames", [&](std::string_view, Change change) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        if (change == Change::Did)
            seen.push_back(editor->serverNames().size());
    });
    std::thread([&] {
        for (int number = 0; number < 1000; ++number)
            controller->bonjourServices.append("server " + std::to_string(number));
    }).join();
    EXPECT_THAT(seen, IsEmpty());
    mainThreadQueue.runPending();
    EXPECT_THAT(seen, ElementsAre(1000U));

    announceService(0, "server 7", "_smb._tcp.");
    mainThreadQueue.runPending();
    EXPECT_THAT(seen, ElementsAre(1000U, 999U));
    editor->cancelMountSheet();
    announceService(0, "server 8", "_smb._tcp.");
    mainThreadQueue.runPending();
    EXPECT_THAT(seen, ElementsAre(1000U, 999U)) << "there is no sheet to show it";
}

TEST_F(AddMountActionsTest, WhatIsAddedIsInTheCatalogueAndInItsFile) {
    controller->applicationDidFinishLaunching();
    controller->addMountSheet();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    editor->_Name.set("nas");
    editor->_SharePoint.set("films");
    editor->_GuestLogin.set(true);
    const auto before = files.writeCount();
    editor->addMountSaveAction();
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_EQ(files.writeCount(), before + 1);
}

TEST_F(AddMountActionsTest, WhatWasSavedIsSelectedInTheLists) {
    const auto host = addHost("nas", smb, { "films" });
    addHost("attic", smb, { "films" });
    controller->showMountList();
    selectAll(host);
    controller->editMountAction();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    editor->_GuestLogin.set(true);
    editor->addMountSaveAction();
    const auto renewed = controller->hosts.snapshot().back();
    ASSERT_NE(renewed, host) << "its only share moved to a new record";
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(renewed));
    EXPECT_THAT(
        controller->mountsArrayController.selectedObjects(), ElementsAre(renewed->sharePoints.snapshot().front()));

    controller->addMountSheet();
    editor->_Name.set("beamer");
    editor->_SharePoint.set("slides");
    editor->_GuestLogin.set(true);
    editor->addMountSaveAction();
    const auto beamer = controller->hosts.snapshot().back();
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(beamer));
    EXPECT_THAT(controller->mountsArrayController.selectedObjects(), ElementsAre(beamer->sharePointForName("slides")));
}

TEST_F(AddMountActionsTest, WhatWasSavedBeforeTheListsWereShownIsNotTheNextSheetsServer) {
    controller->addMountSheet();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    editor->_Name.set("nas");
    editor->_SharePoint.set("films");
    editor->_GuestLogin.set(true);
    editor->addMountSaveAction();
    controller->addMountSheet();
    EXPECT_FALSE(editor->_Name.get());
}

TEST_F(AddMountActionsTest, EditOpensTheSheetForTheFirstSelectedSharePoint) {
    const auto host = addHost("nas", smb, { "films", "music", "photos" });
    select(host, { host->sharePointForName("photos"), host->sharePointForName("music") });
    controller->editMountAction();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    EXPECT_FALSE(editor->isAdd());
    EXPECT_TRUE(editor->isEdit());
    EXPECT_EQ(editor->_SharePoint.get(), "music");
    EXPECT_EQ(editor->_Name.get(), "nas");
}

TEST_F(AddMountActionsTest, EditWithoutASelectionDoesNothing) {
    const auto host = addHost("nas", smb, { "films" });
    select(host, {});
    controller->editMountAction();
    EXPECT_THAT(sheet.events(), IsEmpty());
}

TEST_F(AddMountActionsTest, OneSheetServesEveryRunAndForgetsTheLast) {
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    controller->editMountAction();
    auto* first = sheet.controller();
    ASSERT_NE(first, nullptr);
    first->cancelMountSheet();
    controller->addMountSheet();
    EXPECT_EQ(sheet.controller(), first);
    EXPECT_TRUE(first->isAdd());
    EXPECT_FALSE(first->isEdit());
    EXPECT_FALSE(first->_SharePoint.get());
}

TEST_F(AddMountActionsTest, AnOpenSheetIsNotTurnedIntoAnother) {
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    controller->addMountSheet();
    auto* editor = sheet.controller();
    ASSERT_NE(editor, nullptr);
    sheet.clearEvents();
    controller->editMountAction();
    EXPECT_THAT(sheet.events(), IsEmpty());
    EXPECT_TRUE(editor->isAdd());
    EXPECT_FALSE(editor->isEdit());

    editor->cancelMountSheet();
    controller->editMountAction();
    sheet.clearEvents();
    controller->addMountSheet();
    EXPECT_THAT(sheet.events(), IsEmpty());
    EXPECT_FALSE(editor->isAdd());
    EXPECT_TRUE(editor->isEdit());
    editor->_GuestLogin.set(true);
    editor->addMountSaveAction();
    EXPECT_EQ(controller->hosts.snapshot().at(0)->sharePoints.count(), 1U) << "it still edits the same share point";
}

TEST_F(AddMountActionsTest, AControllerThatEndsTakesItsSheetWithIt) {
    controller->addMountSheet();
    ASSERT_NE(sheet.controller(), nullptr);
    controller.reset();
    EXPECT_EQ(sheet.controller(), nullptr);
}

TEST_F(AddMountActionsTest, DeleteAsksFirst) {
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    controller->deleteSelectedMount();
    ASSERT_TRUE(window.isAsking());
    EXPECT_EQ(window.question()->title, "Do you really want to delete the selected share definition?");
    EXPECT_EQ(window.question()->message, "There is no undo for this operation.");
    EXPECT_EQ(window.question()->defaultButton, "Remove");
    EXPECT_EQ(window.question()->alternateButton, "Cancel");
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, DeleteWithoutASelectionAsksNothing) {
    const auto host = addHost("nas", smb, { "films" });
    select(host, {});
    controller->deleteSelectedMount();
    controller->sheetDidEndShouldDelete(AlertAnswer::Default);
    EXPECT_FALSE(window.isAsking());
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, CancelDeletesNothing) {
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    deleteSelected(AlertAnswer::Alternate);
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, RemoveDeletesTheFirstSelectedSharePointAlone) {
    const auto host = addHost("nas", smb, { "films", "music", "photos" });
    select(host, { host->sharePointForName("music"), host->sharePointForName("photos") });
    std::vector<std::string> announced;
    const auto observer = host->observeAll([&](std::string_view key, Change change) {
        if (change == Change::Did)
            announced.emplace_back(key);
    });
    deleteSelected(AlertAnswer::Default);
    EXPECT_FALSE(host->sharePointForName("music"));
    EXPECT_EQ(host->sharePoints.count(), 2U);
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_THAT(announced, ElementsAre("sharePoints", "servicesCountString", "sharesCountString"));
    ASSERT_EQ(saves.size(), 1U);
    EXPECT_EQ(saves.front().object, controller.get());
    EXPECT_FALSE(saves.front().userInfo);
}

TEST_F(AddMountActionsTest, TheLastSharePointTakesItsHostWithItAlsoOneThatBrowsingFound) {
    const auto host = addHost("nas", smb, { "films" });
    addHost("attic", smb, { "films" });
    host->bonjour.set(true);
    selectAll(host);
    deleteSelected(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 0U);
    EXPECT_THAT(hostNames(), ElementsAre("attic"));
    EXPECT_THAT(hostNamesAtSave, ElementsAre("attic"));
}

TEST_F(AddMountActionsTest, AMountedSharePointIsDeletedWithoutBeingUnmounted) {
    const auto host = addHost("nas", smb, { "films" });
    const auto mounted = host->sharePointForName("films");
    mounted->setMounted(true);
    mounted->referenceNumber.set(7);
    select(host, { mounted });
    deleteSelected(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 0U);
    EXPECT_TRUE(mounted->mounted.get());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
}

TEST_F(AddMountActionsTest, TheHostIsTheOneOfTheService) {
    const auto host = addHost("nas", smb, { "films", "music" });
    const auto other = addHost("attic", smb, { "photos" });
    const auto sharePoint = host->sharePointForName("films");
    sharePoint->parentHost.set(other);
    select(host, { sharePoint });
    deleteSelected(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 1U);
}

TEST_F(AddMountActionsTest, ASharePointWhoseServiceIsUnknownCanBeDeletedToo) {
    const auto host = addHost("nas", smb, { "films" });
    const auto sharePoint = addShare(host, ftp, "music");
    ASSERT_FALSE(sharePoint->parentService.get().lock());
    select(host, { sharePoint });
    deleteSelected(AlertAnswer::Default);
    EXPECT_FALSE(host->sharePointForName("music"));
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountActionsTest, AnAnswerIsForTheSharePointThatWasAskedAbout) {
    const auto host = addHost("nas", smb, { "films", "music" });
    select(host, { host->sharePointForName("films") });
    controller->deleteSelectedMount();
    controller->mountsArrayController.setSelectedObjects({ host->sharePointForName("music") });
    window.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 2U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, AnAnswerAfterTheControllersEndReachesNobody) {
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    controller->deleteSelectedMount();
    controller.reset();
    window.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 1U);
}

TEST_F(AddMountActionsTest, WithoutWindowsNothingOpens) {
    environment.windows = nullptr;
    controller = std::make_unique<QuorrelAppDelegate>(environment);
    window.clearEvents();
    const auto host = addHost("nas", smb, { "films" });
    selectAll(host);
    controller->addMountSheet();
    controller->editMountAction();
    controller->deleteSelectedMount();
    EXPECT_THAT(sheet.events(), IsEmpty());
    EXPECT_THAT(window.events(), IsEmpty());
}

} // namespace quorrel
