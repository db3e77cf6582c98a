// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeRunLoop.h"

#include <utility>

namespace quorrel {

FakeRunLoop::FakeRunLoop(MainThreadQueue& queue)
    : m_queue(queue) {
    queue.setWaker([this] { wake(); });
}

FakeRunLoop::~FakeRunLoop() {
    m_queue.setWaker(nullptr);
}

void FakeRunLoop::run() {
    m_queue.runPending(); // posted before anybody listened
    for (;;) {
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_isAwake || m_isQuitting; });
            m_isAwake = false;
            if (std::exchange(m_isQuitting, false))
                return;
        }
        m_queue.runPending();
    }
}

void FakeRunLoop::quit() {
    const std::lock_guard lock(m_mutex);
    m_isQuitting = true;
    m_changed.notify_all();
}

void FakeRunLoop::wake() {
    const std::lock_guard lock(m_mutex);
    m_isAwake = true;
    m_changed.notify_all();
}

} // namespace quorrel
