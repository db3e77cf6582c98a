// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AddMountWindowController.h"
#include "Sources/ControllerWindows.h"

#include "Platform/Application.h"
#include "Platform/PreferencesWindow.h"
#include "Tests/Fakes/FakeAddMountWindow.h"
#include "Tests/Fakes/FakeMainWindow.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class IdleApplication final : public Application {
public:
    void setDelegate(ActionTarget*) override { }
    void activateIgnoringOtherApps() override { }
    void orderFrontStandardAboutPanel(const AboutPanelOptions&) override { }
    void terminate() override { }
};

class IdlePreferencesWindow final : public PreferencesWindow {
public:
    void center() override { }
    void makeKeyAndOrderFront() override { }
    void orderFrontRegardless() override { }
    void selectTabViewItemWithIdentifier(const std::string&) override { }
};

} // namespace

/// The controller's operations that open the share editor, and its deletion of a share point.
class AddMountActionsTest : public ControllerTest {
protected:
    AddMountActionsTest() {
        environment.windows = &windows;
        controller = std::make_unique<QuorrelAppDelegate>(environment);
        subscription = notificationCenter.addObserver("900", [this](const Notification& each) {
            saves.push_back(each);
            hostNamesAtSave = hostNames();
        });
    }
    ~AddMountActionsTest() override { controller.reset(); }

    void select(const std::vector<std::shared_ptr<SharePointDefinition>>& content,
        const std::vector<std::shared_ptr<SharePointDefinition>>& selected) {
        controller->mountsArrayController.setContent(content);
        controller->mountsArrayController.setSelectedObjects(selected);
    }

    [[nodiscard]] std::vector<std::string> hostNames() const {
        std::vector<std::string> result;
        for (const auto& host : controller->hosts.snapshot())
            result.push_back(textOf(host->displayName.get()));
        return result;
    }

    IdleApplication application;
    IdlePreferencesWindow preferencesWindow;
    FakeMainWindow mainWindow;
    FakeAddMountWindow sheetWindow;
    ControllerWindows windows { application, mainWindow, preferencesWindow, sheetWindow };
    std::vector<Notification> saves;
    std::vector<std::string> hostNamesAtSave;
    Subscription subscription;
};

TEST_F(AddMountActionsTest, AddOpensTheSheetForTheSelectedHost) {
    const auto host = addHost("nas", smb, { "films" });
    controller->hostsArrayController.setContent({ host });
    controller->hostsArrayController.setSelectedObjects({ host });
    controller->bonjourServices.append("beamer");
    controller->addMountSheet();
    auto* sheet = sheetWindow.controller();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isAdd());
    EXPECT_FALSE(sheet->isEdit());
    EXPECT_EQ(sheet->_Name.get(), "nas");
    EXPECT_FALSE(sheet->_SharePoint.get());
    EXPECT_THAT(sheet->serverNames(), ElementsAre("beamer", "nas"));
    EXPECT_THAT(sheetWindow.events(), ElementsAre("focus share point", "begin"));
}

TEST_F(AddMountActionsTest, WhatIsAddedIsInTheCatalogueAndInItsFile) {
    controller->applicationDidFinishLaunching();
    controller->addMountSheet();
    auto* sheet = sheetWindow.controller();
    ASSERT_NE(sheet, nullptr);
    sheet->_Name.set("nas");
    sheet->_SharePoint.set("films");
    sheet->_GuestLogin.set(true);
    const auto before = files.writeCount();
    sheet->addMountSaveAction();
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_EQ(files.writeCount(), before + 1);
}

TEST_F(AddMountActionsTest, EditOpensTheSheetForTheFirstSelectedSharePoint) {
    const auto host = addHost("nas", smb, { "films", "music", "photos" });
    select(host->sharePoints.snapshot(), { host->sharePointForName("photos"), host->sharePointForName("music") });
    controller->editMountAction();
    auto* sheet = sheetWindow.controller();
    ASSERT_NE(sheet, nullptr);
    EXPECT_FALSE(sheet->isAdd());
    EXPECT_TRUE(sheet->isEdit());
    EXPECT_EQ(sheet->_SharePoint.get(), "music");
    EXPECT_EQ(sheet->_Name.get(), "nas");
}

TEST_F(AddMountActionsTest, EditWithoutASelectionDoesNothing) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), {});
    controller->editMountAction();
    EXPECT_THAT(sheetWindow.events(), IsEmpty());
}

TEST_F(AddMountActionsTest, OneSheetServesEveryRunAndForgetsTheLast) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->editMountAction();
    auto* first = sheetWindow.controller();
    ASSERT_NE(first, nullptr);
    first->cancelMountSheet();
    controller->addMountSheet();
    EXPECT_EQ(sheetWindow.controller(), first);
    EXPECT_TRUE(first->isAdd());
    EXPECT_FALSE(first->isEdit());
    EXPECT_FALSE(first->_SharePoint.get());
}

TEST_F(AddMountActionsTest, AnOpenSheetIsNotTurnedIntoAnother) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->addMountSheet();
    auto* sheet = sheetWindow.controller();
    ASSERT_NE(sheet, nullptr);
    sheetWindow.clearEvents();
    controller->editMountAction();
    EXPECT_THAT(sheetWindow.events(), IsEmpty());
    EXPECT_TRUE(sheet->isAdd());
    EXPECT_FALSE(sheet->isEdit());

    sheet->cancelMountSheet();
    controller->editMountAction();
    sheetWindow.clearEvents();
    controller->addMountSheet();
    EXPECT_THAT(sheetWindow.events(), IsEmpty());
    EXPECT_FALSE(sheet->isAdd());
    EXPECT_TRUE(sheet->isEdit());
    sheet->_GuestLogin.set(true);
    sheet->addMountSaveAction();
    EXPECT_EQ(controller->hosts.snapshot().at(0)->sharePoints.count(), 1U) << "it still edits the same share point";
}

TEST_F(AddMountActionsTest, AControllerThatEndsTakesItsSheetWithIt) {
    controller->addMountSheet();
    ASSERT_NE(sheetWindow.controller(), nullptr);
    controller.reset();
    EXPECT_EQ(sheetWindow.controller(), nullptr);
}

TEST_F(AddMountActionsTest, DeleteAsksFirst) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->deleteSelectedMount();
    ASSERT_TRUE(mainWindow.isAsking());
    EXPECT_EQ(mainWindow.question()->title, "Do you really want to delete the selected share definition?");
    EXPECT_EQ(mainWindow.question()->message, "There is no undo for this operation.");
    EXPECT_EQ(mainWindow.question()->defaultButton, "Remove");
    EXPECT_EQ(mainWindow.question()->alternateButton, "Cancel");
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, DeleteWithoutASelectionAsksNothing) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), {});
    controller->deleteSelectedMount();
    controller->sheetDidEndShouldDelete(AlertAnswer::Default);
    EXPECT_FALSE(mainWindow.isAsking());
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, CancelDeletesNothing) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Alternate);
    EXPECT_EQ(host->sharePoints.count(), 1U);
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, RemoveDeletesTheFirstSelectedSharePointAlone) {
    const auto host = addHost("nas", smb, { "films", "music", "photos" });
    select(host->sharePoints.snapshot(), { host->sharePointForName("music"), host->sharePointForName("photos") });
    std::vector<std::string> announced;
    const auto observer = host->observeAll([&](std::string_view key, Change change) {
        if (change == Change::Did)
            announced.emplace_back(key);
    });
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Default);
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
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 0U);
    EXPECT_THAT(hostNames(), ElementsAre("attic"));
    EXPECT_THAT(hostNamesAtSave, ElementsAre("attic"));
}

TEST_F(AddMountActionsTest, AMountedSharePointIsDeletedWithoutBeingUnmounted) {
    const auto host = addHost("nas", smb, { "films" });
    const auto mounted = host->sharePointForName("films");
    mounted->setMounted(true);
    mounted->referenceNumber.set(7);
    select({ mounted }, { mounted });
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 0U);
    EXPECT_TRUE(mounted->mounted.get());
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
}

TEST_F(AddMountActionsTest, TheHostIsTheOneOfTheService) {
    const auto host = addHost("nas", smb, { "films", "music" });
    const auto other = addHost("attic", smb, { "photos" });
    const auto sharePoint = host->sharePointForName("films");
    sharePoint->parentHost.set(other);
    select({ sharePoint }, { sharePoint });
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 1U);
}

TEST_F(AddMountActionsTest, ASharePointWhoseServiceIsUnknownCanBeDeletedToo) {
    const auto host = addHost("nas", smb, { "films" });
    const auto sharePoint = addShare(host, ftp, "music");
    ASSERT_FALSE(sharePoint->parentService.get().lock());
    select({ sharePoint }, { sharePoint });
    controller->deleteSelectedMount();
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_FALSE(host->sharePointForName("music"));
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountActionsTest, AnAnswerIsForTheSharePointThatWasAskedAbout) {
    const auto host = addHost("nas", smb, { "films", "music" });
    select(host->sharePoints.snapshot(), { host->sharePointForName("films") });
    controller->deleteSelectedMount();
    controller->mountsArrayController.setSelectedObjects({ host->sharePointForName("music") });
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 2U);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountActionsTest, AnAnswerAfterTheControllersEndReachesNobody) {
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->deleteSelectedMount();
    controller.reset();
    mainWindow.answer(AlertAnswer::Default);
    EXPECT_EQ(host->sharePoints.count(), 1U);
}

TEST_F(AddMountActionsTest, WithoutWindowsNothingOpens) {
    environment.windows = nullptr;
    controller = std::make_unique<QuorrelAppDelegate>(environment);
    mainWindow.clearEvents();
    const auto host = addHost("nas", smb, { "films" });
    select(host->sharePoints.snapshot(), host->sharePoints.snapshot());
    controller->addMountSheet();
    controller->editMountAction();
    controller->deleteSelectedMount();
    EXPECT_THAT(sheetWindow.events(), IsEmpty());
    EXPECT_THAT(mainWindow.events(), IsEmpty());
}

} // namespace quorrel
