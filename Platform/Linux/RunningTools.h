// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"

#include <set>

#include <sys/types.h>

namespace quorrel {

/// The child processes that run for this program's own use, to be ended with it. Any thread.
class RunningTools final {
public:
    RunningTools() = default;
    RunningTools(const RunningTools&) = delete;
    RunningTools& operator=(const RunningTools&) = delete;

    void began(pid_t child);
    /// It is about to be reaped, or just was: its number may become another's.
    void ended(pid_t child);

    /// Ends those that run, and each that is still started, with SIGTERM: for a program that is about to end and has no
    /// use for what they find out. Waits for nothing.
    void endAll();

private:
    Mutex m_mutex;
    std::set<pid_t> m_children GUARDED_BY(m_mutex);
    bool m_isEnding GUARDED_BY(m_mutex) = false;
};

} // namespace quorrel
