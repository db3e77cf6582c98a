// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsMount.h"
#include "Platform/VolumeService.h"

#include <string>

namespace quorrel {

/// What can be told of a volume that an earlier run mounted, from its mount and its link alone.
namespace FoundVolume {

/// gvfs folds the names of some shares; the link keeps how the catalogue wrote them.
[[nodiscard]] MountedVolume describe(
    const GvfsMount& mount, const std::string& readablePath, const std::string& linkName);

/// Whether the volume lies in that mount, for volumes without a readable path.
[[nodiscard]] bool isDescribedBy(const MountedVolume& volume, const GvfsMount& mount);

} // namespace FoundVolume

} // namespace quorrel
