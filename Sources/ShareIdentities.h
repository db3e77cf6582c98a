// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

/// Names for shares that people can read and programs can hand around: HOST/SERVICE/SHARE, as in "nas/smb/docs". What
/// would make one ambiguous is written as in a URL. Where names are the same, the second gets "#2" behind it, and so
/// on; it keeps that for as long as its names stay. Main thread only.
class ShareIdentities final {
public:
    using Hosts = std::vector<std::shared_ptr<HostDefinition>>;
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;

    /// Takes up what came, went or is called otherwise.
    void update(const Hosts& hosts);
    /// Empty for one that was not there at the last update.
    [[nodiscard]] std::string identityOf(const SharePointDefinition& sharePoint) const;
    /// Null where none is called so.
    [[nodiscard]] SharePointPointer sharePoint(const std::string& identity) const;

private:
    struct Named final {
        std::string base; ///< without a number
        std::string identity;
        std::weak_ptr<SharePointDefinition> sharePoint;
    };

    [[nodiscard]] std::string freeIdentity(const std::string& base) const;

    std::unordered_map<const SharePointDefinition*, Named> m_named;
    std::unordered_map<std::string, std::weak_ptr<SharePointDefinition>> m_byIdentity;
};

} // namespace quorrel
