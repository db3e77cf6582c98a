// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/GvfsLocation.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/MountListMirror.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// What a call to a gvfs process came to.
struct TrackerReply final {
    GlibPointer<GVariant> value; ///< null after a failure
    GlibPointer<GError> error; ///< null also when the time was up

    [[nodiscard]] bool isTimedOut() const { return !value && !error; }
    /// Whether the process that was asked is gone.
    [[nodiscard]] bool isFromNobody() const;
    [[nodiscard]] std::string reason() const;
};

/// The session's list of gvfs mounts, and their processes. Lives within one bounded loop, on its thread.
///
/// Mounts are asked directly by their names on the bus. GIO's own objects for them go stale when a location is mounted
/// again, and some of their calls have no bound.
class MountTracker final {
public:
    /// The mirror may be shared with others.
    MountTracker(BoundedLoop& loop, MountListMirror& mirror)
        : m_loop(loop)
        , m_mirror(mirror) { }

    /// False with the reason when there is no session bus.
    [[nodiscard]] bool connect(std::string& reason);
    /// Whether the bus that this process began with has ended. GIO holds on to that one until the process ends, and can
    /// mount nothing any more; the tracker asks the bus that has taken its place.
    [[nodiscard]] bool isGioCutOff() const { return m_isGioCutOff; }

    /// Asks; absent when gvfs did not tell.
    [[nodiscard]] std::optional<std::vector<GvfsMount>> mounts();
    /// As gvfs has announced them: as good as asked for, but for readable paths that came later than their mounts. Asks
    /// where that is not known.
    [[nodiscard]] std::optional<std::vector<GvfsMount>> announcedMounts();
    /// Whether gvfs can mount that scheme; true when it does not tell.
    [[nodiscard]] bool supports(const GvfsLocation& location);

    /// Asks the mount's server for what is there. A limit in seconds.
    [[nodiscard]] TrackerReply queryInfo(const GvfsMount& mount, const std::string& relativePath, Seconds limit);
    [[nodiscard]] TrackerReply unmount(const GvfsMount& mount, Seconds limit);

    /// Of the connection with that name on the bus; absent when there is none.
    [[nodiscard]] std::optional<pid_t> processOf(const std::string& busName);
    /// Of the daemon whose children the back ends are.
    [[nodiscard]] std::optional<pid_t> daemonProcess();

private:
    [[nodiscard]] bool connectToSuccessor(std::string& reason);
    TrackerReply call(const char* busName, const char* path, const char* interface, const char* method,
        GVariant* parameters, Seconds limit);

    BoundedLoop& m_loop;
    MountListMirror& m_mirror;
    GObjectPointer<GDBusConnection> m_connection;
    bool m_isGioCutOff = false;
};

} // namespace quorrel
