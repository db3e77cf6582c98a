// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Sources/ReachabilityQuery.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace quorrel {

struct DiscoveryEnvironment;

/// Posted, without an object, whenever the reachability of a watched host changed.
constexpr const char* kNetworkReachabilityChangedNotification = "kNetworkReachabilityChangedNotification";

/// Whose reachability counts as the network's while the user chose no other host.
constexpr const char* defaultReachabilityTarget = "example.com";

/// Tells whether one chosen host can be reached without bringing up a connection first. Main thread only.
class Reachability final {
public:
    using Queries = std::map<std::string, std::unique_ptr<ReachabilityQuery>>; ///< by host name

    explicit Reachability(const DiscoveryEnvironment& environment);
    ~Reachability();
    Reachability(const Reachability&) = delete;
    Reachability& operator=(const Reachability&) = delete;

    [[nodiscard]] bool networkStatusNotificationsEnabled() const { return m_networkStatusNotificationsEnabled; }
    /// While it is off, new queries are not scheduled.
    void setNetworkStatusNotificationsEnabled(bool enabled) { m_networkStatusNotificationsEnabled = enabled; }
    [[nodiscard]] const OptionalText& hostName() const { return m_hostName; }
    void setHostName(OptionalText hostName) { m_hostName = std::move(hostName); }
    [[nodiscard]] const Queries& reachabilityQueries() const { return m_reachabilityQueries; }
    /// They must be this object's own. Those that it had end silently.
    void setReachabilityQueries(Queries queries) { m_reachabilityQueries = std::move(queries); }

    /// 0: not reachable or not known yet; 1: reachable. The first call for a host name starts its watch. Throws
    /// std::logic_error without a host name, with an empty one, and for one that the system cannot watch.
    [[nodiscard]] int remoteHostStatus();
    /// Makes and registers a query on the first use of a name; null for an absent or empty name.
    [[nodiscard]] ReachabilityReference* reachabilityRefForHostName(const OptionalText& name);
    [[nodiscard]] static bool isReachableWithoutRequiringConnection(std::uint32_t flags);
    void stopListeningForReachabilityChanges();

    /// What a query's reference calls on a change.
    void reachabilityCallback() const;

private:
    const DiscoveryEnvironment& m_environment;
    bool m_networkStatusNotificationsEnabled = false;
    OptionalText m_hostName;
    Queries m_reachabilityQueries;
};

} // namespace quorrel
