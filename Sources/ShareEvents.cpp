// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareEvents.h"

#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <string_view>
#include <utility>

namespace quorrel {

namespace {

bool isOfState(std::string_view key, const SharePointDefinition& sharePoint) {
    // The flags come before the status that goes with them, save where an activity ends without one: a mount that is
    // over, and an unmount that was refused. One that succeeded has taken the volume away by then, and is told as such.
    return key == "status" || key == "lastError" || (key == "mounting" && !sharePoint.mounting.get())
        || (key == "unmounting" && !sharePoint.unmounting.get() && sharePoint.referenceNumber.get().value_or(0) != 0);
}

bool isOfConfiguration(std::string_view key) {
    return key == "sharePoint" || key == "displayType" || key == "automatically" || key == "favroite"
        || key == "passwordPrompt";
}

ShareEvent eventOf(const SharePointDefinition& sharePoint) {
    ShareEvent event;
    event.state = ShareState::of(sharePoint);
    event.status = sharePoint.shownStatus();
    event.error = textOf(sharePoint.lastError.get());
    if (sharePoint.mounted.get())
        event.path = textOf(sharePoint.volumePath.get());
    event.isByHand = sharePoint.manualMount.get();
    return event;
}

/// What would be true for no more than a moment.
bool isOvertaken(const ShareEvent& one, const ShareEvent& next) {
    // A status and the error that explains it come one after the other, and belong together.
    if (one.status == next.status)
        return true;
    // A volume that is announced ends the mount before it is marked as there.
    return one.state == ShareState::Kind::Unmounted && next.state == ShareState::Kind::Mounted;
}

bool tellsTheSame(const ShareEvent& one, const ShareEvent& other) {
    return one.state == other.state && one.status == other.status && one.error == other.error && one.path == other.path;
}

} // namespace

void ShareEvents::Pending::add(Seen next) {
    const auto [last, isFirst] = lastOf.try_emplace(next.sharePoint, seen.size());
    if (!isFirst && isOvertaken(seen[last->second].event, next.event)) {
        seen[last->second] = std::move(next);
    } else {
        last->second = seen.size();
        seen.push_back(std::move(next));
    }
}

ShareEvents::ShareEvents(Observable& catalogue, const Hosts& hosts, MainThreadQueue& queue)
    : m_hosts(hosts)
    , m_batch(queue, [this](Pending pending) { deliver(std::move(pending)); }) {
    // Hosts and their lists of shares change on the main thread alone.
    m_subscription = catalogue.observe("hosts", [this](std::string_view, Change change) {
        if (change == Change::Did) {
            followHosts();
            catalogueChanged();
        }
    });
    followHosts();
}

ShareEvents::~ShareEvents() = default;

Subscription ShareEvents::observe(std::function<void(const Events& events)> listener) {
    return m_listeners.add(std::move(listener));
}

Subscription ShareEvents::observeCatalogue(std::function<void()> listener) {
    return m_catalogueListeners.add(std::move(listener));
}

void ShareEvents::followHosts() {
    // What waits is of records that may go now, and another may take the place of one: hence here and at the end.
    deliverEvents();
    auto before = std::exchange(m_followed, {});
    for (const auto& definition : m_hosts.snapshot()) {
        auto& host = m_followed[definition.get()];
        if (const auto known = before.find(definition.get()); known != before.end()) {
            host = std::move(known->second);
            before.erase(known);
        }
        if (host.definition)
            continue;
        host.definition = definition;
        host.subscription
            = definition->observeAll([this, key = definition.get()](std::string_view field, Change change) {
                  if (change != Change::Did || (field != "sharePoints" && field != "displayName"))
                      return;
                  if (field == "sharePoints")
                      sharesChanged(key);
                  catalogueChanged();
              });
        followShares(host);
    }
    before.clear();
    deliverEvents();
}

void ShareEvents::sharesChanged(const HostDefinition* key) {
    deliverEvents();
    if (const auto found = m_followed.find(key); found != m_followed.end())
        followShares(found->second);
    deliverEvents();
}

void ShareEvents::followShares(Host& host) {
    auto before = std::exchange(host.shares, {});
    for (const auto& sharePoint : host.definition->sharePoints.snapshot()) {
        auto& share = host.shares[sharePoint.get()];
        if (const auto known = before.find(sharePoint.get()); known != before.end()) {
            share = std::move(known->second);
            before.erase(known);
        }
        if (share.last.sharePoint)
            continue;
        // First the watch, then what it starts from, or a change between the two would be lost.
        share.subscription = watch(host.definition.get(), *sharePoint);
        share.last = eventOf(*sharePoint);
        share.last.sharePoint = sharePoint;
    }
}

Subscription ShareEvents::watch(const HostDefinition* host, SharePointDefinition& sharePoint) {
    return sharePoint.observeAll([this, host, &sharePoint](std::string_view key, Change change) {
        if (change != Change::Did)
            return;
        if (isOfConfiguration(key))
            catalogueChanged();
        // While a status is rebuilt it is empty for a moment.
        if (!isOfState(key, sharePoint) || textOf(sharePoint.status.get()).empty())
            return;
        Seen seen { host, &sharePoint, eventOf(sharePoint) };
        m_batch.add([&seen](Pending& pending) { pending.add(std::move(seen)); });
    });
}

void ShareEvents::catalogueChanged() {
    m_batch.add([](Pending& pending) { pending.isCatalogueChanged = true; });
}

void ShareEvents::deliverEvents() {
    m_isFollowing = true;
    m_batch.deliver();
    m_isFollowing = false;
}

void ShareEvents::deliver(Pending pending) {
    Events events;
    for (auto& [hostKey, key, event] : pending.seen) {
        const auto host = m_followed.find(hostKey);
        if (host == m_followed.end())
            continue;
        const auto share = host->second.shares.find(key);
        if (share == host->second.shares.end())
            continue;
        auto& last = share->second.last;
        if (tellsTheSame(last, event))
            continue;
        event.before = last.state;
        event.isNews = last.status != event.status || (last.error != event.error && !event.error.empty());
        event.sharePoint = last.sharePoint;
        last = event;
        events.push_back(std::move(event));
    }
    if (!events.empty())
        m_listeners.notify(events);
    if (pending.isCatalogueChanged && m_isFollowing)
        catalogueChanged(); // when the turn is over
    else if (pending.isCatalogueChanged)
        m_catalogueListeners.notify();
}

} // namespace quorrel
