// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"
#include "Platform/ChildProcess.h"
#include "Sources/NameLookup.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Asks the tools for one host's address on a worker, as a resolver does it but silently, and keeps what they said.
class LookupOperation final : public Operation {
public:
    /// The tools must outlive the operation. `ended` is called on the worker.
    LookupOperation(NameLookup lookup, ChildProcess& tools, std::function<void()> ended);

    void main() override;

    /// Whether nothing more is to come. Any thread.
    [[nodiscard]] bool isOver() const { return m_isDone || isCancelled(); }
    /// What the tool said when it was run so; absent where it was not.
    /// REQUIRES: it is over.
    [[nodiscard]] std::optional<ChildProcessResult> answer(
        const std::string& path, const std::vector<std::string>& arguments) const;

private:
    class Recorder;
    struct Answer final {
        std::string path;
        std::vector<std::string> arguments;
        ChildProcessResult result;
    };

    void ask();

    const NameLookup m_lookup;
    ChildProcess& m_tools;
    const std::function<void()> m_ended;
    std::vector<Answer> m_answers; // the worker's until it is done
    std::atomic<bool> m_isDone = false;
};

} // namespace quorrel
