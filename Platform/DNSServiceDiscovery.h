// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class NetService;

/// A socket address as its structure's bytes: length, address family (2 for IPv4, 30 for IPv6), port (two bytes, most
/// significant first), then the address, for IPv4 four bytes.
using SocketAddress = std::vector<std::uint8_t>;

/// Hears of a service's resolution, on the main thread. A delegate may stop or destroy the service from any of these.
class NetServiceDelegate {
public:
    virtual ~NetServiceDelegate() = default;

    virtual void netServiceWillResolve(NetService& service) = 0;
    /// May come more than once in one resolution.
    virtual void netServiceDidResolveAddress(NetService& service) = 0;
    virtual void netServiceDidNotResolve(NetService& service, const std::string& error) = 0;
    virtual void netServiceDidStop(NetService& service) = 0;
};

/// One DNS-SD service instance, resolved on demand. Main thread only. Destroying it stops it silently.
class NetService {
public:
    virtual ~NetService() = default;

    /// Must outlive the service or be taken away with null.
    virtual void setDelegate(NetServiceDelegate* delegate) = 0;

    /// Starts a resolution. Calls `netServiceWillResolve` before it returns, all else later from the run loop. It
    /// ends once, by an answer and then silence, or by `netServiceDidNotResolve` on the first time-out or error.
    virtual void resolveWithTimeout(Seconds timeout) = 0;

    /// Ends a resolution under way, with `netServiceDidStop`; does nothing otherwise.
    virtual void stop() = 0;

    [[nodiscard]] virtual std::string name() const = 0;
    /// What the last answer said. Absent addresses: the service reported none.
    [[nodiscard]] virtual std::optional<std::vector<SocketAddress>> addresses() const = 0;
    [[nodiscard]] virtual std::string hostName() const = 0;
    [[nodiscard]] virtual int port() const = 0;
};

/// The network's service discovery. Main thread only.
class DNSServiceDiscovery {
public:
    virtual ~DNSServiceDiscovery() = default;

    /// An absent or empty domain is taken as "local.".
    [[nodiscard]] virtual std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>& domain, const std::string& type, const std::string& name)
        = 0;
};

} // namespace quorrel
