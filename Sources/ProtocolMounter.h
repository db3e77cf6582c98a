// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MountEnvironment.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;
struct MounterDifferences;
struct StrategyDifferences;

/// Mounts one share point under one protocol, in four ways. Which protocol is a matter of the table of differences;
/// the ways stand here once.
///
/// One worker thread, blocked for the whole mount. What comes of it is written into the share point; without a share
/// point nothing is. No failure but a status from the volume service's vocabulary.
class ProtocolMounter {
public:
    virtual ~ProtocolMounter();
    ProtocolMounter(const ProtocolMounter&) = delete;
    ProtocolMounter& operator=(const ProtocolMounter&) = delete;

    /// By the host's name, login beside the URL. The status of this, whatever the fall-back to addresses gave.
    [[nodiscard]] std::int32_t mountServer();
    /// By the host's name, login inside the URL.
    void mountServerUsingURL();
    /// By every one of the host's addresses, the last of which decides. 0 where none was tried.
    std::int32_t mountServerUsingIP();
    /// By every one of the host's addresses, login inside the URL.
    void mountServerUsingIPAndURL();

protected:
    ProtocolMounter(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment,
        const MounterDifferences& differences);

private:
    struct Server;
    struct Login;
    struct Attempt;
    enum class FailureLine { ServerAndStatus, StatusOnly };

    std::int32_t mountByName(const StrategyDifferences& strategy, std::string_view failureFormat, FailureLine line);
    std::int32_t mountByAddress(const StrategyDifferences& strategy, std::string_view failureFormat, FailureLine line);

    [[nodiscard]] Server server() const;
    [[nodiscard]] bool isGuest(const StrategyDifferences& strategy, const Server& server) const;
    [[nodiscard]] static bool isTried(const StrategyDifferences& strategy, const Server& server);
    /// Makes a guest's user name the share point's, where the protocol does so.
    [[nodiscard]] Login login(const StrategyDifferences& strategy, const Server& server, bool guest) const;
    [[nodiscard]] Attempt attempt(
        const StrategyDifferences& strategy, const Server& server, const std::string& hostText) const;

    [[nodiscard]] std::int32_t mount(const Attempt& attempt) const;
    void logFailure(const Attempt& attempt, std::int32_t status, std::string_view format, FailureLine line) const;
    void recordFailure(std::int32_t status) const;

    const std::shared_ptr<SharePointDefinition> m_mount;
    MountEnvironment& m_environment;
    const MounterDifferences& m_differences;
};

} // namespace quorrel
