// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/KeeperEnvironment.h"
#include "Sources/ProgramEnvironment.h"

#include <string>

namespace quorrel {

class Output;
class PasswordPrompt;
class RemoteClient;
class RunLoop;

/// What the program needs of the world; all of it must outlive the program.
struct ConsoleEnvironment final : ProgramEnvironment {
    RunLoop& runLoop;
    Output& output; ///< results
    Output& errors; ///< what the user has to know besides
    PasswordPrompt& prompt;
    std::string homeDirectory;
    std::string logFile;
    std::string version;
    KeeperEnvironment keeper;
    RemoteClient* remote = nullptr; ///< to the program that keeps the catalogue; null where none is looked for
};

} // namespace quorrel
