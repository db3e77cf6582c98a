// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ProtocolMounter.h"

#include <memory>
#include <utility>

namespace quorrel {

/// The mounter of one protocol: the four ways of the family with that protocol's row of differences.
template <const MounterDifferences& differences>
class MounterOf final : public ProtocolMounter {
public:
    [[nodiscard]] static std::unique_ptr<ProtocolMounter> initWithSharePointDefinition(
        std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment) {
        return std::make_unique<MounterOf>(std::move(sharePoint), environment);
    }

    MounterOf(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment)
        : ProtocolMounter(std::move(sharePoint), environment, differences) { }
};

} // namespace quorrel
