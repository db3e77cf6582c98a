// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"

#include <functional>
#include <memory>
#include <vector>

namespace quorrel {

class HostDefinition;
class VolumeService;

/// Finds on a worker what an earlier run left mounted, since asking for it may take its time.
class AdoptionOperation final : public Operation {
public:
    /// The service must outlive the operation. `adopted` is called on the worker, if any volume found its share point.
    AdoptionOperation(
        std::vector<std::shared_ptr<HostDefinition>> hosts, VolumeService& volumes, std::function<void()> adopted);

    void main() override;

private:
    const std::vector<std::shared_ptr<HostDefinition>> m_hosts;
    VolumeService& m_volumes;
    const std::function<void()> m_adopted;
};

} // namespace quorrel
