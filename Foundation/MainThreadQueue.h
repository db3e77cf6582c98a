// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"

#include <deque>
#include <functional>
#include <thread>

namespace quorrel {

/// The one hand-over to the main thread. Any thread posts; the main thread runs what was posted, in order.
class MainThreadQueue final {
public:
    using Task = std::function<void()>;

    /// REQUIRES: made on the main thread.
    MainThreadQueue();
    MainThreadQueue(const MainThreadQueue&) = delete;
    MainThreadQueue& operator=(const MainThreadQueue&) = delete;

    void post(Task task);

    /// What the run loop installs to be woken; called on the posting thread with no lock held, for the first task of
    /// a batch. Set it before other threads post.
    void setWaker(Task waker);

    /// Runs what is there now, on the main thread; tasks posted meanwhile wait for the next turn. What a task throws
    /// leaves this call, and the tasks behind it wait for the next turn.
    void runPending();

    /// While one exists, `runPending` leaves everything where it is; the last one's end wakes the run loop for it. For
    /// an event loop within a task, as a modal window has one. Main thread.
    class Pause final {
    public:
        explicit Pause(MainThreadQueue& queue);
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause();

    private:
        MainThreadQueue& m_queue;
    };

    [[nodiscard]] bool isMainThread() const { return std::this_thread::get_id() == m_mainThread; }

private:
    void putBack(std::deque<Task> tasks);

    const std::thread::id m_mainThread;
    int m_pauses = 0; // main thread only
    Mutex m_mutex;
    std::deque<Task> m_tasks GUARDED_BY(m_mutex);
    Task m_waker GUARDED_BY(m_mutex);
};

} // namespace quorrel
