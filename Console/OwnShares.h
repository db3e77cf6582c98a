// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ShareAgent.h"
#include "Console/ShareOperations.h"

#include <optional>

namespace quorrel {

class QuorrelAppDelegate;
struct ConsoleEnvironment;

/// The shares as this process mounts them itself.
class OwnShares final : public ShareAgent {
public:
    /// All of it must outlive this; the controller has been launched.
    OwnShares(const ConsoleEnvironment& environment, QuorrelAppDelegate& controller, const InterruptGuard& guard);

    [[nodiscard]] Hosts hosts() override;
    void run(Kind kind, const SharePoints& sharePoints, Output* progress) override;
    [[nodiscard]] std::vector<ShareRow> rows(const SharePoints& sharePoints) override;
    [[nodiscard]] std::vector<RemoteShare> shares() override;
    /// Takes what is shown off the terminal until the next change.
    void stepAside() { m_operations.stepAside(); }

private:
    const ConsoleEnvironment& m_environment;
    QuorrelAppDelegate& m_controller;
    ShareOperations m_operations;
    std::optional<Kind> m_done;
};

} // namespace quorrel
