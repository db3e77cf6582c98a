// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNetService.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>

#include <glib.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace quorrel {

namespace {

std::string withoutFinalDot(std::string text) {
    if (text.ends_with('.'))
        text.pop_back();
    return text;
}

/// Without a null byte, too.
bool isUTF8(const std::string& text) {
    return g_utf8_validate_len(text.data(), text.size(), nullptr);
}

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

AvahiNetService::AvahiNetService(AvahiConnection& connection, std::string domain, std::string type, std::string name)
    : m_connection(connection)
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
    // The D-Bus library ends the process over a text that is not UTF-8, and cuts one at a null byte; without a name the
    // daemon would resolve the type itself.
    if (m_name.empty() || !isUTF8(m_name) || !isUTF8(m_type) || !isUTF8(m_domain))
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
