// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Subscription.h"

#include <algorithm>
#include <utility>

namespace quorrel {

bool CallbackGate::enter() {
    const std::lock_guard lock(m_mutex);
    if (m_closed)
        return false;
    m_inside.push_back(std::this_thread::get_id());
    return true;
}

void CallbackGate::leave() {
    bool last = false;
    {
        const std::lock_guard lock(m_mutex);
        m_inside.erase(std::find(m_inside.begin(), m_inside.end(), std::this_thread::get_id()));
        last = m_closed && m_inside.empty() && !std::exchange(m_discarded, true);
        m_left.notify_all();
    }
    if (last)
        discard();
}

void CallbackGate::close() {
    {
        std::unique_lock lock(m_mutex);
        m_closed = true;
        const auto self = std::this_thread::get_id();
        m_left.wait(
            lock, [&] { return std::all_of(m_inside.begin(), m_inside.end(), [&](auto id) { return id == self; }); });
        if (!m_inside.empty() || std::exchange(m_discarded, true))
            return;
    }
    discard();
}

bool CallbackGate::isClosed() const {
    const std::lock_guard lock(m_mutex);
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
