// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>

#include <sys/types.h>

namespace quorrel {

/// Whether that comes true within ten seconds.
template <typename Condition>
[[nodiscard]] bool comesTrue(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

/// Whether the process is there no more, not even as a zombie, within ten seconds.
[[nodiscard]] inline bool isGone(pid_t process) {
    return comesTrue([&] { return ::kill(process, 0) != 0 && errno == ESRCH; });
}

/// Likewise, but a zombie will do: who reaps somebody else's child, and when, is not ours to say.
[[nodiscard]] inline bool hasStopped(pid_t process) {
    return comesTrue([&] {
        std::string line;
        std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), line);
        return line.empty() || line.find(") Z ") != std::string::npos;
    });
}

} // namespace quorrel
