// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNetService.h"

#include "Platform/Linux/AvahiNames.h"

#include "Platform/Linux/GlibPointers.h"

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace quorrel {

namespace {

constexpr int anywhere = -1;
constexpr int inet = 0;

SocketAddress socketAddress(const in_addr& address, std::uint16_t port) {
    constexpr std::size_t length = 16;
    SocketAddress result(length);
    result[0] = length;
    result[1] = 2;
    result[2] = static_cast<std::uint8_t>(port >> 8);
    result[3] = static_cast<std::uint8_t>(port & 0xFF);
    std::memcpy(&result[4], &address.s_addr, sizeof address.s_addr); // in network order already
    return result;
}

} // namespace

AvahiNetService::AvahiNetService(
    AvahiConnection& connection, AvahiRecordWatches& watches, std::string domain, std::string type, std::string name)
    : m_connection(connection)
    , m_watches(watches)
    , m_domain(domain.empty() ? "local" : withoutFinalDot(std::move(domain)))
    , m_type(withoutFinalDot(std::move(type)))
    , m_name(std::move(name)) { }

AvahiNetService::~AvahiNetService() = default;

void AvahiNetService::resolveWithTimeout(Seconds timeout) {
    end();
    m_isUnderWay = true;
    if (!hasFitName()) {
        m_timer.start(Seconds(0), [this] { fail("Invalid service name"); });
    } else {
        m_connectionChanges = m_connection.observe([this](AvahiConnection::State state) { connectionChanged(state); });
        m_timer.start(timeout, [this] { fail("Timeout reached"); });
        const auto state = m_connection.state();
        if (state == AvahiConnection::State::Absent)
            m_timer.start(Seconds(0), [this] { fail(m_connection.failure()); });
        else if (state == AvahiConnection::State::Running)
            startResolver();
    }
    if (m_delegate)
        m_delegate->netServiceWillResolve(*this); // may destroy it
}

bool AvahiNetService::hasFitName() const {
    // Without a name the daemon would resolve the type itself.
    return !m_name.empty() && isFitForBus(m_name) && isFitForBus(m_type) && isFitForBus(m_domain);
}

void AvahiNetService::startResolver() {
    m_resolver = std::make_unique<AvahiObject>(m_connection, "ServiceResolver",
        g_variant_new("(iisssiu)", anywhere, anywhere, m_name.c_str(), m_type.c_str(), m_domain.c_str(), inet, 0U),
        AvahiObject::Hearer {
            [this](const std::string& signal, GVariant* parameters) { told(signal, parameters); },
            [this](AvahiObject::Refusal, const std::string& reason) { fail(reason); },
        });
}

void AvahiNetService::connectionChanged(AvahiConnection::State state) {
    if (state == AvahiConnection::State::Absent)
        fail(m_connection.failure());
    else if (!m_resolver)
        startResolver();
}

void AvahiNetService::told(const std::string& signal, GVariant* parameters) {
    if (signal == "Failure" && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(s)"))) {
        const gchar* reason = nullptr;
        g_variant_get(parameters, "(&s)", &reason);
        fail(reason);
        return;
    }
    if (signal != "Found" || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(iissssisqaayu)")))
        return;
    const gchar* hostName = nullptr;
    const gchar* address = nullptr;
    guint16 port = 0;
    gint32 kind = 0;
    g_variant_get_child(parameters, 5, "&s", &hostName);
    g_variant_get_child(parameters, 6, "i", &kind);
    g_variant_get_child(parameters, 7, "&s", &address);
    g_variant_get_child(parameters, 8, "q", &port);
    m_addresses.emplace();
    if (in_addr number {}; kind == inet && inet_pton(AF_INET, address, &number) == 1)
        m_addresses->push_back(socketAddress(number, port));
    m_hostName = hostName;
    m_port = port;
    end();
    if (m_delegate)
        m_delegate->netServiceDidResolveAddress(*this); // may destroy it
}

void AvahiNetService::stop() {
    if (end() && m_delegate)
        m_delegate->netServiceDidStop(*this); // may destroy it
}

void AvahiNetService::startMonitoring() {
    const auto record = recordName(m_name, m_type, m_domain);
    if (m_monitor || record.empty())
        return;
    m_monitor = std::make_unique<AvahiTXTRecordMonitor>(m_watches, record, [this](const auto& data) {
        if (m_delegate)
            m_delegate->netServiceDidUpdateTXTRecordData(*this, data); // may destroy it
    });
}

bool AvahiNetService::end() {
    m_timer.stop();
    m_resolver.reset();
    m_connectionChanges.cancel();
    return std::exchange(m_isUnderWay, false);
}

void AvahiNetService::fail(const std::string& error) {
    // What it refers to may go with the end.
    const auto reason = error; // NOLINT(performance-unnecessary-copy-initialization)
    if (end() && m_delegate)
        m_delegate->netServiceDidNotResolve(*this, reason); // may destroy it
}

} // namespace quorrel
