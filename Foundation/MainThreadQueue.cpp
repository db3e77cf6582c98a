// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/MainThreadQueue.h"

#include <iterator>
#include <utility>

namespace quorrel {

MainThreadQueue::MainThreadQueue()
    : m_mainThread(std::this_thread::get_id()) { }

void MainThreadQueue::post(Task task) {
    Task waker;
    {
        const std::lock_guard lock(m_mutex);
        if (m_tasks.empty())
            waker = m_waker;
        m_tasks.push_back(std::move(task));
    }
    if (waker)
        waker();
}

void MainThreadQueue::setWaker(Task waker) {
    const std::lock_guard lock(m_mutex);
    m_waker = std::move(waker);
}

void MainThreadQueue::runPending() {
    std::deque<Task> tasks;
    {
        const std::lock_guard lock(m_mutex);
        tasks.swap(m_tasks);
    }
    try {
        while (!tasks.empty()) {
            const Task task = std::move(tasks.front());
            tasks.pop_front();
            task();
        }
    } catch (...) {
        putBack(std::move(tasks));
        throw;
    }
}

void MainThreadQueue::putBack(std::deque<Task> tasks) {
    Task waker;
    {
        const std::lock_guard lock(m_mutex);
        if (m_tasks.empty() && !tasks.empty())
            waker = m_waker;
        m_tasks.insert(m_tasks.begin(), std::make_move_iterator(tasks.begin()), std::make_move_iterator(tasks.end()));
    }
    if (waker)
        waker();
}

} // namespace quorrel
