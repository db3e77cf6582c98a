// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/DiscoveryWorld.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace quorrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class TXTRecordMonitoringContract : public testing::Test {
protected:
    std::unique_ptr<NetService> makeService(const std::string& name, const std::string& domain = "local.") {
        auto service = world->discovery().makeNetService(domain, DiscoveryWorld::modelType, name);
        service->setDelegate(&delegate);
        return service;
    }

    bool runUntilHeard(const std::string& event) {
        return world->runUntil([&] { return !delegate.heard.empty() && delegate.heard.back() == event; }, Seconds(10));
    }
    /// Gives whatever may still come the time to come.
    void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(world->runUntil([] { return false; }, duration));
    }

    static std::string newName() {
        static int number = 0;
        return "Tower " + std::to_string(++number);
    }

    RecordingNetServiceDelegate delegate;
    std::unique_ptr<DiscoveryWorld> world = DiscoveryWorld::make();
};

TEST_F(TXTRecordMonitoringContract, tellsWhatTheRecordHoldsButNotDuringTheCall) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->startMonitoring();
    EXPECT_THAT(delegate.heard, IsEmpty());
    ASSERT_TRUE(runUntilHeard("record: model=RackMac"));
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(TXTRecordMonitoringContract, theDotsAtTheEndMayBeMissing) {
    const auto service = world->discovery().makeNetService("local", "_device-info._tcp", DiscoveryWorld::publishedName);
    service->setDelegate(&delegate);
    service->startMonitoring();
    EXPECT_TRUE(runUntilHeard("record: model=RackMac"));
}

TEST_F(TXTRecordMonitoringContract, aRecordThatComesLaterIsTold) {
    const auto name = newName();
    const auto service = makeService(name);
    service->startMonitoring();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
    world->setTXTRecord(name, { "model=Desk" });
    EXPECT_TRUE(runUntilHeard("record: model=Desk"));
}

TEST_F(TXTRecordMonitoringContract, aChangeIsToldOnceAndTheEndAsNothing) {
    const auto name = newName() + ". Ü";
    world->setTXTRecord(name, { "model=Desk" });
    const auto service = makeService(name);
    service->startMonitoring();
    ASSERT_TRUE(runUntilHeard("record: model=Desk"));
    world->setTXTRecord(name, { "model=Shelf" });
    ASSERT_TRUE(runUntilHeard("record: model=Shelf"));
    runOn(Seconds(2.5)); // until the old one is surely taken away
    world->removeTXTRecord(name);
    ASSERT_TRUE(runUntilHeard("record: "));
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=Desk", "record: model=Shelf", "record: "));
}

TEST_F(TXTRecordMonitoringContract, startingAgainDoesNothing) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->startMonitoring();
    service->startMonitoring();
    ASSERT_TRUE(runUntilHeard("record: model=RackMac"));
    service->startMonitoring();
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(TXTRecordMonitoringContract, stoppingIsSilentAndStartingAfterItTellsAgain) {
    const auto service = makeService(DiscoveryWorld::publishedName);
    service->stopMonitoring();
    service->startMonitoring();
    service->stopMonitoring();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
    for (int round = 0; round < 2; ++round) {
        service->startMonitoring();
        ASSERT_TRUE(runUntilHeard("record: model=RackMac"));
        service->stopMonitoring();
        delegate.heard.clear();
    }
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(TXTRecordMonitoringContract, aMonitorThatStoppedHearsOfNoChange) {
    const auto name = newName();
    world->setTXTRecord(name, { "model=Desk" });
    const auto service = makeService(name);
    service->startMonitoring();
    ASSERT_TRUE(runUntilHeard("record: model=Desk"));
    service->stopMonitoring();
    world->setTXTRecord(name, { "model=Shelf" });
    runOn(Seconds(0.5));
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=Desk"));
    service->startMonitoring();
    EXPECT_TRUE(runUntilHeard("record: model=Shelf"));
}

TEST_F(TXTRecordMonitoringContract, resolutionAndMonitorDoNotDisturbEachOther) {
    const auto service
        = world->discovery().makeNetService("local.", DiscoveryWorld::publishedType, DiscoveryWorld::publishedName);
    service->setDelegate(&delegate);
    const auto other = makeService(DiscoveryWorld::publishedName);
    other->startMonitoring();
    service->startMonitoring();
    service->resolveWithTimeout(Seconds(5));
    ASSERT_TRUE(world->runUntil(
        [&] {
            return std::find(delegate.heard.begin(), delegate.heard.end(), "did resolve") != delegate.heard.end()
                && std::find(delegate.heard.begin(), delegate.heard.end(), "record: model=RackMac")
                != delegate.heard.end();
        },
        Seconds(10)));
    service->stop();
    service->stopMonitoring();
    EXPECT_THAT(delegate.heard, testing::Not(Contains("did stop")));
}

TEST_F(TXTRecordMonitoringContract, namesThatCannotBeAreSilent) {
    using namespace std::string_literals;
    for (const auto& name : { ""s, "Att\xFFic"s, "Attic\0Cellar"s, std::string(64, 'a'), std::string(1000, 'a') })
        makeService(name)->startMonitoring();
    makeService("Attic", "lo\xFF")->startMonitoring();
    const auto impossible = makeService(std::string(64, 'a'));
    impossible->startMonitoring();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

TEST_F(TXTRecordMonitoringContract, aDelegateMayStopOrDestroyTheServiceFromItsCall) {
    for (const bool destroys : { false, true }) {
        delegate.heard.clear();
        auto service = makeService(DiscoveryWorld::publishedName);
        bool wasCalled = false;
        delegate.then = [&](const std::string&) {
            wasCalled = true;
            if (destroys)
                service.reset();
            else
                service->stopMonitoring();
        };
        service->startMonitoring();
        ASSERT_TRUE(world->runUntil([&] { return wasCalled; }, Seconds(10)));
        runOn();
        EXPECT_THAT(delegate.heard, ElementsAre("record: model=RackMac"));
    }
}

TEST_F(TXTRecordMonitoringContract, oneDelegateMayDestroyAnotherService) {
    RecordingNetServiceDelegate other;
    auto second = makeService(DiscoveryWorld::publishedName);
    second->setDelegate(&other);
    const auto first = makeService(DiscoveryWorld::publishedName);
    delegate.then = [&](const std::string&) { second.reset(); };
    first->startMonitoring();
    second->startMonitoring();
    ASSERT_TRUE(runUntilHeard("record: model=RackMac"));
    runOn();
    EXPECT_THAT(other.heard, IsEmpty());
}

TEST_F(TXTRecordMonitoringContract, aDestroyedServiceIsSilent) {
    auto service = makeService(DiscoveryWorld::publishedName);
    service->startMonitoring();
    service.reset();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
}

} // namespace
} // namespace quorrel
