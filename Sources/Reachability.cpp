// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Reachability.h"

#include "Foundation/AssertionFailure.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Text.h"
#include "Sources/DiscoveryEnvironment.h"

namespace quorrel {

namespace {

[[noreturn]] void failAssertion(const std::string& text) {
    throw AssertionFailure("Sources/Reachability", text);
}

} // namespace

Reachability::Reachability(const DiscoveryEnvironment& environment)
    : m_environment(environment) { }

Reachability::~Reachability() {
    stopListeningForReachabilityChanges();
}

int Reachability::remoteHostStatus() {
    if (!m_hostName)
        failAssertion("No hostName or address specified. Cannot determine reachability.");
    const auto* reference = reachabilityRefForHostName(m_hostName);
    if (!reference)
        failAssertion("Couldn't get reachabilityRef");
    const auto flags = reference->flags().value_or(0);
    return flags != 0 && isReachableWithoutRequiringConnection(flags) ? 1 : 0;
}

ReachabilityReference* Reachability::reachabilityRefForHostName(const OptionalText& name) {
    if (!name || name->empty())
        return nullptr;
    if (const auto found = m_reachabilityQueries.find(*name);
        found != m_reachabilityQueries.end() && found->second->reachabilityRef())
        return found->second->reachabilityRef();
    auto reference = m_environment.reachability.createWithName(*name);
    if (!reference)
        failAssertion(Text::filled("Failed to create SCNetworkReachabilityRef for host: %@", { *name }));
    auto query = std::make_unique<ReachabilityQuery>(*this);
    query->setHostNameOrAddress(*name);
    query->setReachabilityRef(std::move(reference));
    query->scheduleOnRunLoop(&m_environment.runLoop);
    auto& place = m_reachabilityQueries[*name];
    place = std::move(query);
    return place->reachabilityRef();
}

bool Reachability::isReachableWithoutRequiringConnection(std::uint32_t flags) {
    constexpr auto obstacles = ReachabilityFlag::connectionRequired | ReachabilityFlag::interventionRequired;
    return (flags & ReachabilityFlag::reachable) != 0 && (flags & obstacles) == 0;
}

void Reachability::stopListeningForReachabilityChanges() {
    for (const auto& [name, query] : m_reachabilityQueries) {
        for (auto* runLoop : query->runLoops())
            if (auto* reference = query->reachabilityRef())
                reference->unscheduleFromRunLoop(*runLoop);
        query->setRunLoops({});
    }
}

void Reachability::reachabilityCallback() const {
    // Whoever hears it may destroy this: nothing may follow.
    m_environment.notificationCenter.post(kNetworkReachabilityChangedNotification);
}

} // namespace quorrel
