// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Foundation/Subscription.h"

#include <array>
#include <functional>
#include <map>
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
    using Identity = std::array<std::string, 3>;

    void diskAppearedCallback(const VolumeDescription& volume);
    void diskDisappearedCallback(const VolumeDescription& volume);
    [[nodiscard]] std::string spelled(const std::string& name, const VolumeDescription& volume) const;
    [[nodiscard]] static Identity identityOf(const VolumeDescription& volume);
    void post(int action, const OptionalText& name, const OptionalText& type) const;

    const DiscoveryEnvironment& m_environment;
    const Hosts m_hosts;
    std::map<Identity, std::string> m_announced; ///< volumes that are there under a name that is not quite theirs
    Subscription m_disappeared;
    Subscription m_appeared;
};

} // namespace quorrel
