// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ProgramEnvironment.h"

#include <string>

namespace quorrel {

class PasswordWindow;
struct ControllerWindows;
struct DiscoveryEnvironment;
struct StatusBarEnvironment;

/// What the controller needs of the world; all of it must outlive the controller.
struct ControllerEnvironment final : ProgramEnvironment {
    PasswordWindow& passwordWindow;
    const DiscoveryEnvironment* discovery = nullptr; ///< null: it neither browses nor scans nor watches anything
    const StatusBarEnvironment* statusBar = nullptr; ///< null: it has no status item, and builds no menus
    ControllerWindows* windows = nullptr; ///< null for a program without windows
    std::string helpPage {}; ///< a URL; empty for a program without one
    std::string version {};
};

} // namespace quorrel
