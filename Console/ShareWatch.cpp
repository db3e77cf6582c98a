// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareWatch.h"

#include "Foundation/MainThreadQueue.h"
#include "Sources/SharePointDefinition.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace quorrel {

struct ShareWatch::State final {
    explicit State(Listener toTell)
        : listener(std::move(toTell)) { }

    /// Whether the main thread has to be told that there is something.
    [[nodiscard]] bool add(Change change) {
        const std::lock_guard lock(mutex);
        // A status and the error that explains it come one after the other, and belong together.
        const auto [last, isFirst] = lastOf.try_emplace(change.index, pending.size());
        if (!isFirst && pending[last->second].status == change.status) {
            pending[last->second] = std::move(change);
        } else {
            last->second = pending.size();
            pending.push_back(std::move(change));
        }
        return !std::exchange(isAnnounced, true);
    }

    void deliver() {
        Changes changes;
        {
            const std::lock_guard lock(mutex);
            changes.swap(pending);
            lastOf.clear();
            isAnnounced = false;
        }
        if (!changes.empty())
            listener(changes);
    }

    const Listener listener;
    std::mutex mutex;
    Changes pending;
    std::unordered_map<std::size_t, std::size_t> lastOf; // each share's last change in what is pending
    bool isAnnounced = false;
};

ShareWatch::ShareWatch(const std::vector<std::shared_ptr<SharePointDefinition>>& sharePoints,
    MainThreadQueue& mainThreadQueue, Listener listener)
    : m_sharePoints(sharePoints)
    , m_state(std::make_shared<State>(std::move(listener))) {
    for (std::size_t index = 0; index < m_sharePoints.size(); ++index) {
        const auto observer = [state = m_state, &mainThreadQueue, sharePoint = m_sharePoints[index].get(), index](
                                  std::string_view, quorrel::Change change) {
            auto status = textOf(sharePoint->status.get());
            // While a status is rebuilt it is empty for a moment.
            if (change != quorrel::Change::Did || status.empty())
                return;
            if (!state->add({ index, std::move(status), textOf(sharePoint->lastError.get()) }))
                return;
            mainThreadQueue.post([weak = std::weak_ptr(state)] {
                if (const auto alive = weak.lock())
                    alive->deliver();
            });
        };
        m_subscriptions.push_back(m_sharePoints[index]->observe("status", observer));
        m_subscriptions.push_back(m_sharePoints[index]->observe("lastError", observer));
    }
}

ShareWatch::~ShareWatch() = default;

void ShareWatch::deliverPending() {
    m_state->deliver();
}

} // namespace quorrel
