// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Assembly/LinuxAssembly.h"
#include "Console/BufferedOutput.h"
#include "Console/ConsoleEnvironment.h"
#include "Console/FileOutput.h"
#include "Console/TerminalPassword.h"
#include "Platform/Linux/FlockCatalogueLock.h"
#include "Platform/Linux/InotifyFileWatch.h"
#include "Platform/Linux/LinuxRemoteClient.h"
#include "Platform/Linux/LinuxRemoteControl.h"
#include "Platform/Linux/NotifySocket.h"

#include <functional>
#include <string>

namespace quorrel {

/// Everything that quorrelctl is made of on this machine, put together. Made and destroyed on the main thread.
class LinuxConsole final {
public:
    /// The descriptors, which are borrowed, show results and messages to the user.
    LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType);

    /// `beginAnew` is what a keeper of shares reloads with.
    [[nodiscard]] ConsoleEnvironment environment(
        const std::string& version, const std::function<std::string()>& beginAnew);

    /// Ends the tools that look up names: right before the process ends. Any thread.
    void endTools() { m_assembly.endTools(); }

private:
    LinuxAssembly m_assembly;
    FileOutput m_output;
    FileOutput m_errors;
    BufferedOutput m_keeperOutput;
    BufferedOutput m_keeperErrors;
    TerminalPassword m_prompt;
    FlockCatalogueLock m_lock;
    InotifyFileWatch m_preferencesFile;
    NotifySocket m_serviceManager;
    LinuxRemoteControl m_control;
    LinuxRemoteClient m_remote;
};

} // namespace quorrel
