// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

class Log;
class MainThreadQueue;
class NotificationCenter;
class Output;
class PasswordPrompt;
class Preferences;
class PropertyListFile;
class RunLoop;
class StringTable;
class Workspace;
struct MountEnvironment;
struct ResolverEnvironment;

/// What the program needs of the world; all of it must outlive the program.
struct ConsoleEnvironment final {
    MountEnvironment& mounting;
    ResolverEnvironment& resolving;
    Preferences& preferences;
    NotificationCenter& notificationCenter;
    PropertyListFile& propertyListFile;
    Workspace& workspace;
    const StringTable& strings;
    Log& log;
    MainThreadQueue& mainThreadQueue;
    RunLoop& runLoop;
    Output& output; ///< results
    Output& errors; ///< what the user has to know besides
    PasswordPrompt& prompt;
    std::string homeDirectory;
    std::string logFile;
    std::string version;
};

} // namespace quorrel
