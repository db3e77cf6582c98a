// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"
#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/AvahiRecordWatches.h"

namespace quorrel {

/// Service discovery through the Avahi daemon. Main thread only; it must outlive what it makes. Without a
/// daemon, or without a system bus, resolutions fail soon after their start; searches and monitors wait for it.
class AvahiServiceDiscovery final : public DNSServiceDiscovery {
public:
    [[nodiscard]] std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>& domain, const std::string& type, const std::string& name) override;
    [[nodiscard]] std::unique_ptr<NetServiceBrowser> makeNetServiceBrowser() override;

private:
    AvahiConnection m_connection;
    AvahiRecordWatches m_watches;
};

} // namespace quorrel
