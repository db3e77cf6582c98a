// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNetService.h"

#include "Platform/Linux/AvahiNames.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace quorrel {

namespace {

SocketAddress socketAddress(const AvahiAddress& address, std::uint16_t port) {
    constexpr std::size_t length = 16;
    SocketAddress result(length);
    result[0] = length;
    result[1] = 2;
    result[2] = static_cast<std::uint8_t>(port >> 8);
    result[3] = static_cast<std::uint8_t>(port & 0xFF);
    std::memcpy(&result[4], &address.data.ipv4.address, sizeof address.data.ipv4.address); // in network order already
    return result;
}

} // namespace

struct AvahiNetService::Callbacks final {
    static void resolved(AvahiServiceResolver* resolver, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
        const char*, const char*, const char*, const char* hostName, const AvahiAddress* address, std::uint16_t port,
        AvahiStringList*, AvahiLookupResultFlags, void* data) noexcept {
        auto& service = *static_cast<AvahiNetService*>(data);
        if (event == AVAHI_RESOLVER_FAILURE) {
            service.fail(avahi_strerror(avahi_client_errno(avahi_service_resolver_get_client(resolver))));
            return;
        }
        service.m_addresses.emplace();
        if (address && address->proto == AVAHI_PROTO_INET)
            service.m_addresses->push_back(socketAddress(*address, port));
        service.m_hostName = hostName ? hostName : "";
        service.m_port = port;
        service.end();
        if (service.m_delegate)
            service.m_delegate->netServiceDidResolveAddress(service); // may destroy it
    }
};

void AvahiNetService::Deleter::operator()(AvahiServiceResolver* resolver) const {
    avahi_service_resolver_free(resolver);
}

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
    if (const auto error = startResolver())
        m_timer.start(Seconds(0), [this, reason = *error] { fail(reason); });
    else
        m_timer.start(timeout, [this] { fail(avahi_strerror(AVAHI_ERR_TIMEOUT)); });
    if (m_delegate)
        m_delegate->netServiceWillResolve(*this); // may destroy it
}

std::optional<std::string> AvahiNetService::startResolver() {
    // Without a name the daemon would resolve the type itself.
    if (m_name.empty() || !isFitForBus(m_name) || !isFitForBus(m_type) || !isFitForBus(m_domain))
        return avahi_strerror(AVAHI_ERR_INVALID_SERVICE_NAME);
    auto* client = m_connection.client();
    if (!client)
        return m_connection.failure();
    m_resolver.reset(avahi_service_resolver_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, m_name.c_str(),
        m_type.c_str(), m_domain.c_str(), AVAHI_PROTO_INET, AvahiLookupFlags {}, &Callbacks::resolved, this));
    if (!m_resolver)
        return avahi_strerror(avahi_client_errno(client));
    m_connectionChanges = m_connection.observe([this](AvahiClient* now) {
        if (!now)
            fail(m_connection.failure());
    });
    return std::nullopt;
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
