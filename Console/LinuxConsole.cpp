// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/LinuxConsole.h"

#include "Platform/Linux/FileVersion.h"
#include "Platform/Linux/ResourcePaths.h"

#include <unistd.h>

namespace quorrel {

LinuxConsole::LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType)
    : m_assembly(paths, ResourcePaths::find().locale, {})
    , m_output(output, terminalType)
    , m_errors(errors, terminalType)
    , m_keeperOutput(output)
    , m_keeperErrors(errors)
    , m_lock(paths.lockFile())
    , m_preferencesFile(paths.preferencesFile())
    , m_serviceManager(paths.serviceManager, m_assembly.environment().log)
    , m_control({ paths.sessionBus, getuid() })
    , m_remote(paths.sessionBus) { }

ConsoleEnvironment LinuxConsole::environment(
    const std::string& version, const std::function<std::string()>& beginAnew) {
    const auto& paths = m_assembly.paths();
    // On a terminal a hang-up means that the terminal is gone.
    const bool reloadsOnHangUp = isatty(STDIN_FILENO) != 1;
    const KeeperEnvironment keeper { m_lock, m_preferencesFile, m_serviceManager, m_keeperOutput, m_keeperErrors,
        fileVersion, beginAnew, reloadsOnHangUp,
        [this]() -> const DiscoveryEnvironment& { return m_assembly.discovery(); }, &m_control };
    return { m_assembly.environment(), m_assembly.runLoop(), m_output, m_errors, m_prompt, paths.home, paths.logFile(),
        version, keeper, &m_remote };
}

} // namespace quorrel
