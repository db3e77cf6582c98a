// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AdoptionOperation.h"

#include "Sources/MountedVolumes.h"

#include <utility>

namespace quorrel {

AdoptionOperation::AdoptionOperation(
    std::vector<std::shared_ptr<HostDefinition>> hosts, VolumeService& volumes, std::function<void()> adopted)
    : m_hosts(std::move(hosts))
    , m_volumes(volumes)
    , m_adopted(std::move(adopted)) { }

void AdoptionOperation::main() {
    if (adoptMountedVolumes(m_hosts, m_volumes.mountedVolumes()) > 0)
        m_adopted();
}

} // namespace quorrel
