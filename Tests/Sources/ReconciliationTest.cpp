// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

namespace quorrel {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ReconciliationTest : public ControllerTest {
protected:
    static constexpr const char* afpType = "_afpovertcp._tcp.";
    static constexpr const char* smbType = "_smb._tcp.";

    ReconciliationTest() {
        controller->applicationDidFinishLaunching();
        events.take();
        logSink.clear();
    }

    /// Of the run loop.
    void turns(int count) {
        for (int turn = 0; turn < count; ++turn)
            mainThreadQueue.runPending();
    }
};

TEST_F(ReconciliationTest, AServiceOfAnUnknownHostOnlyAddsItsName) {
    addHost("Other", afp, { "Public" });
    occupyQueue();
    announceService(1, "Office", afpType);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office"));
    EXPECT_EQ(controller->hosts.count(), 1U);
    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_THAT(discovery.requests(), IsEmpty());
    EXPECT_THAT(monitored(), IsEmpty());
    EXPECT_THAT(logSink.texts(), ElementsAre("Office Appeared"));
}

TEST_F(ReconciliationTest, AKnownHostIsMarkedResolvedMountedAndMonitored) {
    const auto host = addHost("Office", afp, { "Public", "Music" });
    occupyQueue();
    announceService(1, "Office", afpType);
    EXPECT_TRUE(host->bonjour.get());
    ASSERT_EQ(discovery.requests().size(), 1U);
    EXPECT_EQ(discovery.requests().front().name, "Office");
    EXPECT_EQ(discovery.requests().front().type, afpType);
    EXPECT_EQ(waitingOperations(), 2U);
    EXPECT_THAT(monitored(), ElementsAre("Office"));
    controller->opQueue().cancelAllOperations();
}

TEST_F(ReconciliationTest, AppearancesMountOnlyWhatIsAutomatic) {
    const auto host = addHost("192.168.1.20", smb, { "Public", "Music" });
    host->sharePointForName("Music")->automatically.set(false);
    announceService(1, "192.168.1.20", smbType);
    waitUntilIdle();
    ASSERT_EQ(volumes.requests().size(), 1U);
    EXPECT_EQ(volumes.requests().front().volumeName, "Public");
    EXPECT_FALSE(host->sharePointForName("Music")->manualMount.get());
}

TEST_F(ReconciliationTest, AnAppearanceQueuesNoMountOfASharePointThatIsBeingMounted) {
    const auto host = addHost("Office", afp, { "Public", "Music" });
    host->sharePointForName("Music")->setMounting(true);
    occupyQueue();
    announceService(1, "Office", afpType);
    EXPECT_EQ(waitingOperations(), 1U);
    controller->opQueue().cancelAllOperations();
}

TEST_F(ReconciliationTest, TheSameHostOverTwoProtocolsIsNamedResolvedAndMonitoredOnce) {
    const auto host = addHost("Office", afp, { "Public", "Music" });
    addService(host, smb);
    occupyQueue();
    announceService(1, "Office", afpType);
    ASSERT_TRUE(host->resolving.get());
    host->sharePointForName("Music")->setMounting(true);

    announceService(1, "Office", smbType);

    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office"));
    EXPECT_EQ(discovery.requests().size(), 1U);
    EXPECT_THAT(childProcess.calls(), IsEmpty());
    EXPECT_EQ(waitingOperations(), 2U) << "the later operation of a share point takes the place of the one that waits";
    EXPECT_THAT(monitored(), ElementsAre("Office"));
    controller->opQueue().cancelAllOperations();
}

TEST_F(ReconciliationTest, AResolvedHostThatAppearsAgainIsNotResolvedAgain) {
    const auto host = addHost("Office", afp, {});
    host->resolved.set(true);
    announceService(1, "Office", afpType);
    EXPECT_THAT(discovery.requests(), IsEmpty());
}

TEST_F(ReconciliationTest, AServiceTypeThatTheHostDoesNotHaveStartsNoResolver) {
    addHost("Office", afp, {});
    announceService(1, "Office", "_afpovertcp._tcp");
    announceService(1, "Office", smbType);
    EXPECT_THAT(discovery.requests(), IsEmpty());
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(ReconciliationTest, OnlyTheFirstHostOfThatNameIsServed) {
    const auto first = addHost("Office", afp, {});
    const auto second = addHost("Office", afp, {});
    const auto lowerCase = addHost("office", afp, {});
    announceService(1, "Office", afpType);
    EXPECT_TRUE(first->bonjour.get());
    EXPECT_FALSE(second->bonjour.get());
    EXPECT_FALSE(lowerCase->bonjour.get());
}

TEST_F(ReconciliationTest, ANameThatIsPartOfAListedNameIsNotAdded) {
    announceService(1, "Office-2", smbType);
    announceService(1, "Office", smbType);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office-2"));
    announceService(1, "Attic", smbType);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office-2", "Attic"));
}

TEST_F(ReconciliationTest, NamesAreAnnouncedBeforeAndAfterOnlyWhenTheListChanges) {
    std::vector<std::pair<Change, std::size_t>> seen;
    const auto subscription = controller->observe("bonjourServices",
        [&](std::string_view, Change change) { seen.emplace_back(change, controller->bonjourServices.count()); });
    announceService(1, "Office", smbType);
    announceService(1, "Office", afpType);
    announceService(0, "Nobody", smbType);
    announceService(0, "Office", smbType);
    EXPECT_THAT(seen,
        ElementsAre(std::pair(Change::Will, 0U), std::pair(Change::Did, 1U), std::pair(Change::Will, 1U),
            std::pair(Change::Did, 0U)));
}

TEST_F(ReconciliationTest, ADepartureRemovesOneEntryOfExactlyThatName) {
    for (const char* name : { "Office", "Office", "Off" })
        controller->bonjourServices.append(name);
    announceService(0, "Office", smbType);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Office", "Off"));
    EXPECT_THAT(logSink.texts(), ElementsAre("Office Left"));
}

TEST_F(ReconciliationTest, ADepartureForANameThatWasNeverAddedChangesNothing) {
    const auto host = addHost("Office", smb, { "Public" });
    host->resolved.set(true);
    controller->bonjourServices.append("Attic");
    announceService(0, "Nobody", smbType);
    EXPECT_THAT(controller->bonjourServices.snapshot(), ElementsAre("Attic"));
    EXPECT_TRUE(host->resolved.get());
}

TEST_F(ReconciliationTest, AHostThatLeavesIsResetAndNotUnmounted) {
    const auto host = addHost("Office", smb, { "Public" });
    host->bonjour.set(true);
    host->resolved.set(true);
    host->password.set("secret");
    host->sharePointForName("Public")->setMounting(true);
    occupyQueue();
    announceService(0, "Office", smbType);
    EXPECT_EQ(waitingOperations(), 0U);
    EXPECT_FALSE(host->bonjour.get());
    EXPECT_FALSE(host->resolved.get());
    EXPECT_TRUE(host->passwordIsEmpty());
    EXPECT_FALSE(host->sharePointForName("Public")->mounting.get());
}

TEST_F(ReconciliationTest, AHostThatLeavesHasEverySharePointUnmountedWhereTheUserWantsThat) {
    EXPECT_TRUE(preferences.set("unmountDrives", true));
    const auto host = addHost("Office", smb, { "Public", "Music" });
    host->sharePointForName("Public")->referenceNumber.set(7);
    addHost("Other", smb, { "Public" });
    occupyQueue();
    announceService(0, "Office", smbType);
    EXPECT_EQ(waitingOperations(), 2U) << "mounted or not";
    releaseQueue();
    EXPECT_THAT(volumes.unmounts(), Contains(7));
}

TEST_F(ReconciliationTest, AMonitoredHostThatLeavesEndsEveryMonitor) {
    const auto office = addHost("Office", smb, {});
    const auto attic = addHost("Attic", smb, {});
    announceService(1, "Office", smbType);
    announceService(1, "Attic", smbType);
    ASSERT_THAT(monitored(), ElementsAre("Office", "Attic"));
    announceService(0, "Office", smbType);
    EXPECT_THAT(monitored(), IsEmpty());
    EXPECT_FALSE(office->monitoring.get());
    EXPECT_FALSE(attic->monitoring.get());
    announceService(1, "Attic", smbType);
    EXPECT_THAT(monitored(), ElementsAre("Attic"));
}

TEST_F(ReconciliationTest, AHostThatLeavesUnmonitoredEndsNoMonitor) {
    addHost("Office", smb, {});
    const auto attic = addHost("Attic", smb, {});
    announceService(1, "Attic", smbType);
    announceService(0, "Office", smbType);
    EXPECT_THAT(monitored(), ElementsAre("Attic"));
}

TEST_F(ReconciliationTest, AServiceIsThatOfTheHostWhichHasTheNameNow) {
    const auto first = addHost("Office", afp, { "Public" });
    const auto second = addHost("Attic", afp, { "Music" });
    occupyQueue();
    announceService(1, "Office", afpType);
    EXPECT_TRUE(first->bonjour.get());
    first->displayName.set("Cellar");
    second->displayName.set("Office");
    announceService(0, "Office", afpType);
    EXPECT_TRUE(first->bonjour.get());
    announceService(1, "Office", afpType);
    EXPECT_TRUE(second->bonjour.get());
    controller->hosts.remove(second);
    const auto third = addHost("Office", afp, { "Films" });
    announceService(1, "Office", afpType);
    EXPECT_TRUE(third->bonjour.get());
    controller->opQueue().cancelAllOperations();
}

TEST_F(ReconciliationTest, AServiceOfALoadedCatalogueReachesItsHosts) {
    const auto former = addHost("Office", afp, { "Public" });
    announceService(1, "Office", afpType);
    files.put(cataloguePath, PropertyValue::Array { former->dictionary() });
    controller->loadHostsArray();
    former->bonjour.set(false);
    occupyQueue();
    announceService(1, "Office", afpType);
    EXPECT_FALSE(former->bonjour.get());
    EXPECT_TRUE(controller->hosts.snapshot().front()->bonjour.get());
    controller->opQueue().cancelAllOperations();
}

TEST_F(ReconciliationTest, TheNextAppearanceEndsEveryMonitorAndResolverOfALostNetwork) {
    for (const char* name : { "Office", "Attic", "Cellar" }) {
        mountNothingOnItsOwn(addHost(name, afp, { "Public" }));
        announceService(1, name, afpType);
    }
    EXPECT_EQ(discovery.services(), 6) << "a monitor and a resolver for each";
    announceReachability(false);
    EXPECT_EQ(discovery.services(), 6);
    announceService(1, "Attic", afpType);
    EXPECT_THAT(monitored(), ElementsAre("Attic"));
    EXPECT_EQ(discovery.services(), 2);
}

TEST_F(ReconciliationTest, TheNextAppearanceEndsTheMonitorAndTheResolverOfAHostThatIsGone) {
    for (const char* name : { "Office", "Attic", "Cellar" }) {
        mountNothingOnItsOwn(addHost(name, afp, { "Public" }));
        if (name != std::string("Cellar"))
            announceService(1, name, afpType);
    }
    waitUntilIdle();
    controller->hosts.remove(controller->hosts.snapshot().front());
    EXPECT_THAT(monitored(), ElementsAre("Office", "Attic"));
    announceService(1, "Cellar", afpType);
    EXPECT_THAT(monitored(), ElementsAre("Attic", "Cellar"));
    EXPECT_EQ(discovery.services(), 4);
}

TEST_F(ReconciliationTest, OtherServiceActionsDoNothing) {
    const auto host = addHost("Office", smb, {});
    for (const int action : { -1, 2, 91 })
        announceService(action, "Office", smbType);
    controller->bonjourServiceNotigficationUpdate({ "ServiceAdded/Removed", nullptr, std::nullopt });
    EXPECT_THAT(controller->bonjourServices.snapshot(), IsEmpty());
    EXPECT_FALSE(host->bonjour.get());
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(ReconciliationTest, AVolumeMarksItsSharePointOnEveryHost) {
    const auto office = addHost("Office", smb, { "Public", "Music" });
    const auto attic = addHost("Attic", ftp, { "Public" });
    for (const auto& host : { office, attic })
        host->sharePointForName("Public")->setMounting(true);

    announceVolume(91, "Public");
    for (const auto& host : { office, attic }) {
        EXPECT_TRUE(host->sharePointForName("Public")->mounted.get());
        EXPECT_FALSE(host->sharePointForName("Public")->mounting.get());
        EXPECT_EQ(host->sharePointForName("Public")->status.get(), "Online");
    }
    EXPECT_FALSE(office->sharePointForName("Music")->mounted.get());

    office->sharePointForName("Public")->setMounting(true);
    announceVolume(90, "Public");
    for (const auto& host : { office, attic }) {
        EXPECT_FALSE(host->sharePointForName("Public")->mounted.get());
        EXPECT_FALSE(host->sharePointForName("Public")->mounting.get());
        EXPECT_EQ(host->sharePointForName("Public")->status.get(), "Offline");
    }
}

TEST_F(ReconciliationTest, OtherVolumeActionsAndUnknownVolumesChangeNoSharePoint) {
    const auto host = addHost("Office", smb, { "Public" });
    const auto sharePoint = host->sharePointForName("Public");
    sharePoint->setMounting(true);
    announceVolume(1, "Public");
    announceVolume(91, "public");
    EXPECT_TRUE(sharePoint->mounting.get());
    EXPECT_FALSE(sharePoint->mounted.get());
}

TEST_F(ReconciliationTest, EveryVolumeNotificationRebuildsTheFavouritesAlone) {
    const auto favourites = controller->popMenu->observe([this] { events.add("favourites"); });
    const auto mountMenu = controller->mountMenu->observe([this] { events.add("mount menu"); });
    const auto unmountMenu = controller->unmountMenu->observe([this] { events.add("unmount menu"); });
    announceVolume(91, "Public");
    announceVolume(5, "Public");
    controller->diskNotigficationUpdate({ "diskAddRemoveNotification", nullptr, std::nullopt });
    EXPECT_THAT(events.take(), ElementsAre("favourites", "favourites", "favourites"));
}

TEST_F(ReconciliationTest, TheNetworkComingUpMountsWhatIsAutomaticOnce) {
    const auto host = addHost("192.168.1.20", smb, { "Public", "Music" });
    host->sharePointForName("Music")->automatically.set(false);
    announceReachability(true);
    announceReachability(true);
    EXPECT_EQ(countOfLogged("Mounting all automatic SharePoints"), 1U);
    waitUntilIdle();
    ASSERT_EQ(volumes.requests().size(), 1U);

    announceReachability(false);
    announceReachability(true);
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 2U);
    EXPECT_EQ(countOfLogged("Mounting all automatic SharePoints"), 2U);
}

TEST_F(ReconciliationTest, ReachabilityIsLoggedLineByLine) {
    announceReachability(true);
    announceReachability(true);
    announceReachability(false);
    EXPECT_THAT(logSink.texts(),
        ElementsAre("Network Reachable.", "Mounting all automatic SharePoints", "Network Reachable.",
            "Network NOT Reachable."));
}

TEST_F(ReconciliationTest, ANetworkThatIsLostResetsEveryHostAndUnmountsNothing) {
    const auto office = addHost("Office", smb, { "Public" });
    const auto attic = addHost("Attic", smb, {});
    office->sharePointForName("Public")->setMounted(true);
    office->sharePointForName("Public")->referenceNumber.set(7);
    for (const auto& host : { office, attic }) {
        host->resolved.set(true);
        host->bonjour.set(true);
    }
    occupyQueue();
    announceReachability(false);
    for (const auto& host : { office, attic }) {
        EXPECT_FALSE(host->resolved.get());
        EXPECT_FALSE(host->bonjour.get());
    }
    EXPECT_TRUE(office->sharePointForName("Public")->mounted.get());
    EXPECT_EQ(waitingOperations(), 0U);
}

TEST_F(ReconciliationTest, TheSaveNotificationSavesThenRebuildsTheMenus) {
    addHost("Office", smb, { "Public" })->sharePointForName("Public")->favroite.set(true);
    int writesWhenTheMenusWereMade = -1;
    const auto subscription = controller->mountMenu->observe([&] { writesWhenTheMenusWereMade = files.writeCount(); });
    notificationCenter.post("900");
    EXPECT_EQ(writesWhenTheMenusWereMade, 1);
    EXPECT_TRUE(controller->mountMenu->indexOfItemWithTitle("Office"));
    EXPECT_TRUE(controller->unmountMenu->indexOfItemWithTitle("Office"));
    EXPECT_TRUE(controller->popMenu->indexOfItemWithTitle("Office : Public"));
}

TEST_F(ReconciliationTest, AModelThatIsLearnedIsSavedAndShownAtOnce) {
    const auto host = addHost("Office", smb, {});
    announceService(1, "Office", smbType);
    discovery.setTXTRecord("Office", FakeDNSServiceDiscovery::txtRecord({ "model=RackMac" }));
    discovery.advance();
    EXPECT_EQ(host->computerModel.get(), "RackMac");
    EXPECT_EQ(files.writeCount(), 1);
    EXPECT_TRUE(controller->mountMenu->indexOfItemWithTitle("Office"));
    turns(5);
    EXPECT_EQ(files.writeCount(), 1);

    discovery.setTXTRecord("Office", FakeDNSServiceDiscovery::txtRecord({ "model=Macmini" }));
    discovery.advance();
    EXPECT_EQ(files.writeCount(), 2) << "at once again";
}

TEST_F(ReconciliationTest, ModelsThatComeCloseTogetherAreSavedTogetherBehindTheFirst) {
    for (int number = 0; number < 50; ++number)
        addHost("host " + std::to_string(number) + '.', smb, {});
    controller->saveHostsArray();
    ASSERT_EQ(monitored().size(), 50U);
    const auto before = files.writeCount();
    int counter = 0;
    for (const auto& host : controller->hosts.snapshot()) {
        discovery.setTXTRecord(textOf(host->displayName.get()),
            FakeDNSServiceDiscovery::txtRecord({ "model=Tower" + std::to_string(++counter) }));
        discovery.advance();
        turns(1);
    }
    EXPECT_EQ(files.writeCount(), before + 1);
    turns(2);
    EXPECT_EQ(files.writeCount(), before + 2);
    const auto saved = files.content(cataloguePath);
    ASSERT_TRUE(saved);
    const auto& last = std::get<PropertyValue::Array>(saved->variant()).back();
    EXPECT_EQ(std::get<Dictionary>(last.variant()).text("computerModel"), "Tower50");
    turns(5);
    EXPECT_EQ(files.writeCount(), before + 2) << "and that is all";
}

TEST_F(ReconciliationTest, WhatSomebodyElseWantsSavedIsSavedAtOnceAmongModels) {
    addHost("Office", smb, {});
    announceService(1, "Office", smbType);
    for (const char* model : { "model=RackMac", "model=Macmini" }) {
        discovery.setTXTRecord("Office", FakeDNSServiceDiscovery::txtRecord({ model }));
        discovery.advance();
    }
    EXPECT_EQ(files.writeCount(), 1);
    controller->sendSaveNotification();
    EXPECT_EQ(files.writeCount(), 2);
    turns(5);
    EXPECT_EQ(files.writeCount(), 2) << "with the second model";
}

TEST_F(ReconciliationTest, TheSaveActionPostsWithTheControllerAsItsObject) {
    std::vector<Notification> posted;
    const auto subscription = notificationCenter.addObserver(
        "900", [&](const Notification& notification) { posted.push_back(notification); }, controller.get());
    controller->sendSaveNotification();
    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted.front().object, controller.get());
    EXPECT_FALSE(posted.front().userInfo);
    EXPECT_EQ(files.writeCount(), 1);
}

TEST_F(ReconciliationTest, NamesFromTheNetworkCannotForgeLogLines) {
    announceService(1, "a\x1b[2J\r", smbType);
    ASSERT_EQ(logSink.texts().size(), 1U);
    EXPECT_EQ(logSink.texts().front().find('\x1b'), std::string::npos);
    EXPECT_EQ(logSink.texts().front().find('\r'), std::string::npos);
}

} // namespace quorrel
