// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/NetworkReachability.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

class Reachability;
class RunLoop;

/// One watched host name: the system's reference for it, and the run loops on which changes are told. Main thread only.
class ReachabilityQuery final {
public:
    /// The owner outlives its queries.
    explicit ReachabilityQuery(const Reachability& owner)
        : m_owner(owner) { }
    ReachabilityQuery(const ReachabilityQuery&) = delete;
    ReachabilityQuery& operator=(const ReachabilityQuery&) = delete;

    [[nodiscard]] ReachabilityReference* reachabilityRef() const { return m_reachabilityRef.get(); }
    void setReachabilityRef(std::unique_ptr<ReachabilityReference> reference) {
        m_reachabilityRef = std::move(reference);
    }
    [[nodiscard]] const std::string& hostNameOrAddress() const { return m_hostNameOrAddress; }
    void setHostNameOrAddress(std::string name) { m_hostNameOrAddress = std::move(name); }
    [[nodiscard]] const std::vector<RunLoop*>& runLoops() const { return m_runLoops; }
    void setRunLoops(std::vector<RunLoop*> runLoops) { m_runLoops = std::move(runLoops); }

    /// Once per run loop, and only while the owner's notifications are on.
    void scheduleOnRunLoop(RunLoop* runLoop);
    [[nodiscard]] bool isScheduledOnRunLoop(const RunLoop* runLoop) const;
    /// The run loop; null when either is null or it could not be.
    [[nodiscard]] RunLoop* startListeningForReachabilityChanges(ReachabilityReference* reference, RunLoop* runLoop);

private:
    const Reachability& m_owner;
    std::unique_ptr<ReachabilityReference> m_reachabilityRef;
    std::vector<RunLoop*> m_runLoops;
    std::string m_hostNameOrAddress;
};

} // namespace quorrel
