// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

class AddMountWindow;
class Application;
class MainWindow;
class PreferencesWindow;

/// The outlets of a program with windows; all of them must outlive the controller.
struct ControllerWindows final {
    Application& application;
    MainWindow& window;
    PreferencesWindow& preferences;
    AddMountWindow& addMountWindow;
};

} // namespace quorrel
