// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <functional>
#include <memory>

namespace quorrel {

/// A timer that runs. Main thread; destroying it ends it.
class Timer {
public:
    virtual ~Timer() = default;

    /// It never fires again.
    virtual void invalidate() = 0;
    [[nodiscard]] virtual bool isValid() const = 0;
};

/// Timers on the main thread's run loop.
class Timers {
public:
    virtual ~Timers() = default;

    /// Fires for the first time after one interval. The action must not throw; it may destroy the timer.
    [[nodiscard]] virtual std::unique_ptr<Timer> scheduleRepeating(Seconds interval, std::function<void()> action) = 0;
};

} // namespace quorrel
