// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace quorrel {

/// Time that tests own. A sleep does not wait: it moves the time forward itself, running what was scheduled on the
/// way, and ends early where that signals. In `Manual` mode sleepers block until the test advances the time.
class FakeClock final : public Clock {
public:
    enum class Mode { AdvancesItself, Manual };

    explicit FakeClock(Mode mode = Mode::AdvancesItself);

    [[nodiscard]] Time now() const override;
    Seconds sleep(Seconds duration, WakeSignal* wake) override;

    /// Runs the action when the time comes, on the thread that moves the time.
    void at(Seconds sinceStart, std::function<void()> action);
    /// Moves the time forward, running scheduled actions and waking manual sleepers.
    void advance(Seconds duration);

    [[nodiscard]] Seconds elapsed() const;
    /// Every positive sleep that was asked for, in order.
    [[nodiscard]] std::vector<Seconds> sleeps() const;
    /// Blocks until so many sleepers sleep; false after ten seconds of real time.
    [[nodiscard]] bool waitForSleepers(int count);

private:
    /// Moves to that time, or to the first scheduled action that signals.
    void moveTo(Seconds target, const WakeSignal* wake);

    const Mode m_mode;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Seconds m_elapsed { 0 };
    std::multimap<Seconds, std::function<void()>> m_actions;
    std::vector<Seconds> m_sleeps;
    int m_sleepers = 0;
};

} // namespace quorrel
