// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/SystemClock.h"

#include "Foundation/WakeSignal.h"

#include <algorithm>
#include <thread>

namespace quorrel {

namespace {

// A longer sleep overflows the standard library's time points; nobody lives to see the difference.
constexpr Seconds longestSleep = std::chrono::hours(24 * 365);

} // namespace

Clock::Time SystemClock::now() const {
    return std::chrono::system_clock::now();
}

Seconds SystemClock::sleep(Seconds duration, WakeSignal* wake) {
    if (!(duration > Seconds::zero())) // nor for what is not a number
        return Seconds::zero();
    const auto start = std::chrono::steady_clock::now();
    const auto bounded = std::min(duration, longestSleep);
    if (wake)
        wake->waitFor(bounded);
    else
        std::this_thread::sleep_for(bounded);
    return std::chrono::steady_clock::now() - start;
}

} // namespace quorrel
