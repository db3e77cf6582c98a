// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/StubNetworkService.h"

#include <cstdlib>

namespace quorrel {

StubNetworkService::StubNetworkService(Connectivity connectivity)
    : m_connectivity(connectivity)
    , m_service({ "org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager",
          "<node><interface name='org.freedesktop.NetworkManager'>"
          "<property name='Connectivity' type='u' access='read'/>"
          "<property name='State' type='u' access='read'/>"
          "<property name='Metered' type='u' access='read'/>"
          "<property name='Version' type='s' access='read'/></interface></node>",
          [this](const std::string& property) { return value(property); } }) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_service.address().c_str(), 1);
}

void StubNetworkService::setConnectivity(Connectivity connectivity) {
    m_connectivity = connectivity;
    m_service.tellChange("Connectivity", g_variant_new_uint32(connectivity));
}

GVariant* StubNetworkService::value(const std::string& property) const {
    if (property == "Version")
        return g_variant_new_string("1.42.4");
    if (property == "State")
        return g_variant_new_uint32(70);
    return g_variant_new_uint32(property == "Connectivity" ? m_connectivity.load() : 0);
}

} // namespace quorrel
