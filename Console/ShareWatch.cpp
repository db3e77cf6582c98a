// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareWatch.h"

#include "Sources/SharePointDefinition.h"

#include <string_view>
#include <utility>

namespace quorrel {

void ShareWatch::Pending::add(Change change) {
    // A status and the error that explains it come one after the other, and belong together.
    const auto [last, isFirst] = lastOf.try_emplace(change.index, changes.size());
    if (!isFirst && changes[last->second].status == change.status) {
        changes[last->second] = std::move(change);
    } else {
        last->second = changes.size();
        changes.push_back(std::move(change));
    }
}

ShareWatch::ShareWatch(const std::vector<std::shared_ptr<SharePointDefinition>>& sharePoints,
    MainThreadQueue& mainThreadQueue, Listener listener)
    : m_sharePoints(sharePoints)
    , m_batch(
          mainThreadQueue, [listener = std::move(listener)](const Pending& pending) { listener(pending.changes); }) {
    for (std::size_t index = 0; index < m_sharePoints.size(); ++index) {
        const auto observer
            = [this, sharePoint = m_sharePoints[index].get(), index](std::string_view, quorrel::Change change) {
                  auto status = textOf(sharePoint->status.get());
                  // While a status is rebuilt it is empty for a moment.
                  if (change != quorrel::Change::Did || status.empty())
                      return;
                  Change seen { index, std::move(status), textOf(sharePoint->lastError.get()) };
                  m_batch.add([&seen](Pending& pending) { pending.add(std::move(seen)); });
              };
        m_subscriptions.push_back(m_sharePoints[index]->observe("status", observer));
        m_subscriptions.push_back(m_sharePoints[index]->observe("lastError", observer));
    }
}

} // namespace quorrel
