// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/RunningTools.h"

#include <csignal>

namespace quorrel {

void RunningTools::began(pid_t child) {
    const std::lock_guard lock(m_mutex);
    m_children.insert(child);
    if (m_isEnding)
        ::kill(child, SIGTERM);
}

void RunningTools::ended(pid_t child) {
    const std::lock_guard lock(m_mutex);
    m_children.erase(child);
}

void RunningTools::endAll() {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
    for (const auto child : m_children)
        ::kill(child, SIGTERM);
}

} // namespace quorrel
