// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/LiveView.h"
#include "Console/Output.h"
#include "Console/ShareAgent.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace quorrel {

class InterruptGuard;
class MainThreadQueue;
class QuorrelAppDelegate;
class RunLoop;
class SharePointDefinition;

/// Mounts or unmounts shares through the controller and shows them meanwhile. Main thread only.
class ShareOperations final {
public:
    using Kind = ShareAgent::Kind;
    using SharePoints = ShareAgent::SharePoints;

    /// Everything must outlive this object.
    ShareOperations(QuorrelAppDelegate& controller, MainThreadQueue& mainThreadQueue, RunLoop& runLoop,
        const InterruptGuard& guard);

    /// Returns when the controller's queue has nothing left to do. Without a `progress` nothing is shown.
    void run(Kind kind, const SharePoints& sharePoints, Output* progress);
    /// Takes what is shown off the terminal until the next change.
    void stepAside();

private:
    /// Runs a step on the main thread later, unless this object has gone by then.
    void post(void (ShareOperations::*step)());
    void startNext();
    void start(const std::shared_ptr<SharePointDefinition>& sharePoint);
    void endIfDone();

    QuorrelAppDelegate& m_controller;
    MainThreadQueue& m_mainThreadQueue;
    RunLoop& m_runLoop;
    const InterruptGuard& m_guard;
    Kind m_kind = Kind::Mount;
    SharePoints m_sharePoints;
    std::size_t m_started = 0;
    std::optional<LiveView> m_view;
    const std::shared_ptr<ShareOperations*> m_self = std::make_shared<ShareOperations*>(this); // what steps hold weakly
};

} // namespace quorrel
