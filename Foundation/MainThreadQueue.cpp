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
        const MutexLock lock(m_mutex);
        if (m_tasks.empty())
            waker = m_waker;
        m_tasks.push_back(std::move(task));
    }
    if (waker)
        waker();
}

void MainThreadQueue::setWaker(Task waker) {
    const MutexLock lock(m_mutex);
    m_waker = std::move(waker);
}

void MainThreadQueue::runPending() {
    if (m_pauses > 0)
        return;
    std::deque<Task> tasks;
    {
        const MutexLock lock(m_mutex);
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

MainThreadQueue::Pause::Pause(MainThreadQueue& queue)
    : m_queue(queue) {
    ++m_queue.m_pauses;
}

MainThreadQueue::Pause::~Pause() {
    if (--m_queue.m_pauses > 0)
        return;
    Task waker;
    {
        const MutexLock lock(m_queue.m_mutex);
        if (!m_queue.m_tasks.empty())
            waker = m_queue.m_waker;
    }
    if (waker)
        waker();
}

void MainThreadQueue::putBack(std::deque<Task> tasks) {
    Task waker;
    {
        const MutexLock lock(m_mutex);
        if (m_tasks.empty() && !tasks.empty())
            waker = m_waker;
        m_tasks.insert(m_tasks.begin(), std::make_move_iterator(tasks.begin()), std::make_move_iterator(tasks.end()));
    }
    if (waker)
        waker();
}

} // namespace quorrel
