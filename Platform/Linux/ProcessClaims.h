// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Platform/Linux/ProcessTable.h"

#include <cstdint>
#include <set>
#include <utility>

namespace quorrel {

/// Which processes one of several calls has taken for its own already. Any thread.
class ProcessClaims final {
public:
    /// False when another call was first.
    [[nodiscard]] bool claim(const ProcessEntry& process) {
        const MutexLock lock(m_mutex);
        return m_claimed.emplace(process.identifier, process.startTicks).second;
    }

private:
    Mutex m_mutex;
    std::set<std::pair<pid_t, std::uint64_t>> m_claimed GUARDED_BY(m_mutex);
};

} // namespace quorrel
