// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class CommandsTest : public ControllerTest {
protected:
    /// The volume names of the mounts that were asked for.
    [[nodiscard]] std::vector<std::string> mountedNames() const {
        std::vector<std::string> result;
        for (const auto& request : volumes.requests())
            result.push_back(request.volumeName);
        return result;
    }

    /// Which of the host's share points are marked as asked for by the user.
    static std::vector<std::string> manualOnes(const std::shared_ptr<HostDefinition>& host) {
        std::vector<std::string> result;
        for (const auto& sharePoint : host->sharePoints.snapshot())
            if (sharePoint->manualMount.get())
                result.push_back(textOf(sharePoint->sharePoint.get()));
        return result;
    }
};

TEST_F(CommandsTest, MountAllQueuesNothingWhereNothingIsAutomatic) {
    const auto host = addHost("192.168.1.20", smb, { "a", "b" });
    mountNothingOnItsOwn(host);
    host->sharePointForName("b")->automatically.set(std::nullopt);
    occupyQueue();
    controller->mountAll();
    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_FALSE(host->resolved.get());
}

TEST_F(CommandsTest, MountAllMountsWhatIsAutomaticInOrderWithoutMarkingItOrCancellingAnything) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.21", smb, { "c" });
    first->sharePointForName("b")->automatically.set(false);
    occupyQueue();
    controller->mountSharePoint(first->sharePointForName("b"));
    controller->mountAll();
    EXPECT_EQ(waitingOperations(), 3U);
    EXPECT_THAT(manualOnes(first), IsEmpty());
    EXPECT_THAT(manualOnes(second), IsEmpty());
    controller->opQueue().cancelAllOperations();
}

TEST_F(CommandsTest, OneMountAndOneUnmountOfASharePointWaitAtMostAndTheLastOneDecides) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    mountNothingOnItsOwn(host);
    const auto sharePoint = host->sharePointForName("a");
    sharePoint->referenceNumber.set(3);
    occupyQueue();
    for (int round = 0; round < 20; ++round) {
        controller->unmount(sharePoint);
        sharePoint->manualMount.set(true);
        controller->mount(sharePoint);
    }
    EXPECT_EQ(waitingOperations(), 2U);
    releaseQueue();
    EXPECT_THAT(volumes.unmounts(), ElementsAre(3));
    EXPECT_THAT(mountedNames(), ElementsAre("a"));
    EXPECT_TRUE(sharePoint->mounted.get());
    for (const bool mark : { sharePoint->mounting.get(), sharePoint->unmounting.get(), sharePoint->manualMount.get() })
        EXPECT_FALSE(mark) << "left by none of those that were replaced";

    controller->mount(sharePoint);
    EXPECT_THAT(manualOnes(host), IsEmpty());
}

TEST_F(CommandsTest, TheListsMountAllCancelsTheQueueAndMountsEverything) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.21", smb, { "c" });
    mountNothingOnItsOwn(first);
    occupyQueue();
    for (int count = 0; count < 5; ++count)
        controller->mount(second->sharePointForName("c"));
    controller->mountAllListItem();
    EXPECT_EQ(waitingOperations(), 3U);
    EXPECT_THAT(manualOnes(first), ElementsAre("a", "b"));
    EXPECT_THAT(manualOnes(second), ElementsAre("c"));
    releaseQueue();
    EXPECT_THAT(mountedNames(), UnorderedElementsAre("a", "b", "c"));
}

TEST_F(CommandsTest, TheListsUnmountAllCancelsTheQueueAndUnmountsWhatHasAReference) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.21", smb, { "c" });
    first->sharePointForName("b")->referenceNumber.set(11);
    second->sharePointForName("c")->referenceNumber.set(12);
    occupyQueue();
    controller->mount(first->sharePointForName("a"));
    controller->unmountAllListItem();
    EXPECT_EQ(waitingOperations(), 2U);
    releaseQueue();
    EXPECT_THAT(volumes.unmounts(), UnorderedElementsAre(11, 12));
    EXPECT_THAT(mountedNames(), IsEmpty());
}

TEST_F(CommandsTest, ThePasswordIsAskedForBeforeAResolverIsStartedAndTheMountQueued) {
    const auto host = addHost("Office", afp, { "a" });
    const auto sharePoint = host->sharePointForName("a");
    sharePoint->passwordPrompt.set(true);
    occupyQueue();
    bool wasAsked = false;
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        wasAsked = true;
        EXPECT_FALSE(host->resolving.get());
        EXPECT_THAT(discovery.requests(), IsEmpty());
        EXPECT_EQ(waitingOperations(), 0U);
        target.setPassword("secret");
        target.saveHostPassword();
    });
    controller->mount(sharePoint);
    EXPECT_TRUE(wasAsked);
    EXPECT_EQ(discovery.requests().size(), 1U);
    EXPECT_EQ(waitingOperations(), 1U);
    EXPECT_EQ(host->password.get(), "secret");
    controller->opQueue().cancelAllOperations();
}

TEST_F(CommandsTest, AHostResolvedOrBeingResolvedGetsNoSecondResolver) {
    const auto host = addHost("Office", afp, { "a", "b" });
    // A resolver begins with the service's type, whatever it does then.
    int resolvers = 0;
    const auto subscription = host->services.snapshot().front()->observe(
        "type", [&](std::string_view, Change change) { resolvers += change == Change::Did ? 1 : 0; });
    occupyQueue();
    controller->mount(host->sharePointForName("a"));
    ASSERT_TRUE(host->resolving.get());
    controller->mount(host->sharePointForName("b"));
    EXPECT_EQ(resolvers, 1);
    host->resolving.set(false);
    host->resolved.set(true);
    controller->mountSharePoint(host->sharePointForName("b"));
    EXPECT_EQ(resolvers, 1);
    host->resolved.set(false);
    controller->mountSharePoint(host->sharePointForName("b"));
    EXPECT_EQ(resolvers, 2);
    controller->opQueue().cancelAllOperations();
}

TEST_F(CommandsTest, AResolverStaysAliveUntilItsAnswerComes) {
    const auto host = addHost("Office", afp, { "a" });
    FakeDNSServiceDiscovery::Reply answer;
    answer.delay = Seconds(1);
    answer.addresses = std::vector<SocketAddress> { FakeDNSServiceDiscovery::addressIPv4("10.0.0.7") };
    answer.hostName = "office.local.";
    discovery.setReplies("Office", { answer });
    occupyQueue();
    controller->mount(host->sharePointForName("a"));
    discovery.advance(Seconds(2));
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "office.local.");
    controller->opQueue().cancelAllOperations();
}

TEST_F(CommandsTest, ASharePointThatIsMountingIsResolvedButNotQueuedAgain) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    host->sharePointForName("a")->setMounting(true);
    occupyQueue();
    controller->mount(host->sharePointForName("a"));
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(waitingOperations(), 0U);
}

TEST_F(CommandsTest, ASharePointThatIsMountedIsQueuedAllTheSame) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    host->sharePointForName("a")->setMounted(true);
    occupyQueue();
    controller->mount(host->sharePointForName("a"));
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(CommandsTest, UnmountingASharePointWithoutAReferenceQueuesNothing) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    host->sharePointForName("a")->setMounted(true);
    occupyQueue();
    controller->unmount(host->sharePointForName("a"));
    controller->unmount(nullptr);
    EXPECT_EQ(waitingOperations(), 0U);
    host->sharePointForName("a")->referenceNumber.set(3);
    controller->unmount(host->sharePointForName("a"));
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(CommandsTest, AMountWithoutASharePointQueuesAnOperationThatEndsAtOnce) {
    occupyQueue();
    controller->mount(nullptr);
    EXPECT_EQ(waitingOperations(), 1U);
    releaseQueue();
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(CommandsTest, AFavouriteIsToggled) {
    const auto host = addHost("192.168.1.20", smb, { "Public" });
    const auto sharePoint = host->sharePointForName("Public");
    mountNothingOnItsOwn(host);
    const MenuItem item { "192.168.1.20 : Public", controller->popMenu.get() };

    controller->mountFavroiteItem(item);
    waitUntilIdle();
    ASSERT_TRUE(sharePoint->mounted.get());
    EXPECT_EQ(volumes.requests().size(), 1U);

    controller->mountFavroiteItem(item);
    waitUntilIdle();
    EXPECT_FALSE(sharePoint->mounted.get());
    EXPECT_EQ(volumes.unmounts().size(), 1U);
    EXPECT_EQ(volumes.requests().size(), 1U);
}

TEST_F(CommandsTest, AFavouriteThatIsNotMountedIsMountedAsManual) {
    const auto host = addHost("192.168.1.20", smb, { "Public" });
    occupyQueue();
    controller->mountFavroiteItem({ "192.168.1.20 : Public", nullptr });
    EXPECT_THAT(manualOnes(host), ElementsAre("Public"));
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(CommandsTest, AFavouriteBelongsToTheFirstHostOfItsName) {
    addHost("192.168.1.20", smb, { "other" });
    const auto second = addHost("192.168.1.20", smb, { "Public" });
    controller->mountFavroiteItem({ "192.168.1.20 : Public", nullptr });
    waitUntilIdle();
    EXPECT_FALSE(second->sharePointForName("Public")->mounted.get());
}

TEST_F(CommandsTest, AFavouritesShareNameEndsAtTheNextSeparator) {
    const auto host = addHost("192.168.1.20", smb, { "Public" });
    controller->mountFavroiteItem({ "192.168.1.20 : Public : more", nullptr });
    waitUntilIdle();
    EXPECT_TRUE(host->sharePointForName("Public")->mounted.get());
}

TEST_F(CommandsTest, AFavouriteWithoutASeparatorOrWithAnUnknownHostDoesNothing) {
    addHost("192.168.1.20", smb, { "Public" });
    occupyQueue();
    for (const char* title : { "192.168.1.20", "", "192.168.1.20: Public", "Nobody : Public" })
        controller->mountFavroiteItem({ title, nullptr });
    EXPECT_EQ(waitingOperations(), 0U);
}

TEST_F(CommandsTest, TheServerItemMountsTheSharePointsOfBothHostsOfItsName) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.20", smb, { "c" });
    const auto other = addHost("192.168.1.21", smb, { "d" });
    for (const auto& host : { first, second, other })
        mountNothingOnItsOwn(host);
    const Menu submenu { "192.168.1.20" };
    controller->mountThisHostMenuItem({ "Server", &submenu });
    waitUntilIdle();
    EXPECT_THAT(mountedNames(), UnorderedElementsAre("a", "b", "c"));

    controller->unmountThisHostMenuItem({ "Server", &submenu });
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 3U);
}

TEST_F(CommandsTest, AShareItemServesThatShareOnEveryHostOfTheMenusName) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.20", smb, { "a" });
    addHost("192.168.1.21", smb, { "a" });
    for (const auto& host : controller->hosts.snapshot())
        mountNothingOnItsOwn(host);
    const Menu submenu { "192.168.1.20" };
    controller->mountMenuItem({ "a", &submenu });
    waitUntilIdle();
    EXPECT_THAT(mountedNames(), ElementsAre("a", "a"));
    EXPECT_TRUE(first->sharePointForName("a")->mounted.get());
    EXPECT_TRUE(second->sharePointForName("a")->mounted.get());

    first->sharePointForName("b")->referenceNumber.set(99);
    controller->unmountMenuItem({ "a", &submenu });
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 2U);
    EXPECT_FALSE(first->sharePointForName("a")->mounted.get());
}

TEST_F(CommandsTest, AShareItemThatItsHostNoLongerKnowsQueuesAnEmptyMountAndNoUnmount) {
    addHost("192.168.1.20", smb, { "a" });
    const Menu submenu { "192.168.1.20" };
    occupyQueue();
    controller->mountMenuItem({ "gone", &submenu });
    EXPECT_EQ(waitingOperations(), 1U);
    controller->unmountMenuItem({ "gone", &submenu });
    EXPECT_EQ(waitingOperations(), 1U);
}

TEST_F(CommandsTest, AMenuItemOutsideAnyHostsMenuDoesNothing) {
    addHost("192.168.1.20", smb, { "a" });
    const Menu strange { "Nobody" };
    occupyQueue();
    for (const Menu* menu : { static_cast<const Menu*>(nullptr), &strange }) {
        controller->mountMenuItem({ "a", menu });
        controller->mountThisHostMenuItem({ "Server", menu });
        controller->unmountThisHostMenuItem({ "Server", menu });
    }
    EXPECT_EQ(waitingOperations(), 0U);
}

TEST_F(CommandsTest, TheFirstSelectedHostIsMountedAndUnmounted) {
    const auto first = addHost("192.168.1.20", smb, { "a", "b" });
    const auto second = addHost("192.168.1.21", smb, { "c" });
    mountNothingOnItsOwn(first);
    controller->hostsArrayController.setContent(controller->hosts.snapshot());
    controller->hostsArrayController.setSelectedObjects({ second, first });
    controller->mountThisHostListItem();
    waitUntilIdle();
    EXPECT_THAT(mountedNames(), UnorderedElementsAre("a", "b"));
    controller->unmountThisHostListItem();
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 2U);
}

TEST_F(CommandsTest, TheFirstSelectedSharePointIsMountedAndUnmounted) {
    const auto host = addHost("192.168.1.20", smb, { "b", "a" });
    mountNothingOnItsOwn(host);
    controller->mountsArrayController.setContent(host->sharePoints.snapshot());
    controller->mountsArrayController.setSelectedObjects(host->sharePoints.snapshot());
    controller->mountSelectedListItem();
    waitUntilIdle();
    EXPECT_THAT(mountedNames(), ElementsAre("a")) << "first in the list's order";
    controller->unmountSelectedListItem();
    waitUntilIdle();
    EXPECT_EQ(volumes.unmounts().size(), 1U);
}

TEST_F(CommandsTest, ListCommandsWithoutASelectionDoNothing) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    host->sharePointForName("a")->referenceNumber.set(4);
    occupyQueue();
    controller->mountSelectedListItem();
    controller->unmountSelectedListItem();
    controller->mountThisHostListItem();
    controller->unmountThisHostListItem();
    controller->browseMount();
    EXPECT_EQ(waitingOperations(), 0U);
}

TEST_F(CommandsTest, AManualMountIsUsedUpByOneMount) {
    const auto host = addHost("192.168.1.20", smb, { "a" });
    mountNothingOnItsOwn(host);
    controller->mountAllListItem();
    waitUntilIdle();
    EXPECT_FALSE(host->sharePointForName("a")->manualMount.get());
    controller->mount(host->sharePointForName("a"));
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 1U);
}

TEST_F(CommandsTest, ASharePointEditedOrDeletedUnderItsRunningMountIsHarmless) {
    for (int round = 0; round < 5; ++round) {
        const auto host = addHost("192.168.1.20", smb, { "a", "b", "c", "d" });
        addHost("192.168.1.21", smb, { "e", "f", "g", "h" });
        hangMounts(4);
        controller->mountAll();
        ASSERT_TRUE(volumes.waitForHanging(4));

        std::atomic<bool> isReleased = false;
        const auto edited = host->sharePoints.snapshot();
        host->sharePoints.remove(host->sharePointForName("b"));
        controller->hosts.removeAll();
        std::thread releaser([&] {
            volumes.release();
            isReleased = true;
        });
        int edits = 0;
        do {
            for (const auto& sharePoint : edited) {
                sharePoint->sharePoint.set("renamed");
                sharePoint->setDisplayType(std::string(ftp));
                sharePoint->userName.set("someone");
                sharePoint->setLastError(std::nullopt);
                sharePoint->resetStatus();
            }
            host->services.removeAll();
            host->resetStatus();
            ++edits;
        } while (!isReleased || edits < 20);
        releaser.join();
        waitUntilIdle();
        EXPECT_EQ(controller->hosts.count(), 0U);
    }
}

TEST_F(CommandsTest, MountsGoOnWhileTheirHostsAreDroppedWithTheCatalogue) {
    addHost("192.168.1.20", smb, { "a" });
    hangMounts(1);
    controller->mountAll();
    ASSERT_TRUE(volumes.waitForHanging(1));
    controller->loadHostsArray();
    EXPECT_EQ(controller->hosts.count(), 0U);
    volumes.release();
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 1U);
}

} // namespace quorrel
