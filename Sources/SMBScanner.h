// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"

namespace quorrel {

class TextList;
struct DiscoveryEnvironment;

/// Asks the NetBIOS name service for every host on the local network and appends their names to a list. It may be run
/// again, and twice at once.
class SMBScanner final : public Operation {
public:
    /// The environment must outlive the scan.
    explicit SMBScanner(const DiscoveryEnvironment& environment)
        : m_environment(environment) { }

    /// Null: nothing is added. The list must outlive the scan.
    void setSmbHosts(TextList* hosts) { m_smbHosts = hosts; }
    [[nodiscard]] TextList* smbHosts() const { return m_smbHosts; }

    void main() override;

private:
    const DiscoveryEnvironment& m_environment;
    TextList* m_smbHosts = nullptr;
};

} // namespace quorrel
