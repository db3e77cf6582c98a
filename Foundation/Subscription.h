// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ConditionVariable.h"

#include <memory>
#include <thread>
#include <vector>

namespace quorrel {

/// Guards one registered callback against being called after its subscription ended.
///
/// Any thread. `enter` and `leave` bracket a call; `close` returns once no other thread is inside, so that what the
/// callback refers to may be destroyed. A callback may close its own gate.
class CallbackGate {
public:
    virtual ~CallbackGate() = default;

    [[nodiscard]] bool enter();
    void leave();
    void close();
    [[nodiscard]] bool isClosed() const;

protected:
    /// Drops the callback. Called once, with no lock held, when the gate is closed and nobody is inside.
    virtual void discard() = 0;

private:
    mutable Mutex m_mutex;
    ConditionVariable m_left;
    std::vector<std::thread::id> m_inside GUARDED_BY(m_mutex);
    bool m_closed GUARDED_BY(m_mutex) = false;
    bool m_discarded GUARDED_BY(m_mutex) = false;
};

/// The owner of one observer's registration: unregisters in its destructor, waiting for a call that runs on another
/// thread, never for its own. It may outlive what it observes.
class [[nodiscard]] Subscription final {
public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<CallbackGate> gate);
    Subscription(Subscription&& other) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept;
    ~Subscription();

    void cancel();

private:
    std::shared_ptr<CallbackGate> m_gate;
};

} // namespace quorrel
