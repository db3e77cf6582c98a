// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtTimers.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTest>

#include <memory>

namespace quorrel {
namespace {

constexpr Seconds soon { 0.002 };
constexpr int bound = 5000; // milliseconds

TEST(QtTimers, FiresAgainAndAgain) {
    QtTimers timers;
    int fired = 0;
    const auto timer = timers.scheduleRepeating(soon, [&] { ++fired; });
    EXPECT_TRUE(timer->isValid());
    EXPECT_EQ(fired, 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return fired >= 3; }, bound));
}

TEST(QtTimers, FiresNoMoreOnceInvalidated) {
    QtTimers timers;
    int fired = 0;
    int later = 0;
    const auto timer = timers.scheduleRepeating(soon, [&] { ++fired; });
    const auto other = timers.scheduleRepeating(soon, [&] { ++later; });
    timer->invalidate();
    EXPECT_FALSE(timer->isValid());
    EXPECT_TRUE(QTest::qWaitFor([&] { return later >= 3; }, bound));
    EXPECT_EQ(fired, 0);
}

TEST(QtTimers, EndsWithItsOwnerEvenFromItsOwnAction) {
    QtTimers timers;
    int fired = 0;
    int later = 0;
    std::unique_ptr<Timer> timer;
    timer = timers.scheduleRepeating(soon, [&] {
        timer.reset();
        ++fired; // what the action holds is still there
    });
    const auto other = timers.scheduleRepeating(soon, [&] { ++later; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return later >= 3 && fired > 0; }, bound));
    EXPECT_EQ(fired, 1);
}

TEST(QtTimers, TakesIntervalsInSeconds) {
    QtTimers timers;
    int fired = 0;
    const QDeadlineTimer deadline(50);
    const auto timer = timers.scheduleRepeating(Seconds { 0.05 }, [&] { ++fired; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return fired > 0; }, bound));
    EXPECT_LE(deadline.remainingTime(), 3); // coarse timers may be a twentieth early
}

} // namespace
} // namespace quorrel
