// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Foundation/Subscription.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace quorrel {

/// Callbacks that are told of something, in the order in which they were added.
///
/// Any thread. Callbacks run on the notifying thread with no lock held; they may add and cancel subscriptions, and one
/// added during a notification is first told of the next.
template <typename... Arguments>
class ObserverList final {
public:
    using Callback = std::function<void(Arguments...)>;

    Subscription add(Callback callback) {
        auto entry = std::make_shared<Entry>(std::move(callback));
        const MutexLock lock(m_mutex);
        std::erase_if(m_entries, [](const auto& each) { return each->isClosed(); });
        m_entries.push_back(entry);
        return Subscription(std::move(entry));
    }

    void notify(Arguments... arguments) const {
        for (const auto& entry : entries())
            if (entry->enter()) {
                const Inside inside(*entry);
                entry->callback(arguments...);
            }
    }

private:
    struct Entry final : CallbackGate {
        explicit Entry(Callback function)
            : callback(std::move(function)) { }
        void discard() override { callback = nullptr; }
        Callback callback;
    };

    struct Inside final {
        explicit Inside(CallbackGate& entered)
            : gate(entered) { }
        ~Inside() { gate.leave(); }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;
        CallbackGate& gate;
    };

    [[nodiscard]] std::vector<std::shared_ptr<Entry>> entries() const {
        const MutexLock lock(m_mutex);
        return m_entries;
    }

    mutable Mutex m_mutex;
    std::vector<std::shared_ptr<Entry>> m_entries GUARDED_BY(m_mutex);
};

} // namespace quorrel
