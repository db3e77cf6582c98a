// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"

#include <chrono>
#include <condition_variable>

namespace quorrel {

/// Wakes those that wait for a change of what a mutex guards.
///
/// The waits take no predicate, since clang does not know within one that the lock is held: callers loop. Each may also
/// end without a reason.
class ConditionVariable final {
public:
    /// Lets go of the lock while it waits, and has it again afterwards.
    void wait(MutexLock& lock) { m_condition.wait(lock.m_lock); }
    void waitUntil(MutexLock& lock, std::chrono::steady_clock::time_point end) {
        m_condition.wait_until(lock.m_lock, end);
    }
    void notifyAll() { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};

} // namespace quorrel
