// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeTimeline.h"

#include <algorithm>
#include <utility>

namespace quorrel {

void FakeTimeline::schedule(Seconds delay, const void* owner, std::function<void()> event) {
    m_events.emplace(m_now + delay, Event { owner, std::move(event) });
}

void FakeTimeline::forget(const void* owner) {
    std::erase_if(m_events, [&](const auto& each) { return each.second.owner == owner; });
}

bool FakeTimeline::hasMoreNow(const void* owner) const {
    return std::any_of(
        m_events.begin(), m_events.upper_bound(m_now), [&](const auto& each) { return each.second.owner == owner; });
}

void FakeTimeline::advance(Seconds duration) {
    const auto target = m_now + duration;
    while (!m_events.empty() && m_events.begin()->first <= target) {
        auto next = m_events.extract(m_events.begin());
        m_now = std::max(m_now, next.key());
        next.mapped().happen();
    }
    m_now = target;
}

} // namespace quorrel
