// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

namespace quorrel {

class WakeSignal;

using Seconds = std::chrono::duration<double>;

/// The time of day, and sleep. Any thread.
class Clock {
public:
    using Time = std::chrono::system_clock::time_point;

    virtual ~Clock() = default;

    [[nodiscard]] virtual Time now() const = 0;

    /// Blocks the calling thread for so long, or until the signal comes, whichever is first; zero or less does not
    /// sleep. Returns how long it slept.
    virtual Seconds sleep(Seconds duration, WakeSignal* wake = nullptr) = 0;
};

} // namespace quorrel
