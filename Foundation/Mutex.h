// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ThreadSafety.h"

#include <mutex>

namespace quorrel {

/// A mutex that clang knows as one: the standard library's tells it nothing. Taken by a `MutexLock` only.
class CAPABILITY("mutex") Mutex final {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

private:
    friend class MutexLock;
    std::mutex m_mutex;
};

/// Holds a mutex for as long as it lives.
class SCOPED_CAPABILITY MutexLock final {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex)
        : m_lock(mutex.m_mutex) { }
    ~MutexLock() RELEASE() = default;
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    friend class ConditionVariable;
    std::unique_lock<std::mutex> m_lock;
};

} // namespace quorrel
