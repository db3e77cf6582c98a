// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ConditionVariable.h"

#include <chrono>

namespace quorrel {

/// Ends another thread's sleep early. Any thread; stays signalled until it is reset.
class WakeSignal final {
public:
    void signal();
    void reset();
    [[nodiscard]] bool isSignalled() const;
    /// Blocks until signalled, at most so long; whether it was signalled.
    bool waitFor(std::chrono::duration<double> duration);

private:
    mutable Mutex m_mutex;
    ConditionVariable m_signalled;
    bool m_isSignalled GUARDED_BY(m_mutex) = false;
};

} // namespace quorrel
