// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/MountTracker.h"
#include "Platform/Linux/ProcessClaims.h"
#include "Platform/Linux/ProcessTable.h"

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Ends processes of gvfs that stand in the way: one process serves one mount.
///
/// A mount that is given up leaves its process behind, which goes on waiting for the server; every later mount of that
/// location joins it and waits as well, without being asked anything. Lives within one bounded loop, on its thread.
class BackEndProcesses final {
public:
    BackEndProcesses(BoundedLoop& loop, MountTracker& tracker, ProcessClaims& claims)
        : m_loop(loop)
        , m_tracker(tracker)
        , m_claims(claims) { }

    /// What is known of the process that our own mount started.
    struct Trace final {
        std::string name; ///< of its program
        std::uint64_t notBefore = 0; ///< in the ticks of the process table
        std::vector<std::string> addresses; ///< of its server
    };

    /// Of several that fit, the first that began: others may have asked for the same server after us.
    [[nodiscard]] static std::optional<ProcessEntry> choose(const Trace& trace, std::vector<ProcessEntry> pending,
        const std::function<std::vector<std::string>(pid_t)>& remoteAddresses);

    /// Ends the process that still tries to mount for us, and no other. True when there was one.
    bool endPending(const Trace& trace);

    /// Ends the process behind a mount that does not answer any more. True when it is off the list afterwards.
    bool endMounted(const GvfsMount& mount);

    /// Ends a process that has unmounted all it had. It would go by itself after a second, and until then the paths of
    /// a volume that is mounted again give errors.
    void endIdle(pid_t process, const std::string& busName);

private:
    /// Children of the daemon by that name which have not mounted anything.
    [[nodiscard]] std::vector<ProcessEntry> pendingProcesses(const std::string& name);
    [[nodiscard]] bool terminate(pid_t process);

    BoundedLoop& m_loop;
    MountTracker& m_tracker;
    ProcessClaims& m_claims;
};

} // namespace quorrel
