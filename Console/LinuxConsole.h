// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ConsoleEnvironment.h"
#include "Console/FileOutput.h"
#include "Console/TerminalPassword.h"
#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Preferences.h"
#include "Foundation/SystemClock.h"
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Platform/Linux/GettextStringTable.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Platform/Linux/LinuxVolumeService.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Platform/Linux/StandardErrorLogSink.h"
#include "Platform/Linux/StandardPaths.h"
#include "Sources/BonjourResolver.h"
#include "Sources/MountEnvironment.h"

#include <string>

namespace quorrel {

/// Everything that quorrelctl is made of on this machine, put together. Made and destroyed on the main thread.
class LinuxConsole final {
public:
    /// The descriptors, which are borrowed, show results and messages to the user.
    LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType);

    [[nodiscard]] ConsoleEnvironment environment(const std::string& version);

private:
    const StandardPaths m_paths;
    FileOutput m_output;
    FileOutput m_errors;
    TerminalPassword m_prompt;
    SystemClock m_clock;
    Preferences m_preferences;
    StandardErrorLogSink m_logSink;
    Log m_log;
    GettextStringTable m_strings;
    MainThreadQueue m_mainThreadQueue;
    GlibRunLoop m_runLoop;
    NotificationCenter m_notificationCenter;
    PlistFile m_propertyListFile;
    LinuxWorkspace m_workspace;
    PosixChildProcess m_childProcess;
    LinuxVolumeService m_volumes;
    AvahiServiceDiscovery m_discovery;
    MountEnvironment m_mounting;
    ResolverEnvironment m_resolving;
};

} // namespace quorrel
