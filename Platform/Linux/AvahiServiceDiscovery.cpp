// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"

#include "Platform/Linux/AvahiNetService.h"
#include "Platform/Linux/AvahiNetServiceBrowser.h"

namespace quorrel {

std::unique_ptr<NetService> AvahiServiceDiscovery::makeNetService(
    const std::optional<std::string>& domain, const std::string& type, const std::string& name) {
    return std::make_unique<AvahiNetService>(m_connection, m_watches, domain.value_or(std::string()), type, name);
}

std::unique_ptr<NetServiceBrowser> AvahiServiceDiscovery::makeNetServiceBrowser() {
    return std::make_unique<AvahiNetServiceBrowser>(m_connection);
}

} // namespace quorrel
