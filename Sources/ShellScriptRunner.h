// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Platform/ChildProcess.h"

#include <string>

namespace quorrel {

/// Runs one program of the user's and logs what it prints. One thread, which it blocks until every writer has closed
/// the program's standard output.
class ShellScriptRunner final {
public:
    ShellScriptRunner(ChildProcess& childProcess, Log& log);

    /// The argument text reaches the script as one argument, or as none when it is empty. False when the script could
    /// not be started, with the reason in the log; how it ended is not told.
    [[nodiscard]] bool execute(const std::string& script, const std::string& arguments);

private:
    ChildProcess& m_childProcess;
    Log& m_log;
};

} // namespace quorrel
