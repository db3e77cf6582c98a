// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

/// The main thread's loop: it runs what is posted to the main-thread queue and every callback of the platform.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    /// Runs on the main thread until `quit`.
    virtual void run() = 0;
    /// Any thread.
    virtual void quit() = 0;
};

} // namespace quorrel
