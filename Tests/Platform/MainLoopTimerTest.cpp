// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MainLoopTimer.h"

#include "Tests/Platform/GlibTurns.h"

#include <gtest/gtest.h>

#include <memory>

namespace quorrel {
namespace {

TEST(MainLoopTimerTest, firesOnceAndNotBeforeItsTime) {
    MainLoopTimer timer;
    int fired = 0;
    const auto start = std::chrono::steady_clock::now();
    timer.start(Seconds(0.05), [&] { ++fired; });
    EXPECT_TRUE(timer.isRunning());
    EXPECT_EQ(fired, 0);
    ASSERT_TRUE(runMainContextUntil([&] { return fired > 0; }, Seconds(5)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(49));
    EXPECT_FALSE(timer.isRunning());
    EXPECT_FALSE(runMainContextUntil([&] { return fired > 1; }, Seconds(0.15)));
}

TEST(MainLoopTimerTest, stoppingAndStartingAnewDropTheOldAction) {
    MainLoopTimer timer;
    int old = 0;
    int fresh = 0;
    timer.start(Seconds(0), [&] { ++old; });
    timer.start(Seconds(0), [&] { ++fresh; });
    ASSERT_TRUE(runMainContextUntil([&] { return fresh > 0; }, Seconds(5)));
    timer.start(Seconds(0), [&] { ++old; });
    timer.stop();
    EXPECT_FALSE(runMainContextUntil([&] { return old > 0; }, Seconds(0.1)));
}

TEST(MainLoopTimerTest, itsActionMayStartItAgainOrDestroyIt) {
    auto timer = std::make_unique<MainLoopTimer>();
    int rounds = 0;
    std::function<void()> again = [&] {
        if (++rounds < 3)
            timer->start(Seconds(0), again);
        else
            timer.reset();
    };
    timer->start(Seconds(0), again);
    ASSERT_TRUE(runMainContextUntil([&] { return !timer; }, Seconds(5)));
    EXPECT_EQ(rounds, 3);
}

} // namespace
} // namespace quorrel
