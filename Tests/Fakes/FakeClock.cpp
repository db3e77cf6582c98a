// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeClock.h"

#include "Foundation/WakeSignal.h"

#include <algorithm>
#include <utility>

namespace quorrel {

FakeClock::FakeClock(Mode mode)
    : m_mode(mode) { }

Clock::Time FakeClock::now() const {
    // 2026-11-21 10:11:12.345 UTC
    const Time start { std::chrono::milliseconds(1795255872345) };
    return start + std::chrono::duration_cast<Time::duration>(elapsed());
}

Seconds FakeClock::sleep(Seconds duration, WakeSignal* wake) {
    if (duration <= Seconds::zero())
        return Seconds::zero();
    const auto start = elapsed();
    if (m_mode == Mode::AdvancesItself) {
        {
            const std::lock_guard lock(m_mutex);
            m_sleeps.push_back(duration);
        }
        moveTo(start + duration, wake);
        return elapsed() - start;
    }
    std::unique_lock lock(m_mutex);
    m_sleeps.push_back(duration);
    ++m_sleepers;
    m_changed.notify_all();
    while (m_elapsed < start + duration && !(wake && wake->isSignalled()))
        m_changed.wait_for(lock, std::chrono::milliseconds(5)); // a signal has no way to reach this condition
    --m_sleepers;
    return m_elapsed - start;
}

void FakeClock::at(Seconds sinceStart, std::function<void()> action) {
    const std::lock_guard lock(m_mutex);
    m_actions.emplace(sinceStart, std::move(action));
}

void FakeClock::advance(Seconds duration) {
    moveTo(elapsed() + duration, nullptr);
}

void FakeClock::moveTo(Seconds target, const WakeSignal* wake) {
    for (;;) {
        std::function<void()> action;
        {
            const std::lock_guard lock(m_mutex);
            if (wake && wake->isSignalled())
                return;
            const auto next = m_actions.begin();
            if (next == m_actions.end() || next->first > target) {
                m_elapsed = std::max(m_elapsed, target);
                m_changed.notify_all();
                return;
            }
            m_elapsed = std::max(m_elapsed, next->first);
            action = std::move(next->second);
            m_actions.erase(next);
            m_changed.notify_all();
        }
        action();
    }
}

Seconds FakeClock::elapsed() const {
    const std::lock_guard lock(m_mutex);
    return m_elapsed;
}

std::vector<Seconds> FakeClock::sleeps() const {
    const std::lock_guard lock(m_mutex);
    return m_sleeps;
}

bool FakeClock::waitForSleepers(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_sleepers >= count; });
}

} // namespace quorrel
