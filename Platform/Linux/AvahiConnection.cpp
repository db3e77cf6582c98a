// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiConnection.h"

#include "Platform/Linux/AvahiDaemonLife.h"
#include "Platform/Linux/AvahiObject.h"

#include <utility>

namespace quorrel {

namespace {

constexpr auto daemonName = "org.freedesktop.Avahi";

std::string systemBusAddress() {
    const GlibPointer<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    return address ? address.get() : std::string();
}

} // namespace

struct AvahiConnection::Callbacks final {
    static void appeared(GDBusConnection*, const gchar*, const gchar* owner, gpointer connection) noexcept {
        static_cast<AvahiConnection*>(connection)->daemonAppeared(owner);
    }

    static void vanished(GDBusConnection*, const gchar*, gpointer connection) noexcept {
        static_cast<AvahiConnection*>(connection)->daemonVanished();
    }

    static void told(GDBusConnection*, const gchar*, const gchar* path, const gchar*, const gchar* signal,
        GVariant* parameters, gpointer connection) noexcept {
        const auto daemon = static_cast<AvahiConnection*>(connection)->m_daemon;
        if (!daemon)
            return;
        if (const auto object = daemon->objects.find(path); object != daemon->objects.end())
            object->second->tell(signal, parameters);
        else if (daemon->unanswered > 0) // a signal may overtake the answer that it belongs to
            daemon->early.emplace(
                path, AvahiDaemonLife::Signal { signal, GlibPointer<GVariant>(g_variant_ref(parameters)) });
    }
};

AvahiConnection::AvahiConnection() = default;

AvahiConnection::~AvahiConnection() {
    endDaemon();
    unwatch();
}

AvahiConnection::State AvahiConnection::state() {
    if (!m_link)
        m_link.emplace(systemBusAddress(), [this](GDBusConnection* connection) { busChanged(connection); });
    return m_state;
}

std::string AvahiConnection::failure() const {
    return m_bus ? "Avahi does not run" : "There is no system bus";
}

Subscription AvahiConnection::observe(Observer observer) {
    return m_observers.add(std::move(observer));
}

int AvahiConnection::unanswered() const {
    return m_daemon ? m_daemon->unanswered : 0;
}

void AvahiConnection::busChanged(GDBusConnection* connection) {
    unwatch();
    m_bus = connection;
    if (connection)
        // The bus starts a daemon that is installed and not running, once.
        m_nameWatch = g_bus_watch_name_on_connection(connection, daemonName, G_BUS_NAME_WATCHER_FLAGS_AUTO_START,
            &Callbacks::appeared, &Callbacks::vanished, this, nullptr);
    else
        daemonVanished();
}

void AvahiConnection::unwatch() {
    if (const auto watch = std::exchange(m_nameWatch, 0))
        g_bus_unwatch_name(watch);
}

void AvahiConnection::daemonAppeared(const std::string& owner) {
    endDaemon();
    m_daemon = std::make_shared<AvahiDaemonLife>();
    m_daemon->bus.reset(G_DBUS_CONNECTION(g_object_ref(m_bus)));
    m_daemon->owner = owner;
    m_daemon->answered = m_answered;
    // The daemon addresses its signals to us, so that no rule at the bus is needed.
    m_signals = g_dbus_connection_signal_subscribe(m_bus, owner.c_str(), nullptr, nullptr, nullptr, nullptr,
        G_DBUS_SIGNAL_FLAGS_NO_MATCH_RULE, &Callbacks::told, this, nullptr);
    become(State::Running);
}

void AvahiConnection::daemonVanished() {
    endDaemon();
    become(State::Absent);
}

void AvahiConnection::endDaemon() {
    if (!m_daemon)
        return;
    g_dbus_connection_signal_unsubscribe(m_daemon->bus.get(), m_signals);
    m_daemon->isOver = true;
    m_daemon->early.clear();
    m_daemon->unasked.clear();
    m_daemon.reset();
}

void AvahiConnection::become(State state) {
    if (std::exchange(m_state, state) != state)
        m_observers.notify(state);
}

} // namespace quorrel
