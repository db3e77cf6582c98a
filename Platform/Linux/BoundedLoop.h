// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/InterruptEvent.h"
#include "Platform/Linux/MainContextPool.h"

#include <chrono>
#include <functional>
#include <memory>

namespace quorrel {

/// Lets one blocking call of ours wait for GLib's asynchronous ones, with one deadline over all of them.
///
/// One thread, which is the thread that made it: its context is that thread's default while it lives, so every callback
/// runs there and nowhere else. Each wait ends at the deadline or when the event is signalled.
class BoundedLoop final {
public:
    /// The pool and the event must outlive the loop.
    BoundedLoop(MainContextPool& contexts, Seconds deadline, const InterruptEvent& interrupted);
    ~BoundedLoop();
    BoundedLoop(const BoundedLoop&) = delete;
    BoundedLoop& operator=(const BoundedLoop&) = delete;

    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

    /// One call under way. Dropping it cancels it; its late answer then reaches nobody.
    class Pending final {
    public:
        Pending() = default;
        Pending(Pending&&) noexcept = default;
        Pending& operator=(Pending&& other) noexcept;
        ~Pending() { cancel(); }

        void cancel();
        [[nodiscard]] bool isEmpty() const { return !m_answer; }
        [[nodiscard]] bool isDone() const { return m_answer && m_answer->result; }
        [[nodiscard]] GAsyncResult* result() const { return m_answer->result.get(); }

    private:
        friend class BoundedLoop;
        struct Answer final {
            GObjectPointer<GAsyncResult> result;
        };
        std::shared_ptr<Answer> m_answer;
        GObjectPointer<GCancellable> m_cancellable;
    };

    [[nodiscard]] Pending begin(const Start& start);

    /// Runs callbacks until the condition holds, which it looks at after each; false when the time was up before.
    bool waitUntil(const std::function<bool()>& condition);
    /// The same, at most so long.
    bool waitUntil(const std::function<bool()>& condition, Seconds limit);
    void pause(Seconds duration);

    /// Begins and waits. A null result means that the time was up; the call was then cancelled.
    [[nodiscard]] GObjectPointer<GAsyncResult> await(const Start& start);
    [[nodiscard]] GObjectPointer<GAsyncResult> await(const Start& start, Seconds limit);

    [[nodiscard]] Seconds remaining() const;
    [[nodiscard]] bool isInterrupted() const { return m_interrupted.isSignalled(); }
    [[nodiscard]] bool isOver() const { return remaining() <= Seconds::zero() || isInterrupted(); }
    /// Gives what must be tidied up after the end so much time from now, whatever happened to the deadline.
    void grantForCleanup(Seconds duration);

private:
    using Moment = std::chrono::steady_clock::time_point;

    bool run(const std::function<bool()>& condition, Moment limit);

    MainContextPool& m_contexts;
    const InterruptEvent& m_interrupted;
    GlibPointer<GMainContext> m_context;
    GlibPointer<GSource> m_interruptWatch;
    const std::shared_ptr<int> m_unanswered = std::make_shared<int>(0); ///< calls begun that have not come back
    Moment m_deadline;
    bool m_heedsInterrupt = true;
};

} // namespace quorrel
