// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <sys/types.h>

namespace quorrel {

/// Whether the process is there no more, not even as a zombie, within ten seconds.
[[nodiscard]] inline bool isGone(pid_t process) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        if (::kill(process, 0) != 0 && errno == ESRCH)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

} // namespace quorrel
