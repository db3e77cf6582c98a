// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>

#include <sys/types.h>

namespace quorrel {

/// A process that saves numbered catalogues one after another until it is killed, at the latest with this object.
class SavingProcess final {
public:
    SavingProcess(const std::string& file, const std::string& name, int first, int last);
    SavingProcess(const SavingProcess&) = delete;
    SavingProcess& operator=(const SavingProcess&) = delete;
    ~SavingProcess();

    /// Waits until that one is saved; whether it came.
    [[nodiscard]] bool hasSaved(int number);
    /// Kills it that long from now, unless it ends first.
    void killAfter(std::chrono::microseconds time);
    /// Waits for it to end by itself: its exit status, if it had one.
    [[nodiscard]] std::optional<int> exitStatus();
    /// The last one that it said it had saved, once it has ended.
    [[nodiscard]] int lastSaved();

private:
    /// Takes in what it has said; false at the end, or if nothing comes for long.
    bool listen();
    void kill();

    pid_t m_process = -1;
    FileDescriptor m_output;
    std::string m_line;
    int m_lastSaved = 0;
};

} // namespace quorrel
