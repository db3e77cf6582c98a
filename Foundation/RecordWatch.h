// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadBatch.h"
#include "Foundation/Subscription.h"

#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace quorrel {

class Observable;

/// Watches records that any thread changes, and tells the main thread once a turn which of them did: what a view of
/// them draws again. Made, used and destroyed on the main thread; tells nothing after its end.
class RecordWatch final {
public:
    /// What changed since the last call. A record may be gone by then: compare, do not follow.
    using Changed = std::unordered_set<const Observable*>;
    using Listener = std::function<void(const Changed& records)>;

    RecordWatch(MainThreadQueue& queue, Listener listener);
    ~RecordWatch();
    RecordWatch(const RecordWatch&) = delete;
    RecordWatch& operator=(const RecordWatch&) = delete;

    /// Watches these records from now on, in place of those before. A record must be there until a call that leaves it
    /// out: another one in its place could not be told from it.
    void setRecords(const std::vector<Observable*>& records);

private:
    MainThreadBatch<Changed> m_batch;
    std::unordered_map<const Observable*, Subscription> m_subscriptions; // ends first: its calls use the batch
};

} // namespace quorrel
