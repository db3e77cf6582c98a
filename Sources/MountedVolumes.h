// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeService.h"

#include <memory>
#include <vector>

namespace quorrel {

class HostDefinition;

/// For a new process: finds the share point of each volume that an earlier run left mounted, and gives it the volume's
/// reference and the state "Online". Share points that have a reference are left alone. Any thread. Returns how many
/// volumes found theirs.
int adoptMountedVolumes(
    const std::vector<std::shared_ptr<HostDefinition>>& hosts, const std::vector<MountedVolume>& volumes);

} // namespace quorrel
