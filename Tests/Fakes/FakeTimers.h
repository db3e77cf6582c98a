// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Timers.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace quorrel {

/// Timers that fire when a test says so. Main thread.
class FakeTimers final : public Timers {
public:
    [[nodiscard]] std::unique_ptr<Timer> scheduleRepeating(Seconds interval, std::function<void()> action) override;

    /// Fires every valid timer once, in the order in which they were made.
    void fire();
    [[nodiscard]] std::size_t validTimers() const;
    /// The most that were valid at the same time.
    [[nodiscard]] std::size_t mostValidTimers() const { return m_mostValidTimers; }
    /// Those that have not been destroyed.
    [[nodiscard]] std::size_t timers() const;
    /// Of every timer that was ever scheduled.
    [[nodiscard]] const std::vector<Seconds>& intervals() const { return m_intervals; }

private:
    struct State final {
        std::function<void()> action;
        bool isValid = true;
        bool isThere = true;
    };
    class FakeTimer;

    std::vector<std::shared_ptr<State>> m_states;
    std::vector<Seconds> m_intervals;
    std::size_t m_mostValidTimers = 0;
};

} // namespace quorrel
