// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MainLoopTimer.h"

#include <glib.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorrel {

void MainLoopTimer::start(Seconds delay, std::function<void()> action) {
    stop();
    m_action = std::move(action);
    const auto milliseconds = std::clamp(std::ceil(delay.count() * 1000), 0.0, 1e9);
    m_source = g_timeout_add(static_cast<guint>(milliseconds), &MainLoopTimer::fire, this);
}

void MainLoopTimer::stop() {
    if (const auto source = std::exchange(m_source, 0))
        g_source_remove(source);
    m_action = nullptr;
}

int MainLoopTimer::fire(void* data) noexcept {
    auto& timer = *static_cast<MainLoopTimer*>(data);
    timer.m_source = 0; // so that stopping leaves it to the value returned here
    const auto action = std::exchange(timer.m_action, nullptr);
    action();
    return G_SOURCE_REMOVE;
}

} // namespace quorrel
