// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Linux/RunningTools.h"

#include <memory>
#include <utility>

namespace quorrel {

/// Child processes of this one. Any thread; calls on several threads do not disturb one another.
///
/// A child starts with every signal at its default and unblocked, and with no open file of ours but the three standard
/// ones. One that closes its output and runs on is waited for by a thread of its own, so that it leaves no zombie.
class PosixChildProcess final : public ChildProcess {
public:
    /// With `tools`, each child is one of those while it runs.
    explicit PosixChildProcess(std::shared_ptr<RunningTools> tools = nullptr)
        : m_tools(std::move(tools)) { }

    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override;

private:
    const std::shared_ptr<RunningTools> m_tools;
};

} // namespace quorrel
