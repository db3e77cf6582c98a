// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Linux/RunningTools.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>

namespace quorrel {

/// How long a program may take until its output ends, and how many bytes it may print.
struct ProgramBounds final {
    std::chrono::milliseconds time;
    std::size_t output;
};

/// Child processes of this one. Any thread; calls on several threads do not disturb one another.
///
/// A child starts with every signal at its default and unblocked, and with no open file of ours but the three standard
/// ones. One that closes its output and runs on is waited for by a thread of its own, so that it leaves no zombie.
class PosixChildProcess final : public ChildProcess {
public:
    /// With `tools`, each child is one of those while it runs. With bounds it has a process group of its own, which is
    /// asked to end when a bound is passed, and killed a moment later. One without bounds is waited for to the end of
    /// its output, of which the first 16 MiB are kept.
    explicit PosixChildProcess(
        std::shared_ptr<RunningTools> tools = nullptr, std::optional<ProgramBounds> bounds = std::nullopt);

    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override;

private:
    const std::shared_ptr<RunningTools> m_tools;
    const std::optional<ProgramBounds> m_bounds;
};

} // namespace quorrel
