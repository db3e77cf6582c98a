// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxNetworkReachability.h"

#include "Foundation/MainThreadQueue.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/WakeUps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <glib.h>

namespace quorrel {
namespace {

using testing::ElementsAre;

std::size_t entriesOf(const char* folder) {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}

/// What can be known of this machine itself, whatever network it is on.
class LoopbackReachabilityTest : public testing::Test {
protected:
    std::unique_ptr<ReachabilityReference> makeReference(const std::string& host) {
        auto reference = network.createWithName(host);
        reference->setCallback([this](std::uint32_t flags) { told.push_back(flags); });
        return reference;
    }
    bool runUntilTold(std::size_t count = 1) {
        return runMainContextUntil([&] { return told.size() >= count; }, Seconds(10));
    }

    MainThreadQueue queue;
    GlibRunLoop loop { queue };
    LinuxNetworkReachability network;
    std::vector<std::uint32_t> told;
};

TEST_F(LoopbackReachabilityTest, thisMachineIsReachableByAddressAndByName) {
    for (const auto* host : { "127.0.0.1", "127.0.0.53", "localhost" }) {
        told.clear();
        const auto reference = makeReference(host);
        ASSERT_TRUE(reference->scheduleWithRunLoop(loop));
        ASSERT_TRUE(runUntilTold()) << host;
        EXPECT_THAT(told, ElementsAre(ReachabilityFlag::reachable)) << host;
    }
}

TEST_F(LoopbackReachabilityTest, whatIsReachableAndQuietWakesNobodyUp) {
    const auto reference = makeReference("localhost");
    ASSERT_TRUE(reference->scheduleWithRunLoop(loop));
    ASSERT_TRUE(runUntilTold());
    EXPECT_TRUE(fallsQuiet(Seconds(10)));
}

TEST_F(LoopbackReachabilityTest, whatIsUnscheduledWakesNobodyUp) {
    const auto reference = makeReference("localhost");
    ASSERT_TRUE(reference->scheduleWithRunLoop(loop));
    reference->unscheduleFromRunLoop(loop);
    EXPECT_TRUE(fallsQuiet(Seconds(10)));
    EXPECT_THAT(told, testing::IsEmpty());
}

TEST_F(LoopbackReachabilityTest, referencesLeaveNeitherDescriptorsNorThreadsNorSources) {
    const auto round = [this] {
        for (const auto* host : { "127.0.0.1", "localhost", "two words" }) {
            told.clear();
            const auto reference = makeReference(host);
            ASSERT_TRUE(reference->scheduleWithRunLoop(loop));
            ASSERT_TRUE(runUntilTold());
            const auto other = makeReference(host);
            ASSERT_TRUE(other->scheduleWithRunLoop(loop)); // goes while its look-up is under way
        }
        ASSERT_TRUE(fallsQuiet(Seconds(10)));
    };
    round(); // the first makes what the process keeps
    const auto settled = [](const char* folder, std::size_t before) {
        return runMainContextUntil([&] { return entriesOf(folder) <= before; }, Seconds(10));
    };
    const auto descriptors = entriesOf("/proc/self/fd");
    const auto threads = entriesOf("/proc/self/task");
    const auto firstSource = g_idle_add([](void*) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
    for (int count = 0; count < 20; ++count)
        round();
    EXPECT_TRUE(settled("/proc/self/fd", descriptors));
    EXPECT_TRUE(settled("/proc/self/task", threads));
    const auto sourcesLeft = [&] {
        int left = 0;
        for (auto each = firstSource; each < firstSource + 2000; ++each)
            if (g_main_context_find_source_by_id(nullptr, each))
                ++left;
        return left;
    };
    EXPECT_TRUE(runMainContextUntil([&] { return sourcesLeft() == 1; }, Seconds(10))); // that which runs the turns
}

} // namespace
} // namespace quorrel
