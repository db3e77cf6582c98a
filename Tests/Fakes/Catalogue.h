// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"
#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/FakeWorkspace.h"

#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Hosts and share points for tests that need no controller.
class Catalogue final {
public:
    std::shared_ptr<HostDefinition> addHost(const std::string& name, const std::vector<std::string>& shares = {}) {
        auto host = HostDefinition::initWithName(name, m_context);
        for (const auto& share : shares) {
            auto sharePoint = SharePointDefinition::initWithParentHost(host);
            sharePoint->sharePoint.set(share);
            host->sharePoints.append(sharePoint);
        }
        m_hosts.push_back(host);
        return host;
    }
    [[nodiscard]] const std::vector<std::shared_ptr<HostDefinition>>& hosts() const { return m_hosts; }

private:
    const StringTable m_strings {};
    const FakeWorkspace m_workspace;
    const CatalogueContextPointer m_context
        = std::make_shared<const CatalogueContext>(CatalogueContext { m_strings, m_workspace });
    std::vector<std::shared_ptr<HostDefinition>> m_hosts;
};

} // namespace quorrel
