// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/WorkLine.h"

#include "Sources/LookupAhead.h"
#include "Sources/Rehearsal.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quorrel {

/// While one exists, what is added belongs to what is being done.
class WorkLine::Performing final {
public:
    Performing(WorkLine& line, Line::iterator behind)
        : m_line(line) {
        m_line.m_isPerforming = true;
        m_line.m_behind = behind;
    }
    Performing(const Performing&) = delete;
    Performing& operator=(const Performing&) = delete;
    ~Performing() {
        m_line.m_isPerforming = false;
        m_line.m_behind = m_line.m_line.end();
    }

private:
    WorkLine& m_line;
};

WorkLine::WorkLine(LookupAhead* ahead)
    : m_ahead(ahead) {
    if (m_ahead)
        m_ends = m_ahead->observeEnds([this] {
            if (!m_line.empty())
                goOn();
        });
}

WorkLine::~WorkLine() = default;

Subscription WorkLine::observeEmptied(std::function<void()> callback) {
    return m_emptied.add(std::move(callback));
}

void WorkLine::add(Work work) {
    bool wasFirst = false; // what stood behind it may be ready
    if (const auto known = m_keyed.find(work.key); known != m_keyed.end()) {
        wasFirst = known->second == m_line.begin();
        drop(known->second);
    }
    const bool isFirst = isEmpty();
    const auto place = m_line.insert(m_isPerforming ? m_behind : m_line.end(), Waiting { std::move(work), nullptr });
    m_keyed[place->work.key] = place;
    // All that waits has its names looked up at the same time, and while it is prepared.
    if (!isFirst || place->work.prepare)
        static_cast<void>(isReady(*place));
    if (isFirst || wasFirst)
        goOn();
}

void WorkLine::clear() {
    m_keyed.clear();
    m_line.clear();
    m_behind = m_line.end();
}

void WorkLine::callOffMounts() {
    const auto before = m_line.size();
    for (auto place = m_line.begin(); place != m_line.end();)
        place = place->work.isMount ? drop(place) : std::next(place);
    if (m_line.size() < before)
        goOn();
}

bool WorkLine::concerns(const SharePointDefinition& sharePoint) const {
    return std::any_of(m_line.begin(), m_line.end(),
        [&](const Waiting& each) { return !each.work.concerns || each.work.concerns(sharePoint); });
}

bool WorkLine::isReady(Waiting& waiting) const {
    if (!m_ahead || !waiting.work.lookups)
        return true;
    const auto lookups = waiting.work.lookups();
    if (lookups.empty())
        return true;
    if (!waiting.rehearsal)
        waiting.rehearsal = std::make_unique<Rehearsal>(*m_ahead);
    return waiting.rehearsal->covers(lookups);
}

void WorkLine::goOn() {
    if (m_isPerforming)
        return;
    while (!m_line.empty()) {
        if (m_line.front().work.prepare) {
            prepareFront(); // may clear the line
            continue;
        }
        if (!isReady(m_line.front()))
            return;
        const auto waiting = std::move(m_line.front());
        m_keyed.erase(waiting.work.key);
        m_line.pop_front();
        perform(waiting);
    }
    m_emptied.notify();
}

void WorkLine::prepareFront() {
    const auto prepare = std::exchange(m_line.front().work.prepare, nullptr);
    const Performing performing(*this, std::next(m_line.begin()));
    prepare();
}

void WorkLine::perform(const Waiting& waiting) {
    const Performing performing(*this, m_line.begin());
    const LookupAhead::Performance performance(m_ahead, waiting.rehearsal.get());
    waiting.work.perform();
}

WorkLine::Line::iterator WorkLine::drop(Line::iterator place) {
    m_keyed.erase(place->work.key);
    if (m_behind == place)
        ++m_behind;
    return m_line.erase(place);
}

} // namespace quorrel
