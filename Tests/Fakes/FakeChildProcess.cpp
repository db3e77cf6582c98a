// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeChildProcess.h"

#include <utility>

namespace quorrel {

ChildProcessResult FakeChildProcess::run(const std::string& path, const std::vector<std::string>& arguments) {
    const Call call { path, arguments };
    Responder responder;
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(call);
        if (const auto found = m_responders.find(path); found != m_responders.end())
            responder = found->second;
    }
    return responder ? responder(call) : ChildProcessResult { false, "No such file or directory", {} };
}

void FakeChildProcess::setOutput(const std::string& path, std::string output) {
    setResponder(path, [text = std::move(output)](const Call&) { return ChildProcessResult { true, {}, text }; });
}

void FakeChildProcess::setFailure(const std::string& path, std::string reason) {
    setResponder(path, [text = std::move(reason)](const Call&) { return ChildProcessResult { false, text, {} }; });
}

void FakeChildProcess::setResponder(const std::string& path, Responder responder) {
    const std::lock_guard lock(m_mutex);
    m_responders[path] = std::move(responder);
}

std::vector<FakeChildProcess::Call> FakeChildProcess::calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

} // namespace quorrel
