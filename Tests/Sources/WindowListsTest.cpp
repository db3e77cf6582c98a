// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

#include <thread>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WindowListsTest : public WindowTest {
protected:
    const std::shared_ptr<HostDefinition> tower = addHost("tower", smb, { "music", "books" });
    const std::shared_ptr<HostDefinition> attic = addHost("attic", smb, { "photos" });
};

TEST_F(WindowListsTest, WakingBindsTheShareListThenTheHostListAndTakesTheActions) {
    controller.reset();
    application.clearEvents();
    window.clearEvents();
    controller = std::make_unique<QuorrelAppDelegate>(environment);
    EXPECT_THAT(window.events(), IsEmpty());
    controller->awakeFromNib();
    EXPECT_THAT(window.events(), ElementsAre("bind mounts", "bind hosts"));
    EXPECT_EQ(window.mountsList(), &controller->mountsArrayController);
    EXPECT_EQ(window.hostsList(), &controller->hostsArrayController);
    EXPECT_EQ(application.delegate(), controller.get());
}

TEST_F(WindowListsTest, AControllerThatGoesLeavesNothingBoundToIt) {
    controller.reset();
    EXPECT_EQ(window.mountsList(), nullptr);
    EXPECT_EQ(window.hostsList(), nullptr);
    EXPECT_EQ(application.delegate(), nullptr);
}

TEST_F(WindowListsTest, BothListsAreSorted) {
    EXPECT_THAT(shownHosts(), ElementsAre("attic", "tower"));
    selectHost(tower);
    EXPECT_THAT(shownShares(), ElementsAre("books", "music"));
    EXPECT_EQ(controller->hostsListSortDescriptors, (std::vector<SortDescriptor> { { "displayName" } }));
    EXPECT_EQ(controller->sharePointListSortDescriptors, (std::vector<SortDescriptor> { { "sharePoint" } }));
}

TEST_F(WindowListsTest, TheShareListFollowsTheSelectedHost) {
    EXPECT_THAT(shownShares(), IsEmpty());
    selectHost(attic);
    EXPECT_THAT(shownShares(), ElementsAre("photos"));
    controller->hostsArrayController.setSelectedObjects({});
    EXPECT_THAT(shownShares(), IsEmpty());
    controller->hostsArrayController.setSelectedObjects({ tower, attic });
    EXPECT_THAT(shownShares(), ElementsAre("photos")) << "of several, the first in the list";
}

TEST_F(WindowListsTest, AShareAddedToTheSelectedHostIsListedAndTheSelectionStays) {
    select(tower->sharePointForName("music"));
    addShare(tower, smb, "films");
    addShare(attic, smb, "letters");
    EXPECT_THAT(shownShares(), ElementsAre("books", "films", "music"));
    EXPECT_THAT(controller->mountsArrayController.selectedObjects(), ElementsAre(tower->sharePointForName("music")));
}

TEST_F(WindowListsTest, AShareRemovedFromTheSelectedHostIsNeitherListedNorSelected) {
    select(tower->sharePointForName("music"));
    tower->sharePoints.remove(tower->sharePointForName("music"));
    EXPECT_THAT(shownShares(), ElementsAre("books"));
    EXPECT_THAT(controller->mountsArrayController.selectedObjects(), IsEmpty());
}

TEST_F(WindowListsTest, AHostThatLeavesTheCatalogueTakesItsSharesAlong) {
    selectHost(tower);
    controller->hosts.remove(tower);
    EXPECT_THAT(shownHosts(), ElementsAre("attic"));
    EXPECT_THAT(shownShares(), IsEmpty());
    addShare(tower, smb, "films");
    EXPECT_THAT(shownShares(), IsEmpty());
}

TEST_F(WindowListsTest, SelectingAnotherHostForgetsTheSelectedShare) {
    select(tower->sharePointForName("music"));
    selectHost(attic);
    EXPECT_THAT(controller->mountsArrayController.selectedObjects(), IsEmpty());
}

TEST_F(WindowListsTest, ChangesMadeByOtherThreadsShowOnTheMainThreadAlone) {
    selectHost(tower);
    std::thread([&] { addShare(tower, smb, "films"); }).join();
    EXPECT_THAT(shownShares(), ElementsAre("books", "music"));
    mainThreadQueue.runPending();
    EXPECT_THAT(shownShares(), ElementsAre("books", "films", "music"));
}

TEST_F(WindowListsTest, AChangeThatArrivesAfterTheControllerWentIsForgotten) {
    selectHost(tower);
    std::thread([&] { addShare(tower, smb, "films"); }).join();
    controller.reset();
    mainThreadQueue.runPending();
    addShare(tower, smb, "letters");
    EXPECT_EQ(tower->sharePoints.count(), 4U);
}

TEST_F(WindowListsTest, NothingIsSelectedBeforeTheWindowShows) {
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), IsEmpty());
    addHost("cellar", smb, { "wine" });
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), IsEmpty());
}

TEST_F(WindowListsTest, ShowingTheWindowSelectsTheFirstHost) {
    controller->showMountList();
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(attic));
    EXPECT_THAT(shownShares(), ElementsAre("photos"));
}

TEST_F(WindowListsTest, ShowingTheWindowLeavesASelectionAsItIs) {
    selectHost(tower);
    controller->showMountList();
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(tower));
}

TEST_F(WindowListsTest, WhileTheWindowShowsALostSelectionGoesToTheFirstHost) {
    selectHost(tower);
    controller->showMountList();
    controller->hosts.remove(tower);
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(attic));
    EXPECT_THAT(shownShares(), ElementsAre("photos"));
}

TEST_F(WindowListsTest, WhileTheWindowShowsTheFirstHostOfAnEmptyCatalogueIsSelected) {
    controller->hosts.removeAll();
    controller->showMountList();
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), IsEmpty());
    const auto cellar = addHost("cellar", smb, { "wine" });
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), ElementsAre(cellar));
}

TEST_F(WindowListsTest, WhatTheUserDeselectedStaysDeselected) {
    controller->showMountList();
    controller->hostsArrayController.setSelectedObjects({});
    addHost("cellar", smb, { "wine" });
    EXPECT_THAT(controller->hostsArrayController.selectedObjects(), IsEmpty());
}

} // namespace quorrel
