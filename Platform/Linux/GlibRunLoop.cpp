// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GlibRunLoop.h"

#include <exception>
#include <utility>

#include <glib.h>

namespace quorrel {

namespace {

struct QueueSource final {
    GSource base;
    GlibRunLoop* loop;
};

} // namespace

GlibRunLoop::GlibRunLoop(MainThreadQueue& queue, std::function<void(std::string)> failed)
    : m_queue(queue)
    , m_failed(std::move(failed))
    , m_context(g_main_context_ref(g_main_context_default())) {
    static GSourceFuncs functions { nullptr, nullptr, &GlibRunLoop::dispatch, nullptr, nullptr, nullptr };
    m_source = g_source_new(&functions, sizeof(QueueSource));
    reinterpret_cast<QueueSource*>(m_source)->loop = this;
    g_source_set_static_name(m_source, "main-thread queue");
    g_source_set_ready_time(m_source, 0); // for what was posted before anybody listened
    g_source_attach(m_source, m_context);
    // A ready time may be set from any thread; it wakes the context.
    queue.setWaker([source = m_source] { g_source_set_ready_time(source, 0); });
}

GlibRunLoop::~GlibRunLoop() {
    m_queue.setWaker(nullptr);
    g_source_destroy(m_source);
    g_source_unref(m_source);
    g_main_context_unref(m_context);
}

int GlibRunLoop::dispatch(GSource* source, GSourceFunc, void*) {
    g_source_set_ready_time(source, -1);
    reinterpret_cast<QueueSource*>(source)->loop->runPending();
    return G_SOURCE_CONTINUE;
}

void GlibRunLoop::runPending() {
    try {
        m_queue.runPending();
    } catch (const std::exception& exception) {
        if (m_failed)
            m_failed(exception.what());
    } catch (...) {
        if (m_failed)
            m_failed("an exception of unknown type");
    }
}

void GlibRunLoop::run() {
    while (!m_isQuitting.exchange(false))
        g_main_context_iteration(m_context, true);
}

void GlibRunLoop::quit() {
    m_isQuitting = true;
    g_main_context_wakeup(m_context);
}

} // namespace quorrel
