// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace quorrel {

/// A program to be started. It gets every signal at its default and unblocked, and no open file of ours but the three
/// standard ones. Any thread.
class SpawnedProcess final {
public:
    /// A program without a slash in its name is searched for in PATH by `startDetached` alone.
    SpawnedProcess(std::string program, std::vector<std::string> arguments);

    enum class Group { Ours, Own };
    /// With that file for its standard output. Returns an error number, 0 when it runs; the caller reaps it.
    [[nodiscard]] int start(int output, Group group = Group::Ours);
    /// In a session of its own, without any input and output, so that it outlives us and nothing aimed at us meets it.
    /// It is reaped whenever it ends. Returns an error number, 0 when it runs.
    [[nodiscard]] int startDetached();

    [[nodiscard]] pid_t identifier() const { return m_child; }

    /// Returns at once; what still runs is waited for by a thread of its own, so that it leaves no zombie.
    void reap() const;
    /// Does so for the children that the calling thread has already, as those of a program that this one replaced.
    static void reapInherited();

private:
    std::vector<std::string> m_words; // the program, then its arguments
    pid_t m_child = 0;
};

} // namespace quorrel
