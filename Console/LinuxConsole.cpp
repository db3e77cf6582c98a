// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/LinuxConsole.h"

#include "Platform/Linux/KeyFilePreferencesStore.h"

#include <memory>

namespace quorrel {

LinuxConsole::LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType)
    : m_paths(paths)
    , m_output(output, terminalType)
    , m_errors(errors, terminalType)
    , m_preferences(std::make_shared<KeyFilePreferencesStore>(paths.preferencesFile()))
    , m_log(m_preferences, m_clock, m_logSink)
    , m_strings(QUORREL_LOCALE_FOLDER)
    , m_runLoop(m_mainThreadQueue, [this](const std::string& what) { m_log.lineAlways("Task failed: %@", { what }); })
    , m_workspace({ paths.data, paths.temporary, {}, paths.systemBus })
    , m_volumes(m_log, m_preferences, { paths.home, paths.runtime.value_or(std::string()) })
    , m_mounting { m_volumes, m_childProcess, m_clock, m_log, m_strings }
    , m_resolving { m_discovery, m_childProcess, m_log } { }

ConsoleEnvironment LinuxConsole::environment(const std::string& version) {
    return { m_mounting, m_resolving, m_preferences, m_notificationCenter, m_propertyListFile, m_workspace, m_strings,
        m_log, m_mainThreadQueue, m_runLoop, m_output, m_errors, m_prompt, m_paths.home, m_paths.logFile(), version };
}

} // namespace quorrel
