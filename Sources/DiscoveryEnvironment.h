// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

class ChildProcess;
class DNSServiceDiscovery;
class Log;
class NetworkReachability;
class NotificationCenter;
class RunLoop;
class VolumeWatch;
class Workspace;

/// What the watchers of network and volumes need of the world; all of it must outlive them.
struct DiscoveryEnvironment final {
    DNSServiceDiscovery& discovery;
    VolumeWatch& volumes;
    NetworkReachability& reachability;
    RunLoop& runLoop; ///< the main thread's
    ChildProcess& childProcess;
    Workspace& workspace;
    NotificationCenter& notificationCenter;
    Log& log;
    std::string nmblookupPath = "/usr/bin/nmblookup";
    std::string hostsPath = "/etc/hosts";
};

} // namespace quorrel
