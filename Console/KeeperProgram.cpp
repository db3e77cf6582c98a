// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/KeeperProgram.h"

#include "Console/CatalogueCheck.h"
#include "Console/DisplayText.h"
#include "Console/InterruptGuard.h"
#include "Console/KeeperPasswordWindow.h"
#include "Console/Output.h"
#include "Console/PasswordFile.h"
#include "Console/ShareReport.h"
#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Platform/CatalogueLock.h"
#include "Platform/FileWatch.h"
#include "Platform/RunLoop.h"
#include "Platform/ServiceManager.h"
#include "Sources/AdoptionOperation.h"
#include "Sources/CatalogueGuard.h"
#include "Sources/MountEnvironment.h"
#include "Sources/OperationsEnd.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/RemoteCommands.h"
#include "Sources/SaveReport.h"
#include "Sources/ShareEvents.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <utility>

namespace quorrel {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitNotKeeping = 1;

} // namespace

KeeperProgram::KeeperProgram(const ConsoleEnvironment& environment, InterruptGuard& guard)
    : m_world(environment)
    , m_guard(guard)
    , m_saves(environment.mainThreadQueue, environment.log) { }

int KeeperProgram::run(std::optional<std::string> password, const std::optional<std::string>& passwordFile) {
    m_passwordFile = passwordFile;
    const int status = takeLock() ? keep(std::move(password)) : exitNotKeeping;
    m_hasEnded.signal();
    return status;
}

bool KeeperProgram::takeLock() const {
    using Kind = CatalogueLock::Outcome::Kind;
    const auto lock = m_world.keeper.lock.take();
    if (lock.kind == Kind::Unavailable)
        m_world.log.lineAlways("The catalogue could not be locked: %@", { lock.reason });
    if (lock.kind != Kind::Refused)
        return true;
    say("Quorrel is running already" + (lock.holder ? ", as process " + std::to_string(*lock.holder) : std::string()));
    return false;
}

int KeeperProgram::keep(std::optional<std::string> password) {
    const auto& world = m_world;
    SaveReport saves(world.propertyListFile,
        { [this](const std::string& path, const std::string& reason) {
             sayOfSave("the catalogue " + DisplayText::printable(path)
                 + " cannot be saved: " + DisplayText::printable(reason) + "; it is tried again with the next change");
         },
            [this](const std::string& path) {
                sayOfSave("the catalogue " + DisplayText::printable(path) + " is saved again");
            } });
    CatalogueGuard files(saves, world.keeper.fileVersion, CatalogueGuard::OnEdited::Refuse, [this](const std::string&) {
        m_world.log.lineAlways("The catalogue was changed by another program; it is read anew instead of saved.");
        askForReload();
    });
    KeeperPasswordWindow passwordWindow(std::move(password), world.keeper.errors);
    const ProgramEnvironment program { world.mounting, world.resolving, world.preferences, world.notificationCenter,
        files, world.workspace, world.strings, world.log, world.mainThreadQueue, &m_saves };
    const auto* discovery = world.keeper.discovery ? &world.keeper.discovery() : nullptr;
    QuorrelAppDelegate controller({ program, passwordWindow, discovery });
    if (const auto complaint
        = CatalogueCheck::complaint(world.propertyListFile, controller.applicationSupportFolder())) {
        say(*complaint);
        return exitNotKeeping;
    }
    m_guard.guard(controller.opQueue());
    controller.awakeFromNib();
    ShareEvents events(controller, controller.hosts, world.mainThreadQueue);
    ShareReport report(events, world.keeper.output);
    controller.applicationDidFinishLaunching();
    adoptMountedVolumes(controller);
    watchPreferences();
    std::optional<RemoteCommands> remote;
    if (world.keeper.control) {
        remote.emplace(controller, events, *world.keeper.control, world.mainThreadQueue, world.strings, world.version);
        remote->begin();
    }
    world.keeper.serviceManager.ready();
    follow(controller);

    world.keeper.preferencesFile.stop();
    if (remote)
        remote->end();
    controller.applicationWillTerminate();
    m_saves.finish(savePatience);
    int status = exitSuccess;
    if (!m_isEnding) {
        // Its workers end with the process image: what they do is given up first, as far as it lets itself.
        m_guard.interrupt(SIGHUP);
        report.finish();
        say("it could not begin anew: " + world.keeper.beginAnew());
        status = exitNotKeeping;
    }
    m_hasEnded.signal();
    static_cast<void>(m_guard.release());
    m_saves.finish(); // a disk that hangs still has what stands here
    return status;
}

void KeeperProgram::adoptMountedVolumes(QuorrelAppDelegate& controller) const {
    controller.opQueue().addOperation(
        std::make_shared<AdoptionOperation>(controller.hosts.snapshot(), m_world.mounting.volumes, [] {}));
}

void KeeperProgram::watchPreferences() const {
    if (const auto failure = m_world.keeper.preferencesFile.start([this] { m_world.preferences.reload(); }))
        m_world.log.lineAlways("The preferences cannot be watched: %@", { *failure });
}

void KeeperProgram::follow(QuorrelAppDelegate& controller) {
    while (!m_isEnding) {
        m_world.runLoop.run();
        if (m_isEnding || !m_isReloadWanted.exchange(false))
            continue;
        m_world.keeper.serviceManager.reloading();
        if (canBeginAnew(controller))
            return;
        m_world.keeper.serviceManager.ready();
    }
}

bool KeeperProgram::canBeginAnew(QuorrelAppDelegate& controller) const {
    auto complaint = CatalogueCheck::complaint(m_world.propertyListFile, controller.applicationSupportFolder());
    if (!complaint && m_passwordFile) {
        const auto read = PasswordFile::read(*m_passwordFile);
        if (const auto* failure = std::get_if<PasswordFile::Failure>(&read))
            complaint = failure->message;
    }
    if (!complaint)
        return true;
    say(*complaint + "; everything stays as it was");
    return false;
}

std::optional<int> KeeperProgram::interrupt(int signal) {
    if (signal == SIGHUP && m_world.keeper.reloadsOnHangUp) {
        askForReload();
        return std::nullopt;
    }
    const auto deadline = std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::steady_clock::duration>(signalPatience);
    m_isEnding = true;
    m_world.runLoop.quit();
    m_world.keeper.serviceManager.stopping();
    m_guard.interrupt(signal);
    if (!m_hasEnded.waitFor(deadline - std::chrono::steady_clock::now()) && m_saves.isSaving())
        m_hasEnded.waitFor(savePatience);
    return exitSuccess;
}

void KeeperProgram::askForReload() {
    m_isReloadWanted = true;
    m_world.runLoop.quit();
}

void KeeperProgram::sayOfSave(const std::string& message) {
    m_saves.report([this, message] { say(message); });
}

void KeeperProgram::say(const std::string& message) const {
    m_world.keeper.errors.write("quorrelctl: " + message + '\n');
}

} // namespace quorrel
