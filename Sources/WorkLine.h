// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObserverList.h"
#include "Foundation/Subscription.h"
#include "Sources/NameLookup.h"

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorrel {

class LookupAhead;
class Rehearsal;
class SharePointDefinition;

/// Work of the main thread that may have to look names up: it is done in the order in which it came, each piece once
/// the tools have said what it needs, and at once where nothing is to be waited for. Main thread only.
class WorkLine final {
public:
    struct Work final {
        /// What waits under the same key is dropped for it.
        std::string key;
        std::function<void()> perform;
        /// Done once when its turn has come, before anything is waited for, as the tools already run; absent: nothing.
        std::function<void()> prepare {};
        /// Asked before it is done, again and again until all are known; absent: none.
        std::function<std::vector<NameLookup>()> lookups {};
        /// What may not be unmounted before it is done; absent: nothing may.
        std::function<bool(const SharePointDefinition&)> concerns {};
        /// What it leads to can be called off, so it can be, too.
        bool isMount = false;
    };

    /// Null: names are looked up by the work itself, and nothing ever waits.
    explicit WorkLine(LookupAhead* ahead);
    ~WorkLine();

    /// Work that is added by other work belongs to that, and comes right behind it.
    void add(Work work);
    /// Drops all that waits.
    void clear();
    /// Drops the mounts that wait.
    void callOffMounts();

    [[nodiscard]] bool isEmpty() const { return m_line.empty() && !m_isPerforming; }
    /// Whether something that waits has to do with that share point.
    [[nodiscard]] bool concerns(const SharePointDefinition& sharePoint) const;
    /// Calls back when nothing waits any more.
    [[nodiscard]] Subscription observeEmptied(std::function<void()> callback);

private:
    struct Waiting final {
        Work work;
        std::unique_ptr<Rehearsal> rehearsal; // null until it is known that something is to be looked up
    };
    using Line = std::list<Waiting>;
    class Performing;

    [[nodiscard]] bool isReady(Waiting& waiting) const;
    void goOn();
    void prepareFront();
    void perform(const Waiting& waiting);
    Line::iterator drop(Line::iterator place);

    LookupAhead* const m_ahead;
    Line m_line;
    std::unordered_map<std::string, Line::iterator> m_keyed;
    Line::iterator m_behind = m_line.end(); // what the work that is being done adds comes before it
    bool m_isPerforming = false;
    ObserverList<> m_emptied;
    Subscription m_ends;
};

} // namespace quorrel
