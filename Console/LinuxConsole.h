// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Assembly/LinuxAssembly.h"
#include "Console/ConsoleEnvironment.h"
#include "Console/FileOutput.h"
#include "Console/TerminalPassword.h"

#include <string>

namespace quorrel {

/// Everything that quorrelctl is made of on this machine, put together. Made and destroyed on the main thread.
class LinuxConsole final {
public:
    /// The descriptors, which are borrowed, show results and messages to the user.
    LinuxConsole(const StandardPaths& paths, int output, int errors, const std::string& terminalType);

    [[nodiscard]] ConsoleEnvironment environment(const std::string& version);

private:
    LinuxAssembly m_assembly;
    FileOutput m_output;
    FileOutput m_errors;
    TerminalPassword m_prompt;
};

} // namespace quorrel
