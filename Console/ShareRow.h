// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeService.h"

#include <string>
#include <vector>

namespace quorrel {

class SharePointDefinition;

/// What the user is told about one share, as it is at one moment. Texts are as they come, not yet fit for a terminal.
struct ShareRow final {
    std::string host;
    std::string share; ///< empty for a server's root
    std::string service; ///< the short name of the protocol
    std::string status; ///< in the user's language
    std::string path; ///< where its files are; empty when it is not mounted
    std::string error; ///< empty when there is none
    bool mounted = false;

    [[nodiscard]] static ShareRow of(const SharePointDefinition& sharePoint, const std::vector<MountedVolume>& volumes);
    /// HOST/SHARE, fit for a terminal.
    [[nodiscard]] std::string name() const;
};

} // namespace quorrel
