// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/LiveView.h"
#include "Console/ShareWatch.h"
#include "Foundation/Subscription.h"

#include <memory>
#include <optional>
#include <vector>

namespace quorrel {

class MainThreadQueue;
class Output;
class QuorrelAppDelegate;
class SharePointDefinition;

/// Writes one line for each new status or error of each share in the catalogue, whenever it came there. Main thread
/// only.
class ShareReport final {
public:
    /// Everything must outlive the report. What the catalogue holds now is taken as known.
    ShareReport(QuorrelAppDelegate& controller, MainThreadQueue& mainThreadQueue, Output& output);
    ShareReport(const ShareReport&) = delete;
    ShareReport& operator=(const ShareReport&) = delete;

    /// Writes what has not been written yet.
    void finish();

private:
    void follow();

    QuorrelAppDelegate& m_controller;
    MainThreadQueue& m_mainThreadQueue;
    Output& m_output;
    std::vector<std::shared_ptr<SharePointDefinition>> m_sharePoints;
    std::optional<LiveView> m_view;
    std::unique_ptr<ShareWatch> m_watch; // ends before the view that it fills
    std::vector<Subscription> m_hostSubscriptions;
    Subscription m_hostsSubscription;
};

} // namespace quorrel
