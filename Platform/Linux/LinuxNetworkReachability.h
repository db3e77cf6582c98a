// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/RunningTools.h"
#include "Platform/NetworkReachability.h"

#include <memory>
#include <string>
#include <utility>

namespace quorrel {

/// Reachability by what the name stands for, the kernel's routes and links, and what is known of captive portals; no
/// packet goes to the host. Main thread only; its references are told on the main GLib context, and may outlive it.
class LinuxNetworkReachability final : public NetworkReachability {
public:
    /// With `tools`, what looks up names is one of those while it runs.
    explicit LinuxNetworkReachability(std::shared_ptr<RunningTools> tools = nullptr)
        : m_tools(std::move(tools)) { }

    /// Null for the empty name only. A name that can be none is one that cannot be reached.
    [[nodiscard]] std::unique_ptr<ReachabilityReference> createWithName(const std::string& hostName) override;

private:
    const std::shared_ptr<RunningTools> m_tools;
};

} // namespace quorrel
