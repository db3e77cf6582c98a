// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/WakeSignal.h"

namespace quorrel {

void WakeSignal::signal() {
    const MutexLock lock(m_mutex);
    m_isSignalled = true;
    m_signalled.notifyAll();
}

void WakeSignal::reset() {
    const MutexLock lock(m_mutex);
    m_isSignalled = false;
}

bool WakeSignal::isSignalled() const {
    const MutexLock lock(m_mutex);
    return m_isSignalled;
}

bool WakeSignal::waitFor(std::chrono::duration<double> duration) {
    const auto end
        = std::chrono::steady_clock::now() + std::chrono::ceil<std::chrono::steady_clock::duration>(duration);
    MutexLock lock(m_mutex);
    while (!m_isSignalled && std::chrono::steady_clock::now() < end)
        m_signalled.waitUntil(lock, end);
    return m_isSignalled;
}

} // namespace quorrel
