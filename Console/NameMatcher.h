// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

/// Finds what HOST and HOST/SHARE mean in the catalogue, as it was when the matcher was made.
///
/// A name means every host, or every share, that is called exactly so; where there is none, what is called so but for
/// letter case, if all of it has one spelling. Host and share names may hold slashes.
class NameMatcher final {
public:
    using SharePoints = std::vector<std::shared_ptr<SharePointDefinition>>;

    explicit NameMatcher(const std::vector<std::shared_ptr<HostDefinition>>& hosts);

    [[nodiscard]] SharePoints allSharePoints() const;
    /// Absent when the name means nothing; empty when it means a host without share points.
    [[nodiscard]] std::optional<SharePoints> sharePointsFor(const std::string& name) const;
    /// What the user may have meant, nearest first, at most three.
    [[nodiscard]] std::vector<std::string> nearestNames(const std::string& name) const;

private:
    struct Share final {
        std::string name;
        std::shared_ptr<SharePointDefinition> sharePoint;
    };
    struct Host final {
        std::string name;
        std::vector<Share> shares;
    };

    [[nodiscard]] std::vector<const Host*> hostsCalled(const std::string& name) const;
    [[nodiscard]] static SharePoints sharesCalled(const std::vector<const Host*>& hosts, const std::string& name);

    std::vector<Host> m_hosts;
};

} // namespace quorrel
