// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/BoundedLoop.h"

#include <glib-unix.h>

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// In what time a cancelled call comes back, unless it never does.
constexpr Seconds comingBack { 0.25 };

SteadyClock::duration ticks(Seconds duration) {
    return std::chrono::duration_cast<SteadyClock::duration>(duration);
}

gboolean stay(gpointer /*unused*/) {
    return G_SOURCE_CONTINUE;
}

gboolean leave(gint /*descriptor*/, GIOCondition /*condition*/, gpointer /*unused*/) {
    return G_SOURCE_REMOVE;
}

} // namespace

BoundedLoop::BoundedLoop(MainContextPool& contexts, Seconds deadline, const InterruptEvent& interrupted)
    : m_contexts(contexts)
    , m_interrupted(interrupted)
    , m_context(contexts.take())
    , m_deadline(SteadyClock::now() + ticks(deadline)) {
    g_main_context_push_thread_default(m_context.get());
    if (interrupted.descriptor() < 0)
        return;
    m_interruptWatch.reset(g_unix_fd_source_new(interrupted.descriptor(), G_IO_IN));
    g_source_set_callback(m_interruptWatch.get(), G_SOURCE_FUNC(leave), nullptr, nullptr);
    g_source_attach(m_interruptWatch.get(), m_context.get());
}

BoundedLoop::~BoundedLoop() {
    // Cancelled calls answer through this context, a little later, and let go of what they hold only then.
    run([this] { return *m_unanswered == 0; }, SteadyClock::now() + ticks(comingBack));
    for (int turn = 0; turn < 50 && g_main_context_iteration(m_context.get(), FALSE); ++turn) { }
    m_interruptWatch.reset();
    g_main_context_pop_thread_default(m_context.get());
    m_contexts.giveBack(std::move(m_context));
}

BoundedLoop::Pending& BoundedLoop::Pending::operator=(Pending&& other) noexcept {
    cancel();
    m_answer = std::move(other.m_answer);
    m_cancellable = std::move(other.m_cancellable);
    return *this;
}

void BoundedLoop::Pending::cancel() {
    if (m_cancellable && !isDone())
        g_cancellable_cancel(m_cancellable.get());
    m_cancellable.reset();
    m_answer.reset();
}

BoundedLoop::Pending BoundedLoop::begin(const Start& start) {
    Pending pending;
    pending.m_answer = std::make_shared<Pending::Answer>();
    pending.m_cancellable.reset(g_cancellable_new());
    struct Holder final {
        std::shared_ptr<Pending::Answer> answer;
        std::shared_ptr<int> unanswered;
    };
    // A call that is never answered keeps its holder for ever: that is the price of never waiting for it.
    const auto answered = [](GObject*, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Holder> holder(static_cast<Holder*>(data));
        holder->answer->result.reset(G_ASYNC_RESULT(g_object_ref(result)));
        --*holder->unanswered;
    };
    ++*m_unanswered;
    start(pending.m_cancellable.get(), answered, new Holder { pending.m_answer, m_unanswered });
    return pending;
}

bool BoundedLoop::run(const std::function<bool()>& condition, Moment limit) {
    if (condition())
        return true;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - SteadyClock::now()).count();
    if (left <= 0)
        return false;
    const GlibPointer<GSource> alarm(g_timeout_source_new(static_cast<guint>(left)));
    g_source_set_callback(alarm.get(), stay, nullptr, nullptr);
    g_source_attach(alarm.get(), m_context.get());
    while (SteadyClock::now() < limit && !(m_heedsInterrupt && m_interrupted.isSignalled())) {
        g_main_context_iteration(m_context.get(), TRUE);
        if (condition())
            return true;
    }
    return false;
}

bool BoundedLoop::waitUntil(const std::function<bool()>& condition) {
    return run(condition, m_deadline);
}

bool BoundedLoop::waitUntil(const std::function<bool()>& condition, Seconds limit) {
    return run(condition, std::min(m_deadline, SteadyClock::now() + ticks(limit)));
}

void BoundedLoop::pause(Seconds duration) {
    waitUntil([] { return false; }, duration);
}

GObjectPointer<GAsyncResult> BoundedLoop::await(const Start& start) {
    return await(start, remaining());
}

GObjectPointer<GAsyncResult> BoundedLoop::await(const Start& start, Seconds limit) {
    auto pending = begin(start);
    if (!waitUntil([&] { return pending.isDone(); }, limit))
        return nullptr;
    // Cancelled now, a result that is there already would turn into an error when it is read.
    pending.m_cancellable.reset();
    return std::move(pending.m_answer->result);
}

Seconds BoundedLoop::remaining() const {
    return m_deadline - SteadyClock::now();
}

void BoundedLoop::grantForCleanup(Seconds duration) {
    m_deadline = SteadyClock::now() + ticks(duration);
    m_heedsInterrupt = false;
}

} // namespace quorrel
