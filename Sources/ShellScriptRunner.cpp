// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShellScriptRunner.h"

#include "Foundation/Text.h"

#include <vector>

namespace quorrel {

ShellScriptRunner::ShellScriptRunner(ChildProcess& childProcess, Log& log)
    : m_childProcess(childProcess)
    , m_log(log) { }

bool ShellScriptRunner::execute(const std::string& script, const std::string& arguments) {
    // One argument, blanks and all: whoever wants more of them writes a script that splits it.
    const auto list = arguments.empty() ? std::vector<std::string>() : std::vector { arguments };
    m_log.line("Running script: %@ %@", { script, arguments });
    const auto result = m_childProcess.run(script, list);
    if (!result.started) {
        m_log.line("The script %@ could not be started: %@", { script, result.failure });
        return false;
    }
    m_log.output("%@", Text::fromASCII(result.output));
    if (!result.failure.empty())
        m_log.line("The script %@: %@", { script, result.failure });
    return true;
}

} // namespace quorrel
