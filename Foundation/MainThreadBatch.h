// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Foundation/Mutex.h"

#include <functional>
#include <memory>
#include <utility>

namespace quorrel {

/// Collects on any thread what the main thread is to be told, and hands it over once a turn, however much there is.
/// Made and destroyed on the main thread; nothing is handed over after its end.
template <typename Content>
class MainThreadBatch final {
public:
    using Listener = std::function<void(Content content)>;

    /// The queue must outlive every call of `add`.
    MainThreadBatch(MainThreadQueue& queue, Listener listener)
        : m_queue(queue)
        , m_state(std::make_shared<State>(std::move(listener))) { }

    /// Lets the edit put something into what is handed over next. Any thread; the edit runs under a lock.
    template <typename Edit>
    void add(Edit edit) {
        {
            const MutexLock lock(m_state->mutex);
            edit(m_state->content);
            if (std::exchange(m_state->isAnnounced, true))
                return;
        }
        m_queue.post([weak = std::weak_ptr(m_state)] {
            if (const auto alive = weak.lock())
                alive->deliver();
        });
    }

    /// Hands over now what has not been handed over yet. Main thread.
    void deliver() { std::shared_ptr(m_state)->deliver(); }

private:
    struct State final {
        explicit State(Listener toTell)
            : listener(std::move(toTell)) { }

        void deliver() {
            Content taken {};
            {
                const MutexLock lock(mutex);
                if (!std::exchange(isAnnounced, false))
                    return;
                std::swap(taken, content);
            }
            listener(std::move(taken));
        }

        const Listener listener;
        Mutex mutex;
        Content content GUARDED_BY(mutex) {};
        bool isAnnounced GUARDED_BY(mutex) = false;
    };

    MainThreadQueue& m_queue;
    const std::shared_ptr<State> m_state;
};

} // namespace quorrel
