// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Subscription.h"

#include <algorithm>
#include <utility>

namespace quorrel {

bool CallbackGate::enter() {
    const MutexLock lock(m_mutex);
    if (m_closed)
        return false;
    m_inside.push_back(std::this_thread::get_id());
    return true;
}

void CallbackGate::leave() {
    bool last = false;
    {
        const MutexLock lock(m_mutex);
        m_inside.erase(std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id()));
        last = m_closed && m_inside.empty() && !std::exchange(m_discarded, true);
        m_left.notifyAll();
    }
    if (last)
        discard();
}

void CallbackGate::close() {
    {
        MutexLock lock(m_mutex);
        m_closed = true;
        const auto isAnother = [self = std::this_thread::get_id()](auto id) { return id != self; };
        while (std::any_of(m_inside.begin(), m_inside.end(), isAnother))
            m_left.wait(lock);
        if (!m_inside.empty() || std::exchange(m_discarded, true))
            return;
    }
    discard();
}

bool CallbackGate::isClosed() const {
    const MutexLock lock(m_mutex);
    return m_closed;
}

Subscription::Subscription(std::shared_ptr<CallbackGate> gate)
    : m_gate(std::move(gate)) { }

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    if (this != &other) {
        cancel();
        m_gate = std::move(other.m_gate);
    }
    return *this;
}

Subscription::~Subscription() {
    cancel();
}

void Subscription::cancel() {
    if (const auto gate = std::exchange(m_gate, nullptr))
        gate->close();
}

} // namespace quorrel
