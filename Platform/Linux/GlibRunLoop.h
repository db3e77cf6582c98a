// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Platform/RunLoop.h"

#include <atomic>
#include <functional>
#include <string>

struct _GMainContext;
struct _GSource;

namespace quorrel {

/// The main GLib context as the main thread's loop. It sleeps until something happens; nothing wakes it in between.
///
/// Made, run and destroyed on the main thread. What a posted task throws is handed to `failed` and goes no further.
class GlibRunLoop final : public RunLoop {
public:
    /// Installs itself as the queue's waker. The queue must outlive it.
    explicit GlibRunLoop(MainThreadQueue& queue, std::function<void(std::string what)> failed = {});
    GlibRunLoop(const GlibRunLoop&) = delete;
    GlibRunLoop& operator=(const GlibRunLoop&) = delete;
    ~GlibRunLoop() override;

    void run() override;
    /// One that comes before `run` ends the next run at once.
    void quit() override;

private:
    static int dispatch(_GSource* source, int (*callback)(void*), void* data);
    void runPending();

    MainThreadQueue& m_queue;
    const std::function<void(std::string)> m_failed;
    _GMainContext* const m_context;
    _GSource* m_source = nullptr;
    std::atomic<bool> m_isQuitting = false;
};

} // namespace quorrel
