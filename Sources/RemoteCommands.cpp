// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/RemoteCommands.h"

#include "Foundation/MainThreadQueue.h"
#include "Foundation/OperationQueue.h"
#include "Foundation/StringTable.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

using Kind = RemoteCommand::Kind;
using Failure = RemoteFailure::Kind;

bool isForOne(Kind kind) {
    return kind == Kind::Mount || kind == Kind::Unmount || kind == Kind::MountFavourite;
}

bool isMount(Kind kind) {
    return kind == Kind::Mount || kind == Kind::MountHost || kind == Kind::MountAll || kind == Kind::MountFavourite;
}

std::string fullName(const SharePointDefinition& sharePoint) {
    const auto host = sharePoint.parentHost.get().lock();
    return (host ? textOf(host->displayName.get()) : std::string()) + '/' + textOf(sharePoint.sharePoint.get());
}

std::string passwordWanted(const SharePointDefinition& sharePoint) {
    return fullName(sharePoint) + " wants a password.";
}

void setPassword(const SharePointDefinition& sharePoint, const OptionalText& password) {
    const auto service = sharePoint.parentService.get().lock();
    if (const auto host = service ? service->parentHost.get().lock() : nullptr)
        host->password.set(password);
}

} // namespace

RemoteCommands::RemoteCommands(QuorrelAppDelegate& controller, ShareEvents& events, RemoteControl& control,
    MainThreadQueue& mainThreadQueue, const StringTable& strings, std::string version)
    : m_controller(controller)
    , m_events(events)
    , m_control(control)
    , m_mainThreadQueue(mainThreadQueue)
    , m_strings(strings)
    , m_version(std::move(version)) { }

RemoteCommands::~RemoteCommands() {
    end();
}

void RemoteCommands::begin() {
    m_isOpen = true;
    m_subscriptions.push_back(m_events.observe([this](const ShareEvents::Events& events) { tell(events); }));
    m_subscriptions.push_back(m_events.observeCatalogue([this] {
        m_areIdentitiesCurrent = false;
        m_control.tellSharesChanged();
    }));
    m_subscriptions.push_back(m_controller.opQueue().observeEnds([this] { endTasksSoon(); }));
    m_subscriptions.push_back(m_controller.workLine().observeEmptied([this] { endTasksSoon(); }));
    m_control.start(*this);
}

void RemoteCommands::end() {
    if (!std::exchange(m_isOpen, false))
        return;
    m_subscriptions.clear();
    for (const auto& task : std::exchange(m_tasks, {}))
        task.reply(RemoteFailure { Failure::ShuttingDown, "Quorrel is ending." });
    m_control.stop();
}

RemoteProgram RemoteCommands::program() const {
    return { m_controller.catalogueFile(), m_version };
}

std::vector<RemoteHost> RemoteCommands::hosts() {
    std::vector<RemoteHost> result;
    for (const auto& host : m_controller.hosts.snapshot())
        result.push_back(
            { textOf(host->displayName.get()), host->sharePoints.count(), host->resolved.get(), host->bonjour.get() });
    return result;
}

std::vector<RemoteShare> RemoteCommands::shares() {
    updateIdentities();
    std::vector<RemoteShare> result;
    for (const auto& host : m_controller.hosts.snapshot())
        for (const auto& sharePoint : host->sharePoints.snapshot())
            result.push_back(remoteShare(*sharePoint));
    return result;
}

void RemoteCommands::perform(const RemoteCommand& command, RemoteReply reply) {
    if (!m_isOpen) {
        reply(RemoteFailure { Failure::ShuttingDown, "Quorrel is ending." });
        return;
    }
    // A command would wait for the answer, for as long as nobody is there to give it.
    if (m_controller.isPrompting()) {
        reply(RemoteFailure { Failure::Busy, "The user is being asked for a password." });
        return;
    }
    auto found = sharePointsFor(command);
    if (auto* failure = std::get_if<RemoteFailure>(&found)) {
        reply(std::move(*failure));
        return;
    }
    m_tasks.push_back({ isMount(command.kind), isForOne(command.kind), command.password.has_value(),
        std::get<SharePoints>(std::move(found)), {}, 0, std::move(reply) });
    start(m_tasks.back(), command);
    // Later in any case, so that what nothing had to be done for is answered as all else is.
    endTasksSoon();
}

std::variant<RemoteCommands::SharePoints, RemoteFailure> RemoteCommands::sharePointsFor(const RemoteCommand& command) {
    updateIdentities();
    if (command.kind == Kind::Mount || command.kind == Kind::Unmount) {
        const auto sharePoint = m_identities.sharePoint(command.name);
        if (!sharePoint)
            return RemoteFailure { Failure::UnknownShare, "There is no share \"" + command.name + "\"." };
        return SharePoints { sharePoint };
    }
    if (command.kind == Kind::MountFavourite) {
        auto found = favourites(command.name);
        if (found.size() != 1)
            return RemoteFailure { Failure::UnknownFavourite,
                (found.empty() ? "There is no favourite \"" : "There is more than one favourite \"") + command.name
                    + "\"." };
        return found;
    }
    const bool isForAll = command.kind == Kind::MountAll || command.kind == Kind::UnmountAll;
    SharePoints result;
    bool isKnown = isForAll;
    for (const auto& host : m_controller.hosts.snapshot())
        if (isForAll || textOf(host->displayName.get()) == command.name) {
            isKnown = true;
            const auto sharePoints = host->sharePoints.snapshot();
            result.insert(result.end(), sharePoints.begin(), sharePoints.end());
        }
    if (!isKnown)
        return RemoteFailure { Failure::UnknownHost, "There is no host \"" + command.name + "\"." };
    return result;
}

RemoteCommands::SharePoints RemoteCommands::favourites(const std::string& name) const {
    SharePoints byShare;
    SharePoints byFullName;
    for (const auto& host : m_controller.hosts.snapshot())
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            if (!isSet(sharePoint->favroite.get()))
                continue;
            if (m_identities.identityOf(*sharePoint) == name)
                return { sharePoint };
            if (textOf(sharePoint->sharePoint.get()) == name)
                byShare.push_back(sharePoint);
            if (fullName(*sharePoint) == name)
                byFullName.push_back(sharePoint);
        }
    return byFullName.empty() ? byShare : byFullName;
}

void RemoteCommands::start(Task& task, const RemoteCommand& command) {
    for (const auto& sharePoint : task.sharePoints) {
        auto& error = task.errors.emplace_back();
        if (!task.mounts) {
            m_controller.unmount(sharePoint);
            continue;
        }
        if (isSet(sharePoint->passwordPrompt.get()) && command.password)
            setPassword(*sharePoint, *command.password);
        // A prompt would hold everything here until somebody sits down at this screen.
        if (QuorrelAppDelegate::wantsPassword(*sharePoint))
            error = passwordWanted(*sharePoint);
        else
            m_controller.mountManually(sharePoint);
    }
}

void RemoteCommands::endTasksSoon() {
    m_mainThreadQueue.post([weak = std::weak_ptr(m_self)] {
        if (const auto self = weak.lock())
            (*self)->endTasks();
    });
}

void RemoteCommands::endTasks() {
    std::list<Task> done;
    for (auto task = m_tasks.begin(); task != m_tasks.end();) {
        auto& ended = task->ended;
        while (ended < task->sharePoints.size()
            && (!task->errors[ended].empty() || !m_controller.isBusyWith(*task->sharePoints[ended])))
            ++ended;
        const auto next = std::next(task);
        if (ended == task->sharePoints.size())
            done.splice(done.end(), m_tasks, task);
        task = next;
    }
    if (done.empty())
        return;
    m_events.deliverPending(); // who is told that it is done has heard of how it went
    for (const auto& task : done)
        finish(task);
}

void RemoteCommands::finish(const Task& task) {
    updateIdentities();
    std::vector<RemoteShare> shares;
    for (std::size_t index = 0; index < task.sharePoints.size(); ++index) {
        const auto& sharePoint = *task.sharePoints[index];
        auto& share = shares.emplace_back(remoteShare(sharePoint));
        const auto& notBegun = task.errors[index];
        if (share.mounted == task.mounts)
            continue;
        // One that was wrong must not be taken for given from now on.
        if (task.hasPassword && isSet(sharePoint.passwordPrompt.get()))
            setPassword(sharePoint, std::nullopt);
        if (share.error.empty())
            share.error = notBegun.empty() ? errorOf(sharePoint, task.mounts) : notBegun;
        if (!task.isSingle)
            continue;
        const auto kind = !notBegun.empty() ? Failure::PasswordNeeded
            : task.mounts                   ? Failure::MountFailed
                                            : Failure::UnmountFailed;
        task.reply(RemoteFailure { kind, notBegun.empty() ? share.error : notBegun });
        return;
    }
    task.reply(std::move(shares));
}

std::string RemoteCommands::errorOf(const SharePointDefinition& sharePoint, bool mounts) const {
    if (!mounts)
        return m_strings.text("Another program mounted this volume, and it can be unmounted there.");
    const auto host = sharePoint.parentHost.get().lock();
    return host && !host->resolved.get() ? m_strings.text("The host's address could not be found.")
                                         : "The mount was called off.";
}

void RemoteCommands::updateIdentities() {
    m_events.deliverPending(); // the catalogue may be another one since this turn began
    if (std::exchange(m_areIdentitiesCurrent, true))
        return;
    m_identities.update(m_controller.hosts.snapshot());
}

RemoteShare RemoteCommands::remoteShare(const SharePointDefinition& sharePoint) const {
    return describe(sharePoint, m_identities.identityOf(sharePoint));
}

RemoteShare RemoteCommands::describe(const SharePointDefinition& sharePoint, std::string identity) {
    RemoteShare share;
    share.id = std::move(identity);
    if (const auto host = sharePoint.parentHost.get().lock())
        share.host = textOf(host->displayName.get());
    const auto service = textOf(sharePoint.displayType.get());
    share.service = Globals::getShortServiceName(service).value_or(service);
    share.share = textOf(sharePoint.sharePoint.get());
    share.state = ShareState::word(ShareState::of(sharePoint));
    share.status = sharePoint.shownStatus();
    share.error = textOf(sharePoint.lastError.get());
    share.mounted = sharePoint.mounted.get();
    if (share.mounted)
        share.path = textOf(sharePoint.volumePath.get());
    share.automatic = isSet(sharePoint.automatically.get());
    share.favourite = isSet(sharePoint.favroite.get());
    share.needsPassword = QuorrelAppDelegate::wantsPassword(sharePoint);
    return share;
}

void RemoteCommands::tell(const ShareEvents::Events& events) {
    updateIdentities();
    for (const auto& event : events) {
        auto share = remoteShare(*event.sharePoint);
        if (share.id.empty())
            continue; // gone by now
        // As it was then, which may be some states ago.
        share.state = ShareState::word(event.state);
        share.status = event.status;
        share.error = event.error;
        share.mounted = event.state == ShareState::Kind::Mounted || event.state == ShareState::Kind::Unmounting;
        share.path = event.path;
        m_control.tellShareChanged(share);
    }
}

} // namespace quorrel
