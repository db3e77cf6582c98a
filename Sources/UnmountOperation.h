// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"
#include "Sources/MountEnvironment.h"

#include <memory>

namespace quorrel {

class SharePointDefinition;

/// Unmounts one share point by the volume reference that its mount left in it.
///
/// `main` blocks a worker thread. What comes of it is written into the share point, which the operation keeps alive.
/// Cancelled in the middle, it leaves the share point `unmounting`.
class UnmountOperation final : public Operation {
public:
    /// A null share point is allowed.
    [[nodiscard]] static std::shared_ptr<UnmountOperation> initWithSharePointDefinition(
        std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment);

    UnmountOperation(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment);

    void main() override;
    void unmount();

private:
    const std::shared_ptr<SharePointDefinition> m_mount;
    MountEnvironment& m_environment;
};

} // namespace quorrel
