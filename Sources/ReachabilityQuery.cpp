// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ReachabilityQuery.h"

#include "Sources/Reachability.h"

#include <algorithm>

namespace quorrel {

void ReachabilityQuery::scheduleOnRunLoop(RunLoop* runLoop) {
    if (!m_owner.networkStatusNotificationsEnabled() || !runLoop || isScheduledOnRunLoop(runLoop))
        return;
    if (auto* listening = startListeningForReachabilityChanges(m_reachabilityRef.get(), runLoop))
        m_runLoops.push_back(listening);
}

bool ReachabilityQuery::isScheduledOnRunLoop(const RunLoop* runLoop) const {
    return std::find(m_runLoops.begin(), m_runLoops.end(), runLoop) != m_runLoops.end();
}

RunLoop* ReachabilityQuery::startListeningForReachabilityChanges(ReachabilityReference* reference, RunLoop* runLoop) {
    if (!reference || !runLoop)
        return nullptr;
    reference->setCallback([&owner = m_owner](std::uint32_t) { owner.reachabilityCallback(); });
    return reference->scheduleWithRunLoop(*runLoop) ? runLoop : nullptr;
}

} // namespace quorrel
