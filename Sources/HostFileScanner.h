// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"

#include <string_view>

namespace quorrel {

class TextList;
struct DiscoveryEnvironment;

/// Appends the names in the hosts file to a list. It may be run again, and twice at once.
class HostFileScanner final : public Operation {
public:
    /// The environment must outlive the scan.
    explicit HostFileScanner(const DiscoveryEnvironment& environment)
        : m_environment(environment) { }

    /// Null: nothing is added. The list must outlive the scan.
    void setHosts(TextList* hosts) { m_hosts = hosts; }
    [[nodiscard]] TextList* hosts() const { return m_hosts; }

    void main() override;

    /// What a scan does with the text of the file. REQUIRES: a list.
    void appendNamesOf(std::string_view text);

private:
    const DiscoveryEnvironment& m_environment;
    TextList* m_hosts = nullptr;
};

} // namespace quorrel
