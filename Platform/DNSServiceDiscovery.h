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
    /// The record's raw bytes, each string behind a byte with its length. Also for an unchanged record.
    virtual void netServiceDidUpdateTXTRecordData(NetService&, const std::vector<std::uint8_t>&) { }
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

    /// Reports the instance's TXT record from now on: what it holds as soon as that is known, then each change, and
    /// empty data once it is gone. A discovery that is away is waited for, silently. Does nothing while it runs.
    virtual void startMonitoring() = 0;
    virtual void stopMonitoring() = 0;

    [[nodiscard]] virtual std::string name() const = 0;
    /// What the last answer said. Absent addresses: the service reported none.
    [[nodiscard]] virtual std::optional<std::vector<SocketAddress>> addresses() const = 0;
    [[nodiscard]] virtual std::string hostName() const = 0;
    [[nodiscard]] virtual int port() const = 0;
};

/// One service instance as browsing reports it; type and domain with the dot at their end.
struct NetServiceInstance final {
    std::string name;
    std::string type;
    std::string domain;
};

class NetServiceBrowser;

/// Hears of a search, on the main thread. A delegate may stop or destroy the browser from any of these.
class NetServiceBrowserDelegate {
public:
    virtual ~NetServiceBrowserDelegate() = default;

    virtual void netServiceBrowserWillSearch(NetServiceBrowser& browser) = 0;
    virtual void netServiceBrowserDidStopSearch(NetServiceBrowser& browser) = 0;
    virtual void netServiceBrowserDidNotSearch(NetServiceBrowser& browser, const std::string& error) = 0;
    virtual void netServiceBrowserDidFindDomain(NetServiceBrowser& browser, const std::string& domain, bool moreComing)
        = 0;
    virtual void netServiceBrowserDidRemoveDomain(
        NetServiceBrowser& browser, const std::string& domain, bool moreComing)
        = 0;
    virtual void netServiceBrowserDidFindService(
        NetServiceBrowser& browser, const NetServiceInstance& service, bool moreComing)
        = 0;
    virtual void netServiceBrowserDidRemoveService(
        NetServiceBrowser& browser, const NetServiceInstance& service, bool moreComing)
        = 0;
};

/// Looks for service instances or for domains. Main thread only. Destroying it stops it silently.
///
/// An instance is found once, on however many interfaces it is seen, and removed after the last of them. A discovery
/// that goes away removes all that was found; the search goes on when it is back. One that is not there at the start
/// is waited for: that is no failure.
class NetServiceBrowser {
public:
    virtual ~NetServiceBrowser() = default;

    /// Must outlive the browser or be taken away with null.
    virtual void setDelegate(NetServiceBrowserDelegate* delegate) = 0;

    /// Calls `netServiceBrowserWillSearch` before it returns, each time; all else later from the run loop. A search for
    /// the same that runs already goes on as it is; one for something else is given up silently. What cannot be
    /// searched for ends with `netServiceBrowserDidNotSearch`. An absent or empty domain stands for the default one.
    virtual void searchForServicesOfType(const std::string& type, const std::optional<std::string>& domain) = 0;
    virtual void searchForBrowsableDomains() = 0;

    /// Ends the search, with `netServiceBrowserDidStopSearch`; removes nothing. Does nothing while idle.
    virtual void stop() = 0;
};

/// The network's service discovery. Main thread only.
class DNSServiceDiscovery {
public:
    virtual ~DNSServiceDiscovery() = default;

    /// An absent or empty domain is taken as "local.".
    [[nodiscard]] virtual std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>& domain, const std::string& type, const std::string& name)
        = 0;

    [[nodiscard]] virtual std::unique_ptr<NetServiceBrowser> makeNetServiceBrowser() = 0;
};

} // namespace quorrel
