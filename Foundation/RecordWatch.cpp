// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/RecordWatch.h"

#include "Foundation/Observable.h"

#include <string_view>
#include <utility>

namespace quorrel {

RecordWatch::RecordWatch(MainThreadQueue& queue, Listener listener)
    : m_batch(queue, std::move(listener)) { }

RecordWatch::~RecordWatch() = default;

void RecordWatch::setRecords(const std::vector<Observable*>& records) {
    // Most of a list stays when one of its records comes or goes.
    std::unordered_map<const Observable*, Subscription> subscriptions;
    subscriptions.reserve(records.size());
    for (auto* record : records) {
        if (auto known = m_subscriptions.extract(record)) {
            subscriptions.insert(std::move(known));
            continue;
        }
        subscriptions.try_emplace(record, record->observeAll([this, record](std::string_view, Change change) {
            if (change == Change::Did)
                m_batch.add([record](Changed& changed) { changed.insert(record); });
        }));
    }
    m_subscriptions.swap(subscriptions);
}

} // namespace quorrel
