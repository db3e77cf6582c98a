// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Subscription.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

class HostDefinition;
struct DiscoveryEnvironment;
struct VolumeDescription;

/// Posts the mounting and unmounting of network volumes as "diskAddRemoveNotification", for as long as it lives. Main
/// thread only.
class DiskMonitor final {
public:
    /// Tells what the catalogue holds: names of volumes are announced as it spells them.
    using Hosts = std::function<std::vector<std::shared_ptr<HostDefinition>>()>;

    explicit DiskMonitor(const DiscoveryEnvironment& environment, Hosts hosts = {});
    ~DiskMonitor();
    DiskMonitor(const DiskMonitor&) = delete;
    DiskMonitor& operator=(const DiskMonitor&) = delete;

    /// The share's name for a mount point, which may have a number behind a dash to keep it unique.
    [[nodiscard]] static std::string getNameFromPath(const std::string& path);

private:
    void diskAppearedCallback(const VolumeDescription& volume);
    void diskDisappearedCallback(const VolumeDescription& volume);
    void post(int action, const VolumeDescription& volume);

    const DiscoveryEnvironment& m_environment;
    const Hosts m_hosts;
    Subscription m_disappeared;
    Subscription m_appeared;
};

} // namespace quorrel
