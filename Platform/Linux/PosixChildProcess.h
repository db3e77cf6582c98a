// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"

#include <mutex>
#include <set>

#include <sys/types.h>

namespace quorrel {

/// Child processes of this one. Any thread; calls on several threads do not disturb one another.
///
/// A child starts with every signal at its default and unblocked, and with no open file of ours but the three standard
/// ones. One that closes its output and runs on is waited for by a thread of its own, so that it leaves no zombie.
class PosixChildProcess final : public ChildProcess {
public:
    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override;

    /// Ends the children that run, and each that is still started, with SIGTERM: for a program that is about to end
    /// and has no use for what they find out. Waits for nothing.
    void endAll();

private:
    void began(pid_t child);
    void ended(pid_t child);

    std::mutex m_mutex;
    std::set<pid_t> m_children; // not reaped yet, so that their numbers are still theirs
    bool m_isEnding = false;
};

} // namespace quorrel
