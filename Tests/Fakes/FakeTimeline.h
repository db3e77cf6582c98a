// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <functional>
#include <map>

namespace quorrel {

/// What is about to happen, in a time of its own that stands still until it is advanced. One thread only.
class FakeTimeline final {
public:
    /// Happens with an `advance` that reaches it, also when the delay is zero. What is due at the same time happens in
    /// the order in which it was scheduled.
    void schedule(Seconds delay, const void* owner, std::function<void()> event);
    void forget(const void* owner);
    void clear() { m_events.clear(); }
    /// Whether something else of the owner's is due now.
    [[nodiscard]] bool hasMoreNow(const void* owner) const;

    /// Lets so much time pass, and what falls into it happen. An event may schedule and forget others.
    void advance(Seconds duration);

    [[nodiscard]] int size() const { return static_cast<int>(m_events.size()); }

private:
    struct Event final {
        const void* owner;
        std::function<void()> happen;
    };

    Seconds m_now { 0 };
    std::multimap<Seconds, Event> m_events;
};

} // namespace quorrel
