// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace quorrel {

class HostDefinition;
struct VolumeDescription;

/// The name of a volume as the catalogue spells it, which may differ in letter case (SMB) and in slashes around it. A
/// share of the volume's own server goes first, then one spelled exactly so, then the first; without any, the name as
/// it is. For a folder of a share, one that has its whole path goes before all. Any thread.
[[nodiscard]] std::string spelledAsInCatalogue(const std::string& name, const VolumeDescription& volume,
    const std::vector<std::shared_ptr<HostDefinition>>& hosts);

} // namespace quorrel
