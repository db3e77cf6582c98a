// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Integration/AvahiDaemon.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceBrowserDelegate.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"
#include "Tests/Platform/WakeUps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {
namespace {

std::size_t entriesOf(const char* folder) {
    namespace fs = std::filesystem;
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

class AvahiRoundsTest : public testing::Test {
protected:
    AvahiRoundsTest() { EXPECT_TRUE(daemon.start()); }

    std::unique_ptr<NetServiceBrowser> makeSearch() {
        auto browser = discovery.makeNetServiceBrowser();
        browser->setDelegate(&searching);
        browser->searchForServicesOfType("_afpovertcp._tcp.", std::nullopt);
        return browser;
    }
    std::unique_ptr<NetService> makeMonitor() {
        auto service = discovery.makeNetService("local.", "_device-info._tcp.", "Attic");
        service->setDelegate(&monitoring);
        service->startMonitoring();
        return service;
    }
    [[nodiscard]] bool runUntilBothHeard() {
        return runMainContextUntil(
            [&] { return searching.hasHeard("found Attic") && !monitoring.heard.empty(); }, Seconds(15));
    }

    static AvahiDaemon daemon;

    RecordingNetServiceBrowserDelegate searching;
    RecordingNetServiceDelegate monitoring;
    AvahiServiceDiscovery discovery;
};

AvahiDaemon AvahiRoundsTest::daemon;

TEST_F(AvahiRoundsTest, aHundredSearchesAndMonitorsLeaveNothingBehind) {
    ASSERT_TRUE(daemon.stop());
    // The daemon refuses what exceeds this, so that whatever is left with it soon shows.
    daemon.setServerOptions("use-ipv4=yes\nuse-ipv6=no\nallow-interfaces=lo\nobjects-per-client-max=3\n");
    ASSERT_TRUE(daemon.start());
    const auto stays = makeSearch();
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    for (int round = 0; round < 100; ++round) {
        searching.heard.clear();
        monitoring.heard.clear();
        const auto browser = makeSearch();
        const auto service = makeMonitor();
        ASSERT_TRUE(runUntilBothHeard()) << round;
        if (round % 2 == 0) {
            browser->stop();
            service->stopMonitoring();
        }
        if (round != 0)
            continue;
        descriptors = entriesOf("/proc/self/fd");
        threads = entriesOf("/proc/self/task");
    }
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
    EXPECT_FALSE(searching.hasHeard("did not search"));
    daemon.setServerOptions("");
    ASSERT_TRUE(daemon.stop());
}

TEST_F(AvahiRoundsTest, nothingWakesUpWhileNothingHappens) {
    const auto browser = makeSearch();
    const auto service = makeMonitor();
    ASSERT_TRUE(runUntilBothHeard());
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
    ASSERT_TRUE(daemon.stop());
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("removed Attic"); }, Seconds(5)));
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
    const auto later = makeSearch();
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
}

TEST_F(AvahiRoundsTest, aDaemonThatHangsHoldsUpNobody) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("found Attic"); }, Seconds(15)));
    daemon.freeze();
    auto last = std::chrono::steady_clock::now();
    auto longest = last - last;
    const auto turn = [&] {
        const auto now = std::chrono::steady_clock::now();
        longest = std::max(longest, now - last);
        last = now;
    };
    RecordingNetServiceDelegate resolving;
    const auto service = discovery.makeNetService("local.", "_afpovertcp._tcp.", "Attic");
    service->setDelegate(&resolving);
    service->resolveWithTimeout(Seconds(1));
    turn();
    std::vector<std::unique_ptr<NetService>> monitors;
    for (int each = 0; each < 100; ++each)
        monitors.push_back(makeMonitor());
    turn();
    for (int each = 0; each < 10; ++each) {
        const auto other = makeSearch();
        turn();
        EXPECT_FALSE(runMainContextUntil(
            [&] {
                turn();
                return false;
            },
            Seconds(0.2)));
    }
    monitors.resize(50);
    turn();
    EXPECT_EQ(resolving.heard, (std::vector<std::string> { "will resolve", "did not resolve" }));
    EXPECT_TRUE(monitoring.heard.empty());
    RecordProperty("microseconds of the longest turn",
        std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(longest).count()));
    EXPECT_LT(longest, std::chrono::seconds(1)); // the bound is for a machine that is busy; it is a few milliseconds

    searching.heard.clear();
    daemon.kill();
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("removed Attic"); }, Seconds(15)));
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runMainContextUntil(
        [&] { return searching.hasHeard("found Attic") && monitoring.heard.size() == 50; }, Seconds(30)));
}

TEST_F(AvahiRoundsTest, aDaemonThatGoesOnAnswersWhatWasAskedMeanwhile) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("found Attic"); }, Seconds(15)));
    daemon.freeze();
    makeSearch().reset();
    const auto second = makeSearch();
    const auto service = makeMonitor();
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.3)));
    daemon.thaw();
    EXPECT_TRUE(runMainContextUntil(
        [&] { return searching.count("found Attic") == 2 && !monitoring.heard.empty(); }, Seconds(30)));
}

} // namespace
} // namespace quorrel
