// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeTimers.h"

#include <algorithm>
#include <utility>

namespace quorrel {

class FakeTimers::FakeTimer final : public Timer {
public:
    explicit FakeTimer(std::shared_ptr<State> state)
        : m_state(std::move(state)) { }
    ~FakeTimer() override { m_state->isValid = m_state->isThere = false; }
    void invalidate() override { m_state->isValid = false; }
    [[nodiscard]] bool isValid() const override { return m_state->isValid; }

private:
    const std::shared_ptr<State> m_state;
};

std::unique_ptr<Timer> FakeTimers::scheduleRepeating(Seconds interval, std::function<void()> action) {
    m_intervals.push_back(interval);
    m_states.push_back(std::make_shared<State>(State { std::move(action) }));
    m_mostValidTimers = std::max(m_mostValidTimers, validTimers());
    return std::make_unique<FakeTimer>(m_states.back());
}

void FakeTimers::fire() {
    const auto states = m_states; // an action may schedule
    for (const auto& state : states)
        if (state->isValid)
            state->action();
}

std::size_t FakeTimers::validTimers() const {
    return static_cast<std::size_t>(
        std::count_if(m_states.begin(), m_states.end(), [](const auto& state) { return state->isValid; }));
}

std::size_t FakeTimers::timers() const {
    return static_cast<std::size_t>(
        std::count_if(m_states.begin(), m_states.end(), [](const auto& state) { return state->isThere; }));
}

} // namespace quorrel
