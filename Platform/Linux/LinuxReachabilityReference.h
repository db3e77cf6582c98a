// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/CaptivePortalWatch.h"
#include "Platform/Linux/HostLookup.h"
#include "Platform/Linux/HostRoute.h"
#include "Platform/Linux/MainLoopTimer.h"
#include "Platform/Linux/NetworkChangeWatch.h"
#include "Platform/Linux/RunningTools.h"
#include "Platform/NetworkReachability.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {

/// Watches one host while it is scheduled on a loop, whichever: there is but the main GLib context. It holds nothing
/// and nothing wakes it up while it is not.
///
/// A change that takes the way to the known addresses is told at once. A host becomes reachable only by an answer from
/// after the change: another network may know its name by another address, or not at all. A name that nobody knows is
/// asked for again, ever more rarely, while there is a network.
class LinuxReachabilityReference final : public ReachabilityReference {
public:
    explicit LinuxReachabilityReference(std::string hostName, std::shared_ptr<RunningTools> tools = nullptr);
    ~LinuxReachabilityReference() override;
    LinuxReachabilityReference(const LinuxReachabilityReference&) = delete;
    LinuxReachabilityReference& operator=(const LinuxReachabilityReference&) = delete;

    [[nodiscard]] std::optional<std::uint32_t> flags() const override { return m_flags; }
    void setCallback(Callback callback) override { m_callback = std::move(callback); }
    [[nodiscard]] bool scheduleWithRunLoop(RunLoop& runLoop) override;
    void unscheduleFromRunLoop(RunLoop& runLoop) override;

    /// What is told of a host to which that is the way. `isAddress`: it was not looked up.
    [[nodiscard]] static std::uint32_t flagsFor(HostRoute route, bool isAddress, bool isBehindPortal);

private:
    /// What there is while it is scheduled.
    struct Watches;

    void networkChanged();
    void check();
    void lookUp();
    void ask();
    void lookedUp(const std::vector<InternetAddress>& addresses);
    [[nodiscard]] std::uint32_t flagsOf(const std::vector<InternetAddress>& addresses, bool isAddress) const;
    /// The last thing to be done, since the callback may destroy this.
    void tell(std::uint32_t flags);

    const std::string m_hostName;
    const std::shared_ptr<RunningTools> m_tools;
    Callback m_callback;
    std::set<const RunLoop*> m_runLoops;
    std::optional<std::uint32_t> m_flags;
    std::vector<InternetAddress> m_addresses; // of the last look-up
    std::unique_ptr<Watches> m_watches;
};

} // namespace quorrel
