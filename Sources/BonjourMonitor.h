// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Platform/DNSServiceDiscovery.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

class HostDefinition;
struct DiscoveryEnvironment;

/// Watches the TXT record in which a host tells its model, and writes that into the host's record, which is marked as
/// monitored meanwhile. Main thread only. It does not keep the host alive.
class BonjourMonitor final : public NetServiceDelegate {
public:
    [[nodiscard]] static std::unique_ptr<BonjourMonitor> initWithHost(
        const std::shared_ptr<HostDefinition>& host, const DiscoveryEnvironment& environment);

    explicit BonjourMonitor(const DiscoveryEnvironment& environment);
    ~BonjourMonitor() override;
    BonjourMonitor(const BonjourMonitor&) = delete;
    BonjourMonitor& operator=(const BonjourMonitor&) = delete;

    /// Does no more than set a missing domain for a host that another monitor watches.
    void monitor(const std::shared_ptr<HostDefinition>& host);
    /// Null without a host, and once it is gone.
    [[nodiscard]] std::shared_ptr<HostDefinition> host() const { return m_hostRef.lock(); }
    /// The host's; absent without a host.
    [[nodiscard]] OptionalText displayName() const;

    void netServiceDidUpdateTXTRecordData(NetService& service, const std::vector<std::uint8_t>& data) override;
    void netServiceWillResolve(NetService&) override { }
    void netServiceDidResolveAddress(NetService&) override { }
    void netServiceDidNotResolve(NetService&, const std::string&) override { }
    void netServiceDidStop(NetService&) override { }

private:
    void endWatch();

    const DiscoveryEnvironment& m_environment;
    std::unique_ptr<NetService> m_bonjourMonitor;
    std::weak_ptr<HostDefinition> m_hostRef;
};

} // namespace quorrel
