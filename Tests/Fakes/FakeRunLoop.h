// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Platform/RunLoop.h"

#include <condition_variable>
#include <mutex>

namespace quorrel {

/// A run loop that runs nothing but the main-thread queue.
class FakeRunLoop final : public RunLoop {
public:
    /// Installs itself as the queue's waker. The queue must outlive it.
    explicit FakeRunLoop(MainThreadQueue& queue);
    ~FakeRunLoop() override;

    void run() override;
    void quit() override;

private:
    void wake();

    MainThreadQueue& m_queue;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isAwake = false;
    bool m_isQuitting = false;
};

} // namespace quorrel
