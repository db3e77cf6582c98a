// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/LinuxConsole.h"

#include "Platform/Linux/ResourcePaths.h"

namespace quorrel {

LinuxConsole::LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType)
    : m_assembly(paths, ResourcePaths::find().locale, {})
    , m_output(output, terminalType)
    , m_errors(errors, terminalType) { }

ConsoleEnvironment LinuxConsole::environment(const std::string& version) {
    const auto& paths = m_assembly.paths();
    return { m_assembly.environment(), m_assembly.runLoop(), m_output, m_errors, m_prompt, paths.home, paths.logFile(),
        version };
}

} // namespace quorrel
