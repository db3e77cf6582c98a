// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace quorrel {

/// Programs that never run: scripted output and failure per path, and a record of what was asked for. Any thread.
class FakeChildProcess final : public ChildProcess {
public:
    struct Call final {
        std::string path;
        std::vector<std::string> arguments;

        friend bool operator==(const Call&, const Call&) = default;
    };
    using Responder = std::function<ChildProcessResult(const Call& call)>;

    /// A path that nothing was scripted for cannot be started.
    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override;

    void setOutput(const std::string& path, std::string output);
    void setFailure(const std::string& path, std::string reason);
    /// Answers for that path on the calling thread; it may block, to stand for a program that hangs.
    void setResponder(const std::string& path, Responder responder);

    [[nodiscard]] std::vector<Call> calls() const;

private:
    mutable std::mutex m_mutex;
    std::map<std::string, Responder> m_responders;
    std::vector<Call> m_calls;
};

} // namespace quorrel
