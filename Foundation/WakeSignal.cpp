// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/WakeSignal.h"

namespace quorrel {

void WakeSignal::signal() {
    const std::lock_guard lock(m_mutex);
    m_isSignalled = true;
    m_signalled.notify_all();
}

void WakeSignal::reset() {
    const std::lock_guard lock(m_mutex);
    m_isSignalled = false;
}

bool WakeSignal::isSignalled() const {
    const std::lock_guard lock(m_mutex);
    return m_isSignalled;
}

bool WakeSignal::waitFor(std::chrono::duration<double> duration) {
    std::unique_lock lock(m_mutex);
    return m_signalled.wait_for(lock, duration, [this] { return m_isSignalled; });
}

} // namespace quorrel
