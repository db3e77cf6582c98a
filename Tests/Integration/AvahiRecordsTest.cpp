// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Integration/AvahiDaemon.h"
#include "Tests/Integration/AvahiPublisher.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceBrowserDelegate.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto type = "_device-info._tcp.";

class AvahiRecordsTest : public testing::Test {
protected:
    AvahiRecordsTest() { EXPECT_TRUE(daemon.start()); }

    std::unique_ptr<NetService> makeService(RecordingNetServiceDelegate& hearer, const std::string& name = "Attic") {
        auto service = discovery.makeNetService("local.", type, name);
        service->setDelegate(&hearer);
        service->startMonitoring();
        return service;
    }

    bool runUntilHeard(const std::string& event) {
        return runMainContextUntil(
            [&] { return !delegate.heard.empty() && delegate.heard.back() == event; }, Seconds(15));
    }
    static void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
    }

    static AvahiDaemon daemon;

    RecordingNetServiceDelegate delegate;
    AvahiServiceDiscovery discovery;
};

AvahiDaemon AvahiRecordsTest::daemon;

TEST_F(AvahiRecordsTest, aDaemonThatGoesAndComesBackWithTheSameRecordIsNotHeardOf) {
    const auto service = makeService(delegate);
    ASSERT_TRUE(runUntilHeard("record: model=RackMac"));
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(daemon.start());
    RecordingNetServiceDelegate later; // whose hearing shows that the record is back
    const auto other = makeService(later);
    ASSERT_TRUE(runMainContextUntil([&] { return !later.heard.empty(); }, Seconds(15)));
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(AvahiRecordsTest, changesAreToldAfterARestartToo) {
    auto publisher = std::make_unique<AvahiPublisher>();
    publisher->publish("Tower", type, { "model=Desk" });
    const auto service = makeService(delegate, "Tower");
    ASSERT_TRUE(runUntilHeard("record: model=Desk"));
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(daemon.start());
    publisher = std::make_unique<AvahiPublisher>();
    publisher->publish("Tower", type, { "model=Shelf" });
    EXPECT_TRUE(runUntilHeard("record: model=Shelf"));
    publisher->withdraw("Tower", type);
    EXPECT_TRUE(runUntilHeard("record: "));
    EXPECT_THAT(delegate.heard, ElementsAre("record: model=Desk", "record: model=Shelf", "record: "));
}

TEST_F(AvahiRecordsTest, aDaemonThatIsNotThereIsWaitedFor) {
    ASSERT_TRUE(daemon.stop());
    const auto service = makeService(delegate);
    makeService(delegate, "Nowhere").reset();
    runOn();
    EXPECT_THAT(delegate.heard, IsEmpty());
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runUntilHeard("record: model=RackMac"));
}

TEST_F(AvahiRecordsTest, moreRecordsThanTheDaemonAllowsAClientAreWatchedAndBrowsingGoesOn) {
    ASSERT_TRUE(daemon.stop());
    daemon.setServerOptions("use-ipv4=yes\nuse-ipv6=no\nallow-interfaces=lo\nobjects-per-client-max=5\n");
    ASSERT_TRUE(daemon.start());
    std::deque<RecordingNetServiceDelegate> delegates(100); // 16 clients have room for 80
    std::deque<std::unique_ptr<NetService>> services;
    for (auto& each : delegates)
        services.push_back(makeService(each));
    const auto heard = [&] {
        return std::count_if(delegates.begin(), delegates.end(), [](const auto& each) { return !each.heard.empty(); });
    };
    ASSERT_TRUE(runMainContextUntil([&] { return heard() == 80; }, Seconds(15)));
    runOn();
    EXPECT_EQ(heard(), 80);

    RecordingNetServiceBrowserDelegate searching;
    const auto browser = discovery.makeNetServiceBrowser();
    browser->setDelegate(&searching);
    browser->searchForServicesOfType("_afpovertcp._tcp.", std::nullopt);
    EXPECT_TRUE(runMainContextUntil([&] { return searching.hasHeard("found Attic"); }, Seconds(15)));

    services.erase(services.begin(), services.begin() + 20); // whose places the others take
    EXPECT_TRUE(runMainContextUntil([&] { return heard() == 100; }, Seconds(15)));

    ASSERT_TRUE(daemon.stop());
    daemon.setServerOptions("");
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runMainContextUntil([&] { return searching.count("found Attic") == 2; }, Seconds(15)));
    for (const auto& each : delegates)
        EXPECT_THAT(each.heard, ElementsAre("record: model=RackMac"));
}

TEST_F(AvahiRecordsTest, manyRecordsDoNotHoldUpTheMainLoop) {
    std::deque<RecordingNetServiceDelegate> delegates(1500);
    std::deque<std::unique_ptr<NetService>> services;
    std::chrono::steady_clock::duration longest {};
    auto last = std::chrono::steady_clock::now();
    const auto turn = [&] {
        const auto now = std::chrono::steady_clock::now();
        longest = std::max(longest, now - last);
        last = now;
    };
    const auto haveHeard = [&] {
        turn();
        return std::all_of(delegates.begin(), delegates.end(), [](const auto& each) { return !each.heard.empty(); });
    };
    const auto start = last;
    for (auto& each : delegates)
        services.push_back(makeService(each));
    ASSERT_TRUE(runMainContextUntil(haveHeard, Seconds(60)));
    const auto took = last - start;
    services.clear();
    turn();
    ASSERT_FALSE(runMainContextUntil(
        [&] {
            turn();
            return false;
        },
        Seconds(1)));
    const auto milliseconds = [](auto duration) {
        return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count());
    };
    RecordProperty("milliseconds until all were told", milliseconds(took));
    RecordProperty("milliseconds of the longest turn", milliseconds(longest));
    EXPECT_LT(longest, took / 2) << milliseconds(longest) << " of " << milliseconds(took);
}

} // namespace
} // namespace quorrel
