// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/DesktopProgram.h"

#include "Desktop/ActivationToken.h"
#include "Desktop/AlertBox.h"
#include "Desktop/X11EmbeddingTray.h"
#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/StringTable.h"
#include "Foundation/Text.h"
#include "Platform/CatalogueLock.h"
#include "Sources/AdoptionOperation.h"
#include "Sources/MountEnvironment.h"
#include "Sources/OperationsEnd.h"
#include "Sources/StatusBarItem.h"

#include <QApplication>
#include <QDBusConnection>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace quorrel {

namespace {

/// Within the time that a signal gives the program.
constexpr Seconds patienceAtEnd { 0.45 };

} // namespace

DesktopProgram::DesktopProgram(const ProgramEnvironment& world, const DiscoveryEnvironment* discovery,
    CatalogueLock& lock, LoginItems& loginItems, RemoteControl& remoteControl, const DesktopProgramOptions& options)
    : m_saveAlert(world.strings)
    , m_guard(world.propertyListFile, options.fileVersion, CatalogueGuard::OnEdited::KeepBeside,
          [this](const std::string& path) {
              m_world.log.lineAlways("The catalogue was changed by another program; that file is kept beside it.");
              m_saves.report([this, path] { m_saveAlert.showKept(path); });
          })
    , m_ahead(m_guard)
    , m_files(m_ahead,
          { [this](const std::string& path, const std::string& reason) {
               m_saves.report([this, path, reason] { m_saveAlert.show(path, reason); });
           },
              [this](const std::string&) { m_saves.report([this] { m_saveAlert.withdraw(); }); } })
    , m_saves(world.mainThreadQueue, world.log)
    , m_world { world.mounting, world.resolving, world.preferences, world.notificationCenter, m_files, world.workspace,
        world.strings, world.log, world.mainThreadQueue, &m_saves }
    , m_lock(lock)
    , m_application([this](const AboutPanelOptions& about) { m_aboutPanel.show(about); })
    , m_environment { m_application, world.strings, world.preferences, world.mainThreadQueue }
    , m_loginItem(loginItems, options.applicationPath)
    , m_instance(QDBusConnection::sessionBus())
    , m_trayHosts(QDBusConnection::sessionBus(), std::make_unique<X11EmbeddingTray>())
    , m_statusBar(m_trayHosts, m_application, m_images)
    , m_statusItem { m_statusBar, m_timers }
    , m_aboutPanel(m_environment, m_images)
    , m_window(m_environment, m_images)
    , m_preferences(m_environment, m_loginItem, options.logFile)
    , m_addMountDialog(m_environment, [this] { return m_window.widget(); })
    , m_passwordDialog(m_environment)
    , m_windows { m_application, m_window, m_preferences, m_addMountDialog }
    , m_controller(
          { m_world, m_passwordDialog, discovery, &m_statusItem, &m_windows, options.helpPage, options.version })
    , m_events(m_controller, m_controller.hosts, world.mainThreadQueue)
    , m_remote(m_controller, m_events, remoteControl, world.mainThreadQueue, world.strings, options.version)
    , m_action(options.action)
    , m_platformData(ActivationToken::platformData(options.activationToken, options.startupId)) {
    // Even the tray icon counts as a window, so none of the large sizes.
    QApplication::setWindowIcon(m_images.icon({ "quorrel.png", 16 }));
}

int DesktopProgram::run() {
    if (m_instance.launch(QString::fromStdString(m_action), m_platformData) == SingleInstance::Launch::Repeated)
        return 0;
    if (!takeLock())
        return QApplication::exec();
    QObject::connect(
        &m_instance, &SingleInstance::activated, [this](const QString& action, const QVariantMap& platformData) {
            whenLaunched([this, name = action.toStdString(), platformData] { activate(name, platformData); });
        });
    if (!m_action.empty())
        whenLaunched([this] { activate(m_action, m_platformData); });
    // A prompt that is open comes first.
    QObject::connect(&m_trayHosts, &TrayHostWatch::noneFound,
        [this] { whenLaunched([this] { m_world.mainThreadQueue.post([this] { showWindowWithoutTray(); }); }); });
    // The icon does not wait for a large catalogue.
    m_trayHosts.start();
    m_statusBar.prepareItem(StatusBarItem::image());
    m_ahead.begin(m_controller.catalogueFile(), [this] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [this] { launch(); }, Qt::QueuedConnection);
    });
    const int status = QApplication::exec();
    m_remote.end();
    m_controller.applicationWillTerminate();
    // Whether anything is left does not matter: the process ends without it.
    static_cast<void>(endOperations(m_controller.opQueue(), m_world.mounting.volumes, patienceAtEnd));
    m_saves.finish(savePatience);
    return status;
}

void DesktopProgram::launch() {
    m_controller.awakeFromNib();
    m_controller.applicationDidFinishLaunching();
    adoptMountedVolumes();
    m_remote.begin();
    m_isLaunched = true;
    for (const auto& task : std::exchange(m_afterLaunch, {}))
        task();
}

void DesktopProgram::activate(const std::string& action, const QVariantMap& platformData) {
    const ActivationToken token(platformData);
    if (action == "mount-all")
        m_application.perform("mountAllListItem", {});
    else if (action == "preferences")
        m_application.perform("showPreferences", {});
    else
        m_application.perform("showMountList", {});
}

void DesktopProgram::whenLaunched(std::function<void()> task) {
    if (m_isLaunched)
        task();
    else
        m_afterLaunch.push_back(std::move(task));
}

bool DesktopProgram::takeLock() {
    using Kind = CatalogueLock::Outcome::Kind;
    const auto lock = m_lock.take();
    if (lock.kind == Kind::Unavailable)
        m_world.log.lineAlways("The catalogue could not be locked: %@", { lock.reason });
    if (lock.kind != Kind::Refused)
        return true;
    const auto holder = lock.holder ? std::to_string(*lock.holder) : std::string();
    m_world.log.lineAlways("Quorrel is running already, as process %@.", { holder });
    const auto& strings = m_environment.strings;
    const auto message = lock.holder
        ? Text::filled(strings.text("Process %@ keeps your shares mounted, without a window. To use Quorrel here, end "
                                    "it first: with kill %@ in a terminal or, if it is a service, with systemctl "
                                    "--user stop quorrelctl-watch."),
            { holder, holder })
        : strings.text("Another program keeps your shares mounted. To use Quorrel here, end it first.");
    auto* alert = new AlertBox(nullptr, QMessageBox::Warning, strings.text("Quorrel is running already"), message);
    alert->addButton(QString::fromStdString(strings.text("OK")), QMessageBox::AcceptRole);
    QObject::connect(alert, &QMessageBox::finished, [] { QCoreApplication::exit(EXIT_FAILURE); });
    alert->open();
    return false;
}

void DesktopProgram::adoptMountedVolumes() {
    m_controller.opQueue().addOperation(
        std::make_shared<AdoptionOperation>(m_controller.hosts.snapshot(), m_world.mounting.volumes,
            [this] { m_world.mainThreadQueue.post([this] { m_controller.makeFavroitesMenu(); }); }));
}

void DesktopProgram::quit() {
    // Not through the main-thread queue, which rests while a prompt is open.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [this] {
            if (m_isLaunched)
                m_application.perform("terminate", {});
            else
                m_application.terminate();
        },
        Qt::QueuedConnection);
}

bool DesktopProgram::waitUntilSaved() {
    const bool isSaving = m_saves.isSaving();
    m_saves.waitUntilSaved(savePatience);
    return isSaving;
}

void DesktopProgram::showWindowWithoutTray() {
    m_controller.showMountList();
    m_window.showNotice(m_environment.strings.text("There is no tray"),
        m_environment.strings.text("This desktop has no place for Quorrel's icon. Quorrel goes on without it: start it "
                                   "again to get its window back."));
}

} // namespace quorrel
