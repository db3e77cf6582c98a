// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

class Log;
class MainThreadQueue;
class NotificationCenter;
class Preferences;
class PropertyListFile;
class SaveQueue;
class StringTable;
class Workspace;
struct MountEnvironment;
struct ResolverEnvironment;

/// The world that a program of ours lives in, whatever it shows to its user; all of it must outlive the program.
struct ProgramEnvironment {
    MountEnvironment& mounting;
    ResolverEnvironment& resolving;
    Preferences& preferences;
    NotificationCenter& notificationCenter;
    PropertyListFile& propertyListFile;
    Workspace& workspace;
    const StringTable& strings;
    Log& log;
    MainThreadQueue& mainThreadQueue;
    SaveQueue* saves = nullptr; ///< null: a save is over when it returns
};

} // namespace quorrel
