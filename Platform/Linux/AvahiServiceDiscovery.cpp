// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"

#include "Platform/Linux/AvahiNetService.h"

namespace quorrel {

std::unique_ptr<NetService> AvahiServiceDiscovery::makeNetService(
    const std::optional<std::string>& domain, const std::string& type, const std::string& name) {
    return std::make_unique<AvahiNetService>(m_connection, domain.value_or(std::string()), type, name);
}

} // namespace quorrel
