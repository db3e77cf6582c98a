// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <functional>

namespace quorrel {

/// Calls once, after a delay, from the main GLib context. Main thread only; destroying it stops it.
class MainLoopTimer final {
public:
    MainLoopTimer() = default;
    MainLoopTimer(const MainLoopTimer&) = delete;
    MainLoopTimer& operator=(const MainLoopTimer&) = delete;
    ~MainLoopTimer() { stop(); }

    /// In place of what it was started for before. The action must not throw; it may destroy the timer.
    void start(Seconds delay, std::function<void()> action);
    void stop();

    [[nodiscard]] bool isRunning() const { return m_source != 0; }

private:
    static int fire(void* data) noexcept;

    unsigned m_source = 0;
    std::function<void()> m_action;
};

} // namespace quorrel
