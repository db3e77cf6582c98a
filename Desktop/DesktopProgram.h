// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/AboutPanel.h"
#include "Desktop/AddMountDialog.h"
#include "Desktop/CatalogueWindow.h"
#include "Desktop/DesktopApplication.h"
#include "Desktop/DesktopEnvironment.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/PasswordDialog.h"
#include "Desktop/PreferencesDialog.h"
#include "Desktop/QtStatusBar.h"
#include "Desktop/QtTimers.h"
#include "Desktop/SaveAlert.h"
#include "Desktop/SingleInstance.h"
#include "Desktop/TrayHostWatch.h"
#include "Sources/CatalogueGuard.h"
#include "Sources/ControllerWindows.h"
#include "Sources/LoginItem.h"
#include "Sources/ProgramEnvironment.h"
#include "Sources/PropertyListAhead.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/RemoteCommands.h"
#include "Sources/SaveQueue.h"
#include "Sources/SaveReport.h"
#include "Sources/ShareEvents.h"
#include "Sources/StatusBarEnvironment.h"

#include <QVariantMap>

#include <functional>
#include <string>
#include <vector>

namespace quorrel {

class CatalogueLock;
class LoginItems;
class RemoteControl;
struct DiscoveryEnvironment;

/// What the desktop program is told by its entry point.
struct DesktopProgramOptions final {
    std::string applicationPath; ///< what a login item is to start
    std::string helpPage; ///< a URL
    std::string logFile;
    std::string version;
    CatalogueGuard::Version fileVersion;
    std::string action {}; ///< what it was started for, by an action's name in the desktop entry
    std::string activationToken {}; ///< of the user's wish that started it, as the desktop hands it over
    std::string startupId {}; ///< likewise
};

/// The program on a desktop: the controller with its windows and its status item. Main thread, with a QApplication.
class DesktopProgram final {
public:
    /// All of it must outlive the program. Without a discovery it neither browses nor watches anything.
    DesktopProgram(const ProgramEnvironment& world, const DiscoveryEnvironment* discovery, CatalogueLock& lock,
        LoginItems& loginItems, RemoteControl& remoteControl, const DesktopProgramOptions& options);

    /// Until the user quits; at once in a second launch, which hands its wish to the first. Where another program
    /// keeps the catalogue, it says so and does nothing else: the result is 1 then.
    int run();

    /// Makes `run` return soon. Any thread.
    void quit();

    /// Blocks while the catalogue is being saved, for some seconds at most; whether it was. Any thread.
    bool waitUntilSaved();

private:
    /// Whether the catalogue is ours to keep; the user reads why not.
    [[nodiscard]] bool takeLock();
    /// The rest of the start, as soon as the catalogue's file has been read.
    void launch();
    /// Now, or when that has happened.
    void whenLaunched(std::function<void()> task);
    /// What an earlier run left mounted shows as such.
    void adoptMountedVolumes();
    void showWindowWithoutTray();
    /// What the desktop, or another launch, asks for.
    void activate(const std::string& action, const QVariantMap& platformData);

    SaveAlert m_saveAlert;
    CatalogueGuard m_guard;
    PropertyListAhead m_ahead;
    SaveReport m_files;
    SaveQueue m_saves;
    const ProgramEnvironment m_world;
    CatalogueLock& m_lock;
    DesktopApplication m_application;
    const DesktopEnvironment m_environment;
    LoginItem m_loginItem;
    ImageLoader m_images;
    SingleInstance m_instance;
    TrayHostWatch m_trayHosts;
    QtStatusBar m_statusBar;
    QtTimers m_timers;
    const StatusBarEnvironment m_statusItem;
    AboutPanel m_aboutPanel;
    CatalogueWindow m_window;
    PreferencesDialog m_preferences;
    AddMountDialog m_addMountDialog;
    PasswordDialog m_passwordDialog;
    ControllerWindows m_windows;
    QuorrelAppDelegate m_controller;
    ShareEvents m_events;
    RemoteCommands m_remote;
    const std::string m_action;
    const QVariantMap m_platformData;
    bool m_isLaunched = false;
    std::vector<std::function<void()>> m_afterLaunch;
};

} // namespace quorrel
