// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/SystemClock.h"
#include "Foundation/WakeSignal.h"
#include "Tests/Fakes/FakeClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>
#include <vector>

namespace quorrel {

using Sleeps = std::vector<Seconds>;

TEST(SystemClockTest, tellsTheTimeOfDay) {
    const auto before = std::chrono::system_clock::now();
    const auto now = SystemClock().now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::chrono::system_clock::now());
}

TEST(SystemClockTest, sleepsAtLeastSoLong) {
    SystemClock clock;
    WakeSignal wake;
    for (auto* signal : { static_cast<WakeSignal*>(nullptr), &wake }) {
        const auto start = std::chrono::steady_clock::now();
        const auto slept = clock.sleep(Seconds(0.02), signal);
        EXPECT_GE(slept.count(), 0.0199);
        EXPECT_GE(Seconds(std::chrono::steady_clock::now() - start).count(), 0.0199);
    }
}

TEST(SystemClockTest, zeroLessAndNoNumberDoNotSleep) {
    SystemClock clock;
    EXPECT_EQ(clock.sleep(Seconds(0), nullptr), Seconds(0));
    EXPECT_EQ(clock.sleep(Seconds(-5), nullptr), Seconds(0));
    EXPECT_EQ(clock.sleep(Seconds(std::numeric_limits<double>::quiet_NaN()), nullptr), Seconds(0));
}

TEST(SystemClockTest, aSignalEndsEvenAnEndlessSleep) {
    SystemClock clock;
    WakeSignal wake;
    std::thread signaller([&] { wake.signal(); });
    const auto slept = clock.sleep(Seconds(std::numeric_limits<double>::infinity()), &wake);
    signaller.join();
    EXPECT_LT(slept.count(), 10);
}

TEST(WakeSignalTest, staysSignalledUntilItIsReset) {
    WakeSignal wake;
    EXPECT_FALSE(wake.isSignalled());
    EXPECT_FALSE(wake.waitFor(Seconds(0.001)));
    wake.signal();
    EXPECT_TRUE(wake.isSignalled());
    EXPECT_TRUE(wake.waitFor(Seconds(100)));
    EXPECT_TRUE(wake.waitFor(Seconds(100)));
    wake.reset();
    EXPECT_FALSE(wake.isSignalled());
}

TEST(FakeClockTest, startsAtAKnownTime) {
    EXPECT_EQ(FakeClock().now().time_since_epoch(), std::chrono::milliseconds(1795255872345));
}

TEST(FakeClockTest, aSleepMovesTheTimeAndIsRecorded) {
    FakeClock clock;
    const auto start = clock.now();
    EXPECT_EQ(clock.sleep(Seconds(5), nullptr), Seconds(5));
    EXPECT_EQ(clock.sleep(Seconds(0), nullptr), Seconds(0));
    EXPECT_EQ(clock.sleep(Seconds(2.5), nullptr), Seconds(2.5));
    EXPECT_EQ(clock.now() - start, std::chrono::milliseconds(7500));
    EXPECT_EQ(clock.elapsed(), Seconds(7.5));
    EXPECT_EQ(clock.sleeps(), (Sleeps { Seconds(5), Seconds(2.5) }));
}

TEST(FakeClockTest, runsWhatWasScheduledOnTheWay) {
    FakeClock clock;
    Sleeps times;
    const auto note = [&] { times.push_back(clock.elapsed()); };
    clock.at(Seconds(3), note);
    clock.at(Seconds(1), note);
    clock.at(Seconds(9), note);
    EXPECT_EQ(clock.sleep(Seconds(5), nullptr), Seconds(5));
    EXPECT_EQ(times, (Sleeps { Seconds(1), Seconds(3) }));
    clock.advance(Seconds(4));
    EXPECT_EQ(times.size(), 3U);
}

TEST(FakeClockTest, aSignalOnTheWayEndsTheSleepThere) {
    FakeClock clock;
    WakeSignal wake;
    clock.at(Seconds(2), [&] { wake.signal(); });
    EXPECT_EQ(clock.sleep(Seconds(5), &wake), Seconds(2));
    EXPECT_EQ(clock.elapsed(), Seconds(2));
    EXPECT_EQ(clock.sleep(Seconds(5), &wake), Seconds(0)); // it is still signalled
}

TEST(FakeClockTest, manualSleepersWaitUntilTheTimeIsAdvanced) {
    FakeClock clock(FakeClock::Mode::Manual);
    std::atomic<bool> awake = false;
    std::thread sleeper([&] {
        EXPECT_EQ(clock.sleep(Seconds(10), nullptr), Seconds(10));
        awake = true;
    });
    ASSERT_TRUE(clock.waitForSleepers(1));
    clock.advance(Seconds(9));
    EXPECT_FALSE(awake);
    clock.advance(Seconds(1));
    sleeper.join();
    EXPECT_TRUE(awake);
}

TEST(FakeClockTest, aSignalWakesAManualSleeper) {
    FakeClock clock(FakeClock::Mode::Manual);
    WakeSignal wake;
    Seconds slept { -1 };
    std::thread sleeper([&] { slept = clock.sleep(Seconds(10), &wake); });
    ASSERT_TRUE(clock.waitForSleepers(1));
    clock.advance(Seconds(4));
    wake.signal();
    sleeper.join();
    EXPECT_EQ(slept, Seconds(4));
}

} // namespace quorrel
