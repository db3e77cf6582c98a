// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/RunningTools.h"

#include <csignal>

#include <unistd.h>

namespace quorrel {

namespace {

/// With whatever it started, where it has a group of its own.
void end(pid_t child) {
    ::kill(::getpgid(child) == child ? -child : child, SIGTERM);
}

} // namespace

void RunningTools::began(pid_t child) {
    const MutexLock lock(m_mutex);
    m_children.insert(child);
    if (m_isEnding)
        end(child);
}

void RunningTools::ended(pid_t child) {
    const MutexLock lock(m_mutex);
    m_children.erase(child);
}

void RunningTools::endAll() {
    const MutexLock lock(m_mutex);
    m_isEnding = true;
    for (const auto child : m_children)
        end(child);
}

} // namespace quorrel
