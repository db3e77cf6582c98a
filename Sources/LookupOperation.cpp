// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LookupOperation.h"

#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Sources/NSLookUp.h"
#include "Sources/SMBLookup.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

/// What is found out here is logged when it is used, as if it were found out only then.
class Nowhere final : public LogSink {
public:
    void write(std::string_view) override { }
    [[nodiscard]] long processIdentifier() const override { return 0; }
    [[nodiscard]] long threadIdentifier() const override { return 0; }
};

} // namespace

class LookupOperation::Recorder final : public ChildProcess {
public:
    Recorder(ChildProcess& tools, std::vector<Answer>& answers)
        : m_tools(tools)
        , m_answers(answers) { }

    [[nodiscard]] ChildProcessResult run(const std::string& path, const std::vector<std::string>& arguments) override {
        m_answers.push_back({ path, arguments, m_tools.run(path, arguments) });
        return m_answers.back().result;
    }

private:
    ChildProcess& m_tools;
    std::vector<Answer>& m_answers;
};

LookupOperation::LookupOperation(NameLookup lookup, ChildProcess& tools, std::function<void()> ended)
    : m_lookup(std::move(lookup))
    , m_tools(tools)
    , m_ended(std::move(ended)) { }

void LookupOperation::main() {
    std::exception_ptr failure;
    try {
        ask();
    } catch (...) {
        failure = std::current_exception();
    }
    m_isDone = true; // whoever waits must not do so for ever
    m_ended();
    if (failure)
        std::rethrow_exception(failure);
}

void LookupOperation::ask() {
    const Preferences preferences;
    const SystemClock clock;
    Nowhere nowhere;
    Log log(preferences, clock, nowhere);
    Recorder recorder(m_tools, m_answers);
    const bool isKnown = NSLookUp(recorder, log, m_lookup.nslookupPath).lookup(m_lookup.hostName);
    if (!isKnown && !m_lookup.nmblookupPath.empty())
        static_cast<void>(SMBLookup(recorder, log, m_lookup.nmblookupPath).lookup(m_lookup.hostName));
}

std::optional<ChildProcessResult> LookupOperation::answer(
    const std::string& path, const std::vector<std::string>& arguments) const {
    const auto found = std::find_if(m_answers.begin(), m_answers.end(),
        [&](const Answer& each) { return each.path == path && each.arguments == arguments; });
    return found == m_answers.end() ? std::nullopt : std::optional(found->result);
}

} // namespace quorrel
