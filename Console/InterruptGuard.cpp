// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/InterruptGuard.h"

#include "Platform/VolumeService.h"
#include "Sources/OperationsEnd.h"

namespace quorrel {

InterruptGuard::InterruptGuard(VolumeService& volumes)
    : m_volumes(volumes) { }

void InterruptGuard::guard(OperationQueue& queue) {
    const MutexLock lock(m_mutex);
    m_queue = &queue;
}

std::optional<int> InterruptGuard::release() {
    const auto end = std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::steady_clock::duration>(2 * signalPatience);
    MutexLock lock(m_mutex);
    while (m_isAtWork && std::chrono::steady_clock::now() < end)
        m_changed.waitUntil(lock, end);
    m_queue = nullptr;
    return m_signal;
}

bool InterruptGuard::isInterrupted() const {
    const MutexLock lock(m_mutex);
    return m_signal.has_value();
}

bool InterruptGuard::interrupt(int signal) {
    OperationQueue* queue = nullptr;
    {
        const MutexLock lock(m_mutex);
        m_signal = signal;
        queue = m_queue;
        m_isAtWork = queue != nullptr;
    }
    const bool isIdle = queue == nullptr || endOperations(*queue, m_volumes, signalPatience);
    // What is asked for outside of the queue, and from now on.
    m_volumes.interrupt();
    {
        const MutexLock lock(m_mutex);
        m_isAtWork = false;
    }
    m_changed.notifyAll();
    return isIdle;
}

} // namespace quorrel
