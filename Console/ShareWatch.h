// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadBatch.h"
#include "Foundation/Subscription.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorrel {

class SharePointDefinition;

/// Brings the changes of share points, which workers make, to the main thread in batches. Made, used and destroyed on
/// the main thread; nothing is delivered after its end.
class ShareWatch final {
public:
    struct Change final {
        std::size_t index = 0; ///< of the share point in the list that was handed in
        std::string status;
        std::string error;
    };
    using Changes = std::vector<Change>;
    using Listener = std::function<void(const Changes& changes)>;

    /// The queue must outlive the watch.
    ShareWatch(const std::vector<std::shared_ptr<SharePointDefinition>>& sharePoints, MainThreadQueue& mainThreadQueue,
        Listener listener);
    ShareWatch(const ShareWatch&) = delete;
    ShareWatch& operator=(const ShareWatch&) = delete;

    /// Hands over now what has not been delivered yet.
    void deliverPending() { m_batch.deliver(); }

private:
    struct Pending final {
        void add(Change change);

        Changes changes;
        std::unordered_map<std::size_t, std::size_t> lastOf; // each share's last change
    };

    const std::vector<std::shared_ptr<SharePointDefinition>> m_sharePoints;
    MainThreadBatch<Pending> m_batch;
    std::vector<Subscription> m_subscriptions; // end first: their calls use the batch
};

} // namespace quorrel
