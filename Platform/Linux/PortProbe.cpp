// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PortProbe.h"

#include <algorithm>
#include <utility>

namespace quorrel {

PortProbe::PortProbe(BoundedLoop& loop, std::string host, std::vector<std::uint16_t> ports)
    : m_loop(loop)
    , m_host(std::move(host))
    , m_ports(std::move(ports)) { }

PortProbe::~PortProbe() = default;

void PortProbe::start() {
    if (m_isStarted)
        return;
    m_isStarted = true;
    m_client.reset(g_socket_client_new());
    g_socket_client_set_enable_proxy(m_client.get(), FALSE);
    g_socket_client_set_timeout(m_client.get(), static_cast<guint>(patience.count()));
    if (const GObjectPointer<GInetAddress> literal(g_inet_address_new_from_string(m_host.c_str())); literal) {
        m_isResolved = true;
        tryAddress(literal.get());
        return;
    }
    const GObjectPointer<GResolver> resolver(g_resolver_get_default());
    m_lookup = m_loop.begin([&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
        g_resolver_lookup_by_name_async(resolver.get(), m_host.c_str(), cancellable, callback, data);
    });
}

PortProbe::Verdict PortProbe::verdict() {
    if (m_verdict == Verdict::Unknown && m_isStarted) {
        if (!m_isResolved && m_lookup.isDone())
            takeAddresses();
        if (m_isResolved)
            takeConnections();
    }
    return m_verdict;
}

void PortProbe::takeAddresses() {
    m_isResolved = true;
    const GObjectPointer<GResolver> resolver(g_resolver_get_default());
    GList* addresses = g_resolver_lookup_by_name_finish(resolver.get(), m_lookup.result(), nullptr);
    if (!addresses) {
        m_verdict = Verdict::Unresolvable;
        m_lookup = {};
        return;
    }
    for (GList* item = addresses; item; item = item->next)
        tryAddress(G_INET_ADDRESS(item->data));
    g_resolver_free_addresses(addresses);
}

void PortProbe::tryAddress(GInetAddress* address) {
    const GlibPointer<gchar> text(g_inet_address_to_string(address));
    m_addressTexts.emplace_back(text.get());
    for (const auto port : m_ports) {
        const GObjectPointer<GSocketAddress> target(g_inet_socket_address_new(address, port));
        m_connections.push_back(
            m_loop.begin([&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
                g_socket_client_connect_async(
                    m_client.get(), G_SOCKET_CONNECTABLE(target.get()), cancellable, callback, data);
            }));
    }
}

void PortProbe::takeConnections() {
    for (auto& connection : m_connections) {
        if (!connection.isDone())
            continue;
        const GObjectPointer<GSocketConnection> made(
            g_socket_client_connect_finish(m_client.get(), connection.result(), nullptr));
        if (made) {
            m_verdict = Verdict::Reachable;
            m_connections.clear(); // which ends the other attempts
            return;
        }
        connection = {};
    }
    // Dropped entries are those that failed.
    std::erase_if(m_connections, [](const BoundedLoop::Pending& connection) { return connection.isEmpty(); });
    if (m_connections.empty() && m_verdict == Verdict::Unknown)
        m_verdict = Verdict::NotResponding;
}

} // namespace quorrel
