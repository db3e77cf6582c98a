// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/OperationQueue.h"
#include "Foundation/Subscription.h"
#include "Platform/ChildProcess.h"
#include "Sources/NameLookup.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

class LookupOperation;
class MainThreadQueue;
class Rehearsal;

/// Has the look-up tools run on workers of its own before the main thread needs what they say, so that it never waits
/// for them. Main thread only.
///
/// To resolvers it is the tools: within a `Performance` they hear what the tools said in its rehearsal.
class LookupAhead final : public ChildProcess {
public:
    /// The tools and the queue must outlive it. The destructor waits for tools that run: end them first.
    LookupAhead(ChildProcess& tools, MainThreadQueue& mainThreadQueue);
    ~LookupAhead() override;

    /// The one of this kind that is under way, or else a new one.
    [[nodiscard]] std::shared_ptr<const LookupOperation> begin(const NameLookup& lookup);
    /// Calls back on the main thread, in a turn of its own, when one or more are over.
    [[nodiscard]] Subscription observeEnds(std::function<void()> callback);

    /// While one exists, what was rehearsed is not done again.
    class Performance final {
    public:
        /// Null: nothing was.
        Performance(LookupAhead* ahead, const Rehearsal* rehearsal);
        Performance(const Performance&) = delete;
        Performance& operator=(const Performance&) = delete;
        ~Performance();

    private:
        LookupAhead* const m_ahead;
        const Rehearsal* const m_before;
    };

    /// What was not rehearsed is done now, and the main thread waits for it.
    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override;

private:
    struct UnderWay;

    ChildProcess& m_tools;
    MainThreadQueue& m_mainThreadQueue;
    const Rehearsal* m_rehearsal = nullptr;
    const std::shared_ptr<UnderWay> m_underWay;
    OperationQueue m_queue;
};

} // namespace quorrel
