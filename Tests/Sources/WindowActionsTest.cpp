// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using WindowActionsTest = WindowTest;

TEST_F(WindowActionsTest, OnFirstUseTheMainWindowAppearsCentred) {
    controller->showMountList();
    EXPECT_THAT(application.events(), ElementsAre("activate"));
    EXPECT_THAT(window.events(), ElementsAre("center", "front"));
}

TEST_F(WindowActionsTest, WithASavedFrameTheMainWindowReappearsWhereItWasLeft) {
    for (const char* frame : { "10 20 300 400", "" }) {
        ASSERT_TRUE(preferences.set("NSWindow Frame MainWindow", std::string(frame)));
        window.clearEvents();
        controller->showMountList();
        EXPECT_THAT(window.events(), ElementsAre("front")) << frame;
    }
}

TEST_F(WindowActionsTest, TheProgramIsActivatedBeforeItsWindowShows) {
    std::vector<std::string> shownBefore;
    application.setWitness([&](const std::string&) { shownBefore = window.events(); });
    controller->showMountList();
    EXPECT_THAT(shownBefore, IsEmpty());
}

TEST_F(WindowActionsTest, ThePreferencesAreCentredEveryTimeAndComeToTheFront) {
    controller->showPreferences();
    controller->showPreferences();
    EXPECT_THAT(preferencesWindow.events(),
        ElementsAre("center", "front regardless", "front", "center", "front regardless", "front"));
}

TEST_F(WindowActionsTest, ATabIsSelectedByTheSendersTag) {
    perform("switchTab", 2);
    EXPECT_EQ(preferencesWindow.selectedTab(), "2");
    perform("switchTab", 0);
    EXPECT_EQ(preferencesWindow.selectedTab(), "0");
}

TEST_F(WindowActionsTest, ATagThatNamesNoTabLeavesTheSelectionUnchanged) {
    perform("switchTab", 1);
    perform("switchTab", 17);
    perform("switchTab", -1);
    EXPECT_EQ(preferencesWindow.selectedTab(), "1");
    EXPECT_THAT(preferencesWindow.events(), ElementsAre("tab 1", "tab 17", "tab -1"));
}

TEST_F(WindowActionsTest, TheAboutPanelNamesProgramVersionPurposeAndLicence) {
    controller->showAbout();
    ASSERT_TRUE(application.aboutPanel());
    EXPECT_EQ(application.aboutPanel()->applicationName, "Quorrel");
    EXPECT_EQ(application.aboutPanel()->version, "1.2.3");
    EXPECT_EQ(application.aboutPanel()->description, "Keeps network shares mounted.");
    EXPECT_EQ(application.aboutPanel()->licence, "GNU General Public License, version 3 or later");
}

TEST_F(WindowActionsTest, TheAboutPanelIsInTheUsersLanguage) {
    const FakeStringTable german(
        FakeStringTable::Texts { { "Keeps network shares mounted.", "Hält Netzwerkfreigaben eingehängt." } });
    QuorrelAppDelegate germanController(
        { { mounting, resolving, preferences, notificationCenter, files, workspace, german, log, mainThreadQueue },
            passwordWindow, nullptr, nullptr, environment.windows });
    germanController.showAbout();
    ASSERT_TRUE(application.aboutPanel());
    EXPECT_EQ(application.aboutPanel()->description, "Hält Netzwerkfreigaben eingehängt.");
}

TEST_F(WindowActionsTest, HelpOpensTheProgramsPage) {
    controller->help();
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("file:///usr/share/quorrel/help.html"));
    EXPECT_THAT(window.notices(), IsEmpty());
}

TEST_F(WindowActionsTest, HelpThatCannotBeOpenedSaysSo) {
    workspace.failOpenURL(true);
    controller->help();
    ASSERT_EQ(window.notices().size(), 1U);
    EXPECT_EQ(window.notices()[0].title, "The help page could not be opened.");
    EXPECT_EQ(window.notices()[0].message, "No program for it could be started.");
    EXPECT_TRUE(logSink.contains("Nothing could be started to open file:///usr/share/quorrel/help.html"));
}

class FolderTest : public WindowTest {
protected:
    const std::shared_ptr<HostDefinition> host = addHost("192.168.1.20", smb, { "a", "b" });
    const std::shared_ptr<SharePointDefinition> sharePoint = host->sharePointForName("a");
};

TEST_F(FolderTest, OpensWhereTheSelectedShareIsMounted) {
    select(sharePoint);
    sharePoint->setVolume(3, "/home/ann/Volumes/a");
    sharePoint->setMounted(true);
    controller->openMountedFolder();
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("/home/ann/Volumes/a"));
}

TEST_F(FolderTest, OpensNothingWithoutSelectionMountOrPath) {
    controller->openMountedFolder();
    sharePoint->setVolume(3, "/home/ann/Volumes/a");
    select(sharePoint);
    controller->openMountedFolder();
    sharePoint->setVolume(3);
    sharePoint->setMounted(true);
    controller->openMountedFolder();
    EXPECT_THAT(workspace.openedURLs(), IsEmpty());
    EXPECT_THAT(window.notices(), IsEmpty());
}

TEST_F(FolderTest, AFolderThatCannotBeOpenedIsNamed) {
    workspace.failOpenURL(true);
    select(sharePoint);
    sharePoint->setVolume(3, "/home/ann/Volumes/100%@");
    sharePoint->setMounted(true);
    controller->openMountedFolder();
    ASSERT_EQ(window.notices().size(), 1U);
    EXPECT_EQ(window.notices()[0].title, "The folder /home/ann/Volumes/100%@ could not be opened.");
}

TEST_F(FolderTest, WithoutAnAnswerFromTheDiskAMountAndAnUnmountBringThePathAndTakeIt) {
    host->resolved.set(true);
    select(sharePoint);
    controller->mountSelectedListItem();
    waitUntilIdle();
    controller->openMountedFolder();
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("/home/test/Volumes/a"));
    controller->unmountSelectedListItem();
    waitUntilIdle();
    EXPECT_FALSE(sharePoint->volumePath.get());
}

TEST_F(FolderTest, AFavouriteBecomesOneAndNoLongerOneAndIsSavedEachTime) {
    select(sharePoint);
    std::vector<OptionalFlag> saved;
    const auto subscription = notificationCenter.addObserver(
        "900", [&](const Notification&) { saved.push_back(sharePoint->favroite.get()); }, controller.get());
    controller->toggleFavroite();
    controller->toggleFavroite();
    EXPECT_THAT(saved, ElementsAre(true, false));
    EXPECT_FALSE(isSet(host->sharePointForName("b")->favroite.get()));
}

TEST_F(FolderTest, WithoutASelectionNothingBecomesAFavouriteAndNothingIsSaved) {
    int posts = 0;
    const auto subscription = notificationCenter.addObserver("900", [&](const Notification&) { ++posts; });
    controller->toggleFavroite();
    EXPECT_EQ(posts, 0);
    EXPECT_FALSE(isSet(sharePoint->favroite.get()));
}

class WindowlessTest : public ControllerTest { };

TEST_F(WindowlessTest, AProgramWithoutWindowsShowsNone) {
    controller->awakeFromNib();
    controller->showMountList();
    controller->showPreferences();
    controller->switchTab({});
    controller->showAbout();
    controller->help();
    EXPECT_THAT(workspace.openedURLs(), IsEmpty());
    workspace.failOpenURL(true);
    const auto host = addHost("192.168.1.20", smb, { "a" });
    controller->hostsArrayController.setSelectedObjects({ host });
    controller->mountsArrayController.setSelectedObjects(host->sharePoints.snapshot());
    host->sharePointForName("a")->setVolume(1, "/home/ann/Volumes/a");
    host->sharePointForName("a")->setMounted(true);
    controller->openMountedFolder();
    EXPECT_TRUE(logSink.contains("Nothing could be started to open /home/ann/Volumes/a"));
}

} // namespace quorrel
