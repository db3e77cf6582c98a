// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"
#include "Sources/MountEnvironment.h"

#include <memory>
#include <string_view>

namespace quorrel {

class HostDefinition;
class ProtocolMounter;
class SharePointDefinition;

/// Mounts one share point: waits out its delay and its host's resolution, mounts, and runs its script.
///
/// `main` blocks a worker thread. What comes of it is written into the share point, which the operation keeps alive;
/// host and service are looked up when they are needed, so that the catalogue may be edited meanwhile. A started
/// operation runs to its end, cancelled or not.
class MountOperation final : public Operation {
public:
    /// A null share point is allowed: the operation then does nothing.
    [[nodiscard]] static std::shared_ptr<MountOperation> initWithSharePointDefinition(
        std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment);

    MountOperation(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment);

    void main() override;

private:
    void mountWhenResolved();
    void waitOutDelay();
    /// Whether the host is resolved in the end.
    [[nodiscard]] bool waitForResolution();
    /// Sleeps, at the longest until the host becomes resolved.
    void pause(Seconds duration);
    void mountServer();
    void runScript();

    [[nodiscard]] std::shared_ptr<HostDefinition> host() const;
    [[nodiscard]] bool isHostResolved() const;
    /// By the display type of the service; null where none knows it.
    [[nodiscard]] std::unique_ptr<ProtocolMounter> mounter() const;
    void log(std::string_view format) const;

    const std::shared_ptr<SharePointDefinition> m_mount;
    MountEnvironment& m_environment;
};

} // namespace quorrel
