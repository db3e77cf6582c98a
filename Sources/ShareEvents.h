// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadBatch.h"
#include "Foundation/ObservableList.h"
#include "Foundation/ObserverList.h"
#include "Foundation/Subscription.h"
#include "Sources/ShareState.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

/// What became of one share.
struct ShareEvent final {
    std::shared_ptr<SharePointDefinition> sharePoint;
    ShareState::Kind before = ShareState::Kind::Unmounted; ///< its state up to now
    ShareState::Kind state = ShareState::Kind::Unmounted;
    std::string status; ///< in the user's language
    std::string error; ///< empty when there is none
    std::string path; ///< where its files are, as far as that is known; empty when it is not mounted
    bool isByHand = false; ///< the user asked for the mount that it comes from
    bool isNews = true; ///< for a person: the status is another one, or there is an error that there was not
};

/// The one feed of what becomes of every share in the catalogue, whoever did it: from it all are told that tell others.
///
/// Workers change shares; the feed brings that to the main thread in batches, once a turn, with every state of a share
/// in its order. Made, used and destroyed on the main thread; nothing is told after its end.
class ShareEvents final {
public:
    using Hosts = ObservableList<std::shared_ptr<HostDefinition>>;
    using Events = std::vector<ShareEvent>;

    /// The catalogue, whose list the hosts are, and the queue must outlive the feed. How shares are now is taken as
    /// known.
    ShareEvents(Observable& catalogue, const Hosts& hosts, MainThreadQueue& queue);
    ShareEvents(const ShareEvents&) = delete;
    ShareEvents& operator=(const ShareEvents&) = delete;
    ~ShareEvents();

    [[nodiscard]] Subscription observe(std::function<void(const Events& events)> listener);
    /// Shares came, went, or are called or configured otherwise; told behind the events of the same turn.
    [[nodiscard]] Subscription observeCatalogue(std::function<void()> listener);

    /// Tells now what has not been told yet.
    void deliverPending() { m_batch.deliver(); }

private:
    struct Seen final {
        const HostDefinition* host = nullptr;
        const SharePointDefinition* sharePoint = nullptr;
        ShareEvent event {};
    };
    struct Pending final {
        void add(Seen seen);

        std::vector<Seen> seen;
        std::unordered_map<const SharePointDefinition*, std::size_t> lastOf; // each share's last
        bool isCatalogueChanged = false;
    };
    struct Share final {
        ShareEvent last;
        Subscription subscription;
    };
    struct Host final {
        std::shared_ptr<HostDefinition> definition;
        std::unordered_map<const SharePointDefinition*, Share> shares;
        Subscription subscription;
    };

    void followHosts();
    void sharesChanged(const HostDefinition* key);
    void followShares(Host& host);
    [[nodiscard]] Subscription watch(const HostDefinition* host, SharePointDefinition& sharePoint);
    void catalogueChanged();
    /// Of shares alone.
    void deliverEvents();
    void deliver(Pending pending);

    const Hosts& m_hosts;
    bool m_isFollowing = false; // what the catalogue became
    ObserverList<const Events&> m_listeners;
    ObserverList<> m_catalogueListeners;
    MainThreadBatch<Pending> m_batch;
    std::unordered_map<const HostDefinition*, Host> m_followed; // ends before the batch: its calls use that
    Subscription m_subscription;
};

} // namespace quorrel
