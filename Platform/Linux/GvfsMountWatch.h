// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/MessageBus.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Follows the session's list of gvfs mounts. Main thread only, on the main GLib context.
///
/// gvfs is never started for it. Everything is asked without waiting, so that a gvfs that hangs holds up nothing;
/// without gvfs, or without a bus, there are no mounts.
class GvfsMountWatch final {
public:
    /// Called when the mounts are, or may be, others than before. It must not throw; it may destroy the watch.
    GvfsMountWatch(const std::string& busAddress, std::function<void()> changed);
    GvfsMountWatch(const GvfsMountWatch&) = delete;
    GvfsMountWatch& operator=(const GvfsMountWatch&) = delete;
    ~GvfsMountWatch();

    [[nodiscard]] const std::vector<GvfsMount>& mounts() const { return m_mounts; }

    /// Has the whole list told again: gvfs announces no readable path that a mount gets later.
    void refresh();

private:
    struct Callbacks;
    struct Daemon;

    void busChanged(_GDBusConnection* connection);
    void daemonAppeared(const std::string& owner);
    void daemonVanished();
    void told(const std::string& sender, const std::string& signal, const GvfsMount& mount);
    void listed(std::vector<GvfsMount> mounts);
    void unwatch();
    void tellChanged() const;

    const std::function<void()> m_changed;
    std::vector<GvfsMount> m_mounts;
    _GDBusConnection* m_connection = nullptr; ///< the bus's
    unsigned m_nameWatch = 0;
    unsigned m_signals = 0;
    std::shared_ptr<Daemon> m_daemon; ///< gvfs's, while it runs
    MessageBus m_bus;
};

} // namespace quorrel
