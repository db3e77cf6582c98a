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

/// The D-Bus library waits for 25 seconds for an answer; nobody can ask for less.
TEST_F(AvahiRoundsTest, aDaemonThatHangsIsNotAskedAgainAndAgain) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("found Attic"); }, Seconds(15)));
    daemon.freeze();
    const auto second = makeSearch();
    auto last = std::chrono::steady_clock::now();
    auto longest = last - last;
    EXPECT_FALSE(runMainContextUntil(
        [&] {
            const auto now = std::chrono::steady_clock::now();
            longest = std::max(longest, now - last);
            last = now;
            return false;
        },
        Seconds(8)));
    EXPECT_LT(longest, std::chrono::seconds(3));
    searching.heard.clear();
    daemon.kill();
    ASSERT_TRUE(runMainContextUntil([&] { return searching.hasHeard("removed Attic"); }, Seconds(5)));
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runMainContextUntil([&] { return searching.count("found Attic") == 2; }, Seconds(15)));
}

} // namespace
} // namespace quorrel
