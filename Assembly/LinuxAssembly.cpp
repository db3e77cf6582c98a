// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assembly/LinuxAssembly.h"

#include "Platform/Linux/KeyFilePreferencesStore.h"

#include <memory>

namespace quorrel {

LinuxAssembly::LinuxAssembly(
    const StandardPaths& paths, const std::string& localeFolder, const std::string& iconsFolder)
    : m_paths(paths)
    , m_preferences(std::make_shared<KeyFilePreferencesStore>(paths.preferencesFile()))
    , m_log(m_preferences, m_clock, m_logSink)
    , m_strings(localeFolder)
    , m_runLoop(m_mainThreadQueue, [this](const std::string& what) { m_log.lineAlways("Task failed: %@", { what }); })
    , m_workspace({ paths.data, paths.temporary, iconsFolder, paths.systemBus })
    , m_volumes(m_log, m_preferences, { paths.home, paths.runtime.value_or(std::string()) })
    , m_mounting { m_volumes, m_childProcess, m_clock, m_log, m_strings }
    , m_lookupAhead(m_tools, m_mainThreadQueue)
    , m_resolving { .discovery = m_discovery, .childProcess = m_tools, .log = m_log, .ahead = &m_lookupAhead } { }

LinuxAssembly::~LinuxAssembly() {
    endTools(); // nothing below is to wait for them
}

ProgramEnvironment LinuxAssembly::environment() {
    return { m_mounting, m_resolving, m_preferences, m_notificationCenter, m_propertyListFile, m_workspace, m_strings,
        m_log, m_mainThreadQueue };
}

const DiscoveryEnvironment& LinuxAssembly::discovery() {
    if (!m_watching) {
        m_volumeWatch.emplace(
            LinuxVolumeWatch::Settings { m_paths.home, m_paths.runtime.value_or(std::string()), m_paths.sessionBus });
        m_watching.emplace(DiscoveryEnvironment { m_discovery, *m_volumeWatch, m_reachability, m_runLoop, m_tools,
            m_workspace, m_notificationCenter, m_log });
    }
    return *m_watching;
}

} // namespace quorrel
