// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MessageBus.h"

#include "Foundation/Text.h"
#include "Platform/Linux/GlibPointers.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds firstDelay { 0.1 }; // a socket is there a moment before somebody listens
constexpr Seconds longestDelay { 60 };
constexpr Seconds longestDelayWithFolder { 3 };

/// The socket's whole path, for an address that has one.
std::string socketOf(std::string_view address) {
    constexpr std::string_view kind = "unix:path=";
    if (!address.starts_with(kind))
        return {};
    address.remove_prefix(kind.size());
    auto path = Text::percentDecoded(address.substr(0, address.find_first_of(",;")));
    return path.starts_with('/') ? path : std::string();
}

} // namespace

/// What callbacks hold on to, since GLib may call them when all else is gone.
struct MessageBus::Link final {
    MessageBus* bus;
    GObjectPointer<GCancellable> cancellable { g_cancellable_new() };
    GObjectPointer<GDBusConnection> connection;
    gulong closedHandler = 0;
};

struct MessageBus::Callbacks final {
    using WeakLink = std::weak_ptr<Link>;

    static void made(GObject*, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<WeakLink> weak(static_cast<WeakLink*>(data));
        GObjectPointer<GDBusConnection> connection(g_dbus_connection_new_for_address_finish(result, nullptr));
        if (const auto link = weak->lock())
            link->bus->connected(connection.release());
        else if (connection)
            g_dbus_connection_close(connection.get(), nullptr, nullptr, nullptr);
    }

    static void closed(GDBusConnection*, gboolean, GError*, gpointer bus) noexcept {
        static_cast<MessageBus*>(bus)->lost();
    }
};

MessageBus::MessageBus(std::string address, Observer observer)
    : m_address(std::move(address))
    , m_observer(std::move(observer)) {
    if (!m_address.empty())
        connect();
}

MessageBus::~MessageBus() {
    release();
}

void MessageBus::connect() {
    m_link = std::make_shared<Link>();
    m_link->bus = this;
    constexpr auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    g_dbus_connection_new_for_address(m_address.c_str(), flags, nullptr, m_link->cancellable.get(), &Callbacks::made,
        std::make_unique<Callbacks::WeakLink>(m_link).release());
}

void MessageBus::connected(GDBusConnection* connection) {
    m_link->connection.reset(connection);
    if (!connection || g_dbus_connection_is_closed(connection)) {
        release();
        await();
        const auto observer = m_observer; // outlives this
        observer(nullptr);
        return;
    }
    m_folder.reset();
    m_delay = Seconds(0);
    m_link->closedHandler = g_signal_connect(connection, "closed", G_CALLBACK(&Callbacks::closed), this);
    const auto observer = m_observer; // outlives this
    observer(connection);
}

void MessageBus::lost() {
    const auto kept = m_link; // until the observer let go of its connection
    release();
    await();
    const auto observer = m_observer;
    observer(nullptr);
}

void MessageBus::release() {
    const auto link = std::exchange(m_link, nullptr);
    if (!link)
        return;
    g_cancellable_cancel(link->cancellable.get());
    if (!link->connection)
        return;
    if (link->closedHandler)
        g_signal_handler_disconnect(link->connection.get(), link->closedHandler);
    // Dropping it alone would leave its socket to a thread's leisure.
    if (!g_dbus_connection_is_closed(link->connection.get()))
        g_dbus_connection_close(link->connection.get(), nullptr, nullptr, nullptr);
}

void MessageBus::await() {
    if (const auto socket = socketOf(m_address); !socket.empty() && (!m_folder || !m_folder->isWatching())) {
        watchFor(socket);
        if (m_folder->isWatching())
            m_delay = Seconds(0); // the socket may have come just before
    }
    tryLater();
}

void MessageBus::watchFor(const std::string& socket) {
    auto path = socket;
    do {
        const auto slash = path.rfind('/');
        const auto name = path.substr(slash + 1);
        path.resize(slash);
        m_folder.emplace(path + "/.", name, [this] {
            m_folder.reset(); // what came may be a folder on the way
            m_delay = Seconds(0);
            if (!m_link)
                tryLater();
        });
    } while (!m_folder->isWatching() && !path.empty());
}

void MessageBus::tryLater() {
    const bool isWatched = m_folder && m_folder->isWatching();
    m_delay = m_delay == Seconds(0) ? firstDelay : m_delay * 2;
    if (isWatched && m_delay > longestDelayWithFolder)
        return; // whoever makes the socket wakes us
    m_delay = std::min(m_delay, longestDelay);
    m_retry.start(m_delay, [this] { connect(); });
}

} // namespace quorrel
