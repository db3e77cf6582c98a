// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LookupAhead.h"

#include "Foundation/MainThreadQueue.h"
#include "Foundation/ObserverList.h"
#include "Sources/LookupOperation.h"
#include "Sources/Rehearsal.h"

#include <cstddef>
#include <map>
#include <utility>

namespace quorrel {

namespace {

/// Each mostly waits for name servers.
constexpr std::size_t lookupsAtOnce = 8;

} // namespace

/// Held weakly by what workers post to the main thread.
struct LookupAhead::UnderWay final {
    std::map<NameLookup, std::shared_ptr<const LookupOperation>> operations;
    ObserverList<> observers;
};

LookupAhead::LookupAhead(ChildProcess& tools, MainThreadQueue& mainThreadQueue)
    : m_tools(tools)
    , m_mainThreadQueue(mainThreadQueue)
    , m_underWay(std::make_shared<UnderWay>())
    , m_queue(lookupsAtOnce) { }

LookupAhead::~LookupAhead() = default;

std::shared_ptr<const LookupOperation> LookupAhead::begin(const NameLookup& lookup) {
    auto& known = m_underWay->operations[lookup];
    if (known && !known->isOver())
        return known;
    const auto ended = [lookup, &queue = m_mainThreadQueue, weakUnderWay = std::weak_ptr(m_underWay)] {
        queue.post([lookup, weakUnderWay] {
            const auto underWay = weakUnderWay.lock();
            if (!underWay)
                return;
            // Another may have been begun since.
            if (const auto known = underWay->operations.find(lookup);
                known != underWay->operations.end() && known->second->isOver())
                underWay->operations.erase(known);
            underWay->observers.notify();
        });
    };
    const auto operation = std::make_shared<LookupOperation>(lookup, m_tools, ended);
    known = operation;
    m_queue.addOperation(operation);
    return operation;
}

Subscription LookupAhead::observeEnds(std::function<void()> callback) {
    return m_underWay->observers.add(std::move(callback));
}

LookupAhead::Performance::Performance(LookupAhead* ahead, const Rehearsal* rehearsal)
    : m_ahead(ahead)
    , m_before(ahead ? std::exchange(ahead->m_rehearsal, rehearsal) : nullptr) { }

LookupAhead::Performance::~Performance() {
    if (m_ahead)
        m_ahead->m_rehearsal = m_before;
}

ChildProcessResult LookupAhead::run(const std::string& path, const std::vector<std::string>& arguments) {
    auto answer = m_rehearsal ? m_rehearsal->answer(path, arguments) : std::nullopt;
    return answer ? std::move(*answer) : m_tools.run(path, arguments);
}

} // namespace quorrel
