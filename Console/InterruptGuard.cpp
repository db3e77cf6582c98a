// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/InterruptGuard.h"

#include "Platform/VolumeService.h"
#include "Sources/OperationsEnd.h"

namespace quorrel {

InterruptGuard::InterruptGuard(VolumeService& volumes)
    : m_volumes(volumes) { }

void InterruptGuard::guard(OperationQueue& queue) {
    const std::lock_guard lock(m_mutex);
    m_queue = &queue;
}

std::optional<int> InterruptGuard::release() {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, 2 * signalPatience, [&] { return !m_isAtWork; });
    m_queue = nullptr;
    return m_signal;
}

bool InterruptGuard::isInterrupted() const {
    const std::lock_guard lock(m_mutex);
    return m_signal.has_value();
}

bool InterruptGuard::interrupt(int signal) {
    OperationQueue* queue = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_signal = signal;
        queue = m_queue;
        m_isAtWork = queue != nullptr;
    }
    const bool isIdle = queue == nullptr || endOperations(*queue, m_volumes, signalPatience);
    // What is asked for outside of the queue, and from now on.
    m_volumes.interrupt();
    {
        const std::lock_guard lock(m_mutex);
        m_isAtWork = false;
    }
    m_changed.notify_all();
    return isIdle;
}

} // namespace quorrel
