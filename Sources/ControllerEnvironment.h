// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

class ControllerParts;
class Log;
class MainThreadQueue;
class NotificationCenter;
class PasswordWindow;
class Preferences;
class PropertyListFile;
class StringTable;
class Workspace;
struct ControllerWindows;
struct MountEnvironment;
struct ResolverEnvironment;

/// What the controller needs of the world; all of it must outlive the controller.
struct ControllerEnvironment final {
    MountEnvironment& mounting;
    ResolverEnvironment& resolving;
    Preferences& preferences;
    NotificationCenter& notificationCenter;
    PropertyListFile& propertyListFile;
    Workspace& workspace;
    const StringTable& strings;
    Log& log;
    MainThreadQueue& mainThreadQueue;
    ControllerParts& parts;
    PasswordWindow& passwordWindow;
    ControllerWindows* windows = nullptr; ///< null for a program without windows
};

} // namespace quorrel
