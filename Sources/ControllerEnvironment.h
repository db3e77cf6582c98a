// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ProgramEnvironment.h"

#include <string>

namespace quorrel {

class ControllerParts;
class PasswordWindow;
struct ControllerWindows;

/// What the controller needs of the world; all of it must outlive the controller.
struct ControllerEnvironment final : ProgramEnvironment {
    ControllerParts& parts;
    PasswordWindow& passwordWindow;
    ControllerWindows* windows = nullptr; ///< null for a program without windows
    std::string helpPage {}; ///< a URL; empty for a program without one
    std::string version {};
};

} // namespace quorrel
