// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Foundation/Subscription.h"
#include "Platform/ChildProcess.h"
#include "Platform/DNSServiceDiscovery.h"
#include "Sources/NameLookup.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class HostDefinition;
class LookupAhead;
class Rehearsal;
class ServiceDefinition;
class SharePointDefinition;

/// What resolvers need of the world; it must outlive them. The paths are those of the two lookup tools.
struct ResolverEnvironment final {
    DNSServiceDiscovery& discovery;
    ChildProcess& childProcess;
    Log& log;
    std::string nslookupPath = "/usr/bin/nslookup";
    std::string nmblookupPath = "/usr/bin/nmblookup";
    LookupAhead* ahead = nullptr; ///< null: the main thread waits for each look-up

    [[nodiscard]] ChildProcess& tools() const;
};

/// Finds out the name to connect to and the IPv4 addresses of one service's host, and writes them into the host's
/// record; whoever waits for them reads the host's `resolved` and `resolving`.
///
/// Main thread only. One resolver serves one resolution, which it ends when it is destroyed. The records are not kept
/// alive by it.
class BonjourResolver final : public NetServiceDelegate {
public:
    explicit BonjourResolver(ResolverEnvironment& environment);
    BonjourResolver(const BonjourResolver&) = delete;
    BonjourResolver& operator=(const BonjourResolver&) = delete;
    ~BonjourResolver() override;

    /// Chooses the way by the service's protocol. Lookups by tools are over when it returns; a resolution by DNS-SD
    /// goes on behind it for up to five seconds, with `resolving` set, and longer if it is in vain and a tool is asked
    /// instead. A null service is ignored, and so is a host that is being resolved already.
    void resolve(
        const std::shared_ptr<ServiceDefinition>& service, const std::shared_ptr<SharePointDefinition>& sharePoint);

    /// What `resolve` would ask the tools for; absent where it would not.
    [[nodiscard]] static std::optional<NameLookup> lookupFor(
        const ServiceDefinition& service, const ResolverEnvironment& environment);

    /// Whether its host is still being resolved.
    [[nodiscard]] bool isAwaited() const;

    /// The IPv4 addresses of a resolved service in dotted decimal; absent when it reported no addresses of any kind.
    [[nodiscard]] static std::optional<std::vector<std::string>> getIPV4FromService(const NetService& service);

    void netServiceDidNotResolve(NetService& service, const std::string& error) override;
    void netServiceDidStop(NetService& service) override;
    void netServiceDidResolveAddress(NetService& service) override;
    void netServiceWillResolve(NetService& service) override;

private:
    void startBonjour(HostDefinition& host, ServiceDefinition& service);
    /// Each sets the host's fields when it finds the host; whether it did.
    bool lookUpInDNS(HostDefinition& host);
    bool lookUpInNetBIOS(HostDefinition& host);
    /// Once it is known what the tool has to say.
    void fallBack();
    [[nodiscard]] std::shared_ptr<HostDefinition> host() const;

    ResolverEnvironment& m_environment;
    std::weak_ptr<ServiceDefinition> m_serviceRef;
    std::weak_ptr<SharePointDefinition> m_sharePointRef;
    std::unique_ptr<NetService> m_bonjourService;
    std::unique_ptr<Rehearsal> m_rehearsal; // for the tool that is asked instead, while it runs
    Subscription m_lookupEnds;
};

} // namespace quorrel
