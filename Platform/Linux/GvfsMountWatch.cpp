// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsMountWatch.h"

#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/GvfsMountList.h"

#include <utility>

namespace quorrel {

/// One life of gvfs's daemon. Answers that come after its end find it gone.
struct GvfsMountWatch::Daemon final {
    GvfsMountWatch* watch;
    std::string owner; ///< its name on the bus
    bool isAsked = false;
    bool isToBeAskedAgain = false;
};

struct GvfsMountWatch::Callbacks final {
    using WeakDaemon = std::weak_ptr<Daemon>;

    static void appeared(GDBusConnection*, const gchar*, const gchar* owner, gpointer watch) noexcept {
        static_cast<GvfsMountWatch*>(watch)->daemonAppeared(owner);
    }

    static void vanished(GDBusConnection*, const gchar*, gpointer watch) noexcept {
        static_cast<GvfsMountWatch*>(watch)->daemonVanished();
    }

    static void told(GDBusConnection*, const gchar* sender, const gchar*, const gchar*, const gchar* signal,
        GVariant* parameters, gpointer watch) noexcept {
        if (const auto mount = GvfsMountList::readSignal(parameters); mount && sender)
            static_cast<GvfsMountWatch*>(watch)->told(sender, signal, *mount);
    }

    static void answered(GObject* connection, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<WeakDaemon> weak(static_cast<WeakDaemon*>(data));
        const GlibPointer<GVariant> reply(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, nullptr));
        const auto daemon = weak->lock();
        if (!daemon)
            return;
        daemon->isAsked = false;
        if (std::exchange(daemon->isToBeAskedAgain, false))
            daemon->watch->refresh();
        if (auto mounts = reply ? GvfsMountList::read(reply.get()) : std::nullopt)
            daemon->watch->listed(std::move(*mounts));
    }
};

GvfsMountWatch::GvfsMountWatch(const std::string& busAddress, std::function<void()> changed)
    : m_changed(std::move(changed))
    , m_bus(busAddress, [this](GDBusConnection* connection) { busChanged(connection); }) { }

GvfsMountWatch::~GvfsMountWatch() {
    unwatch();
}

void GvfsMountWatch::busChanged(GDBusConnection* connection) {
    unwatch();
    m_connection = connection;
    if (connection) {
        // Before the list is asked for, so that nothing falls in between.
        m_signals = g_dbus_connection_signal_subscribe(connection, GvfsMountList::daemonName,
            GvfsMountList::trackerInterface, nullptr, GvfsMountList::trackerPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            &Callbacks::told, this, nullptr);
        m_nameWatch = g_bus_watch_name_on_connection(connection, GvfsMountList::daemonName,
            G_BUS_NAME_WATCHER_FLAGS_NONE, &Callbacks::appeared, &Callbacks::vanished, this, nullptr);
    } else {
        daemonVanished();
    }
}

void GvfsMountWatch::unwatch() {
    if (!m_connection)
        return;
    g_bus_unwatch_name(m_nameWatch);
    g_dbus_connection_signal_unsubscribe(m_connection, m_signals);
    m_connection = nullptr;
}

void GvfsMountWatch::daemonAppeared(const std::string& owner) {
    m_daemon = std::make_shared<Daemon>();
    m_daemon->watch = this;
    m_daemon->owner = owner;
    refresh();
}

void GvfsMountWatch::daemonVanished() {
    m_daemon.reset();
    if (std::exchange(m_mounts, {}).empty())
        return;
    tellChanged();
}

void GvfsMountWatch::refresh() {
    if (!m_daemon || !m_connection)
        return;
    if (m_daemon->isAsked) {
        m_daemon->isToBeAskedAgain = true;
        return;
    }
    m_daemon->isAsked = true;
    // Without a limit: a daemon that stands still has its list told when it goes on, and one that ends is an answer
    // too.
    g_dbus_connection_call(m_connection, m_daemon->owner.c_str(), GvfsMountList::trackerPath,
        GvfsMountList::trackerInterface, "ListMounts", nullptr, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, G_MAXINT,
        nullptr, &Callbacks::answered, std::make_unique<Callbacks::WeakDaemon>(m_daemon).release());
}

void GvfsMountWatch::told(const std::string& sender, const std::string& signal, const GvfsMount& mount) {
    if (!m_daemon || sender != m_daemon->owner)
        return; // the list that will be asked for has it, or it is an impostor's
    if (signal != "Mounted" && signal != "Unmounted")
        return;
    std::erase_if(m_mounts,
        [&](const GvfsMount& one) { return one.busName == mount.busName && one.objectPath == mount.objectPath; });
    if (signal == "Mounted")
        m_mounts.push_back(mount);
    tellChanged();
}

void GvfsMountWatch::listed(std::vector<GvfsMount> mounts) {
    m_mounts = std::move(mounts);
    tellChanged();
}

void GvfsMountWatch::tellChanged() const {
    const auto changed = m_changed; // outlives the watch
    changed();
}

} // namespace quorrel
