// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace quorrel {

/// Turns the signals that end a program (interrupt, terminate, hang-up) into a call on a thread of its own, where
/// everything may be done, also while the main thread is blocked.
///
/// REQUIRES: made before any other thread, so that all of them leave these signals to this one.
class SignalWatch final {
public:
    /// Called for one signal after the other.
    using Handler = std::function<void(int signal)>;

    explicit SignalWatch(Handler handler);
    /// Waits for a handler that runs.
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Ends the watch, waiting for a handler that runs, and leaves the signals that come from now on to the program
    /// that is to take this one's place in the process.
    void leaveToSuccessor();

private:
    void watch();
    /// Whether the thread is gone.
    bool endThread();

    const Handler m_handler;
    sigset_t m_before {};
    int m_signals = -1;
    int m_end = -1;
    std::atomic<bool> m_isLeaving = false;
    std::thread m_thread;
};

} // namespace quorrel
