// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <functional>
#include <mutex>
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

    [[nodiscard]] bool isMainThread() const { return std::this_thread::get_id() == m_mainThread; }

private:
    void putBack(std::deque<Task> tasks);

    const std::thread::id m_mainThread;
    std::mutex m_mutex;
    std::deque<Task> m_tasks;
    Task m_waker;
};

} // namespace quorrel
