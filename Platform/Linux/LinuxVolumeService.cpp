// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxVolumeService.h"

#include "Platform/Linux/BackEndProcesses.h"
#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/FilesAhead.h"
#include "Platform/Linux/FoundVolume.h"
#include "Platform/Linux/GvfsLocation.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/HostAddresses.h"
#include "Platform/Linux/MountAttempt.h"
#include "Platform/Linux/MountListMirror.h"
#include "Platform/Linux/MountTracker.h"
#include "Platform/Linux/ProcessTable.h"
#include "Platform/Linux/TwinMount.h"
#include "Platform/Linux/VolumeUsers.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

constexpr std::int32_t noSuchVolume = -35;
constexpr int mostRounds = 4;
constexpr int clumsyRounds = 2;
constexpr Seconds answerLimit { 5 }; // for a volume that is mounted already to show that it lives
constexpr Seconds lookUpLimit { 3 };
constexpr Seconds fuseLimit { 2 }; // gvfs shows its mounts as files a moment after a session's first mount
constexpr Seconds lookAgain { 0.02 };
constexpr auto nobodysFile = ".quorrel-nobodys-file";
constexpr Seconds cleanupTime { 2 };
constexpr Seconds hastyCleanupTime { 0.3 };
constexpr Seconds quickUnmountLimit { 4 };
constexpr Seconds busyLimit { 1 };

/// What stands for a mount as long as it lives, also among the volumes in it.
std::string identityOf(const GvfsMount& mount) {
    return mount.fusePath.empty() ? mount.busName : mount.fusePath;
}

/// Whether an error is the server's word on the file that was asked for, and not on itself.
bool isAboutTheFile(const GError* error) {
    return error && error->domain == G_IO_ERROR
        && (error->code == G_IO_ERROR_NOT_FOUND || error->code == G_IO_ERROR_NOT_DIRECTORY
            || error->code == G_IO_ERROR_PERMISSION_DENIED || error->code == G_IO_ERROR_NOT_SUPPORTED
            || error->code == G_IO_ERROR_BUSY);
}

/// Whether it may be that the server does not even take the file's name. A connection that is gone has the same error.
bool mayBeAboutTheName(const GError* error) {
    return error && error->domain == G_IO_ERROR
        && (error->code == G_IO_ERROR_INVALID_ARGUMENT || error->code == G_IO_ERROR_INVALID_FILENAME
            || error->code == G_IO_ERROR_FILENAME_TOO_LONG);
}

/// Whether gvfs's own program failed, and not the server: the next one mostly fares better.
bool isClumsy(const MountFailure& failure, const GvfsLocation& location, int round) {
    if (failure.isDeadBackEnd())
        return round < clumsyRounds;
    if (location.scheme != "afp")
        return false;
    return failure.isBrokenKeyExchange() ? round < clumsyRounds
                                         : failure.end == MountFailure::End::PastDeadline && round == 0;
}

bool isBusy(const TrackerReply& reply) {
    return reply.error && reply.error->domain == G_IO_ERROR && reply.error->code == G_IO_ERROR_BUSY;
}

MountFailure failureWithoutGio(bool isMounted) {
    MountFailure failure;
    if (isMounted) {
        failure.domain = G_IO_ERROR;
        failure.code = G_IO_ERROR_ALREADY_MOUNTED;
    } else {
        failure.message = "the session bus that this program was started on has ended; start the program again";
    }
    return failure;
}

} // namespace

struct LinuxVolumeService::Place final {
    GvfsMount mount;
    std::string within;

    [[nodiscard]] std::string readablePath() const { return mount.readablePath(within); }

    /// A deeper mount of the same server is the one that gvfs itself would use.
    static std::optional<Place> find(const std::vector<GvfsMount>& mounts, const GvfsLocation& location) {
        std::optional<Place> place;
        for (const auto& mount : mounts)
            if (auto within = mount.pathWithin(location);
                within && (!place || mount.prefix.size() > place->mount.prefix.size()))
                place = Place { mount, std::move(*within) };
        return place;
    }
};

LinuxVolumeService::LinuxVolumeService(Log& log, const Preferences& preferences, const Settings& settings)
    : m_log(log)
    , m_preferences(preferences)
    , m_settings(settings)
    , m_contexts(std::make_unique<MainContextPool>())
    , m_mirror(std::make_unique<MountListMirror>())
    , m_links(settings.homeDirectory, settings.runtimeDirectory + "/gvfs")
    , m_formerMounts(settings.runtimeDirectory)
    , m_files(log, settings.runtimeDirectory + "/gvfs") { }

LinuxVolumeService::~LinuxVolumeService() = default;

void LinuxVolumeService::interrupt() {
    m_interrupted.signal();
}

MountReply LinuxVolumeService::mountServerVolume(const MountRequest& request) {
    if (m_interrupted.isSignalled())
        return { VolumeStatus::notResponding, 0 };
    const auto parsed = GvfsLocation::fromRequest(request);
    if (!parsed.location) {
        m_log.line("Cannot mount: %@", { parsed.reason });
        return { parsed.status, 0 };
    }
    BoundedLoop loop(*m_contexts, m_settings.mountDeadline, m_interrupted);
    return mount(loop, *parsed.location, request.volumeName);
}

MountReply LinuxVolumeService::mount(BoundedLoop& loop, const GvfsLocation& asked, const std::string& volumeName) {
    MountTracker tracker(loop, *m_mirror);
    if (std::string reason; !tracker.connect(reason)) {
        m_log.line("Cannot mount %@ without a session bus: %@", { asked.printable, reason });
        return { VolumeStatus::cannotBeMounted, 0 };
    }
    removeStaleLinks(tracker);
    for (int round = 0; round < mostRounds && !loop.isOver(); ++round) {
        const auto twin = findTwin(loop, tracker, asked);
        const auto& location = twin ? *twin : asked;
        // AFP's program now and then waits for itself: the first one is not to have all the time there is.
        const auto limit = location.scheme == "afp" && round == 0 ? loop.remaining() / 3 : loop.remaining();
        FilesAhead files(m_formerMounts, m_files, m_links);
        const auto failure = twin ? std::nullopt : attempt(loop, tracker, location, limit, files);
        if (failure && !failure->isAlreadyMounted()) {
            if (!loop.isOver() && isClumsy(*failure, location, round)) {
                m_log.line("Mounting %@ again: %@", { location.printable, failure->reason() });
                continue;
            }
            m_log.line("Cannot mount %@: %@", { location.printable, failure->reason() });
            return { failure->status(), 0 };
        }
        const auto place = find(loop, tracker, location);
        if (!place)
            continue; // taken away by somebody, right after it was there
        const auto status = check(loop, tracker, *place, location, !failure && !twin);
        if (status && *status != VolumeStatus::success)
            return { *status, 0 };
        if (!status)
            continue;
        files.begin(place->mount, place->readablePath());
        if (const auto reply = enter(*place, location, volumeName)) {
            if (!files.wait(loop, tracker))
                m_log.line("The files of %@ are slow to show", { location.printable });
            // AFP's program crashes in some accesses on a busy machine, and this was the first.
            if (location.scheme == "afp" && !loop.isOver() && isGone(tracker, reply->volumeReference)) {
                m_log.line("Mounting %@ again: gvfs has lost it", { location.printable });
                continue;
            }
            return *reply;
        }
        loop.pause(lookAgain); // another call of ours takes the mount away just now
    }
    m_log.line("Cannot mount %@: it did not stay mounted", { asked.printable });
    return { loop.isOver() ? VolumeStatus::notResponding : VolumeStatus::ioError, 0 };
}

std::optional<GvfsLocation> LinuxVolumeService::findTwin(
    BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location) const {
    const auto links = m_links.links();
    const auto entries = m_references.entries();
    if (links.empty() && entries.empty())
        return std::nullopt;
    auto mounts = tracker.announcedMounts();
    if (!mounts)
        return std::nullopt;
    // What others mounted stays theirs: it would be taken away from them with our volume.
    std::erase_if(*mounts, [&](const GvfsMount& mount) {
        return std::none_of(links.begin(), links.end(), [&](const VolumeLinks::Link& link) {
            return mount.covers(link.target);
        }) && std::none_of(entries.begin(), entries.end(), [&](const VolumeReferences::Entry& entry) {
            return mount.covers(entry.identity) || FoundVolume::isDescribedBy(entry.description, mount);
        });
    });
    auto twin = TwinMount::locate(
        location, *mounts, [&](const std::string& name) { return HostAddresses::lookUp(loop, name, lookUpLimit); });
    if (twin)
        m_log.line("%@ is mounted already, from %@", { location.printable, twin->host });
    return twin;
}

std::optional<MountFailure> LinuxVolumeService::attempt(
    BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location, Seconds limit, FilesAhead& files) {
    if (tracker.isGioCutOff())
        return failureWithoutGio(find(loop, tracker, location).has_value());
    BackEndProcesses::Trace trace { location.backEndName(), ProcessTable::nowTicks(), {} };
    std::optional<MountFailure> failure;
    {
        MountAttempt attempt(loop, m_log, location, m_preferences.texts("trustedCertificates"));
        MountListMirror::Watch announcements(*m_mirror);
        failure = attempt.run(limit, [&] {
            const auto mounts = announcements.hasHeard() ? m_mirror->mounts() : std::nullopt;
            if (const auto place = mounts ? Place::find(*mounts, location) : std::nullopt)
                files.begin(place->mount, place->readablePath());
        });
        trace.addresses = attempt.addresses();
    }
    if (failure && failure->end != MountFailure::End::Answered) {
        if (loop.isOver() || failure->end == MountFailure::End::NotReachable)
            loop.grantForCleanup(failure->end == MountFailure::End::Interrupted ? hastyCleanupTime : cleanupTime);
        if (BackEndProcesses(loop, tracker, m_claims).endPending(trace))
            m_log.line("Ended the program that still waited for %@", { location.printable });
    } else if (failure && failure->domain == G_IO_ERROR
        && (failure->code == G_IO_ERROR_NOT_MOUNTED || failure->code == G_IO_ERROR_NOT_SUPPORTED)
        && !tracker.supports(location)) {
        m_log.line("The desktop's gvfs cannot mount %@ at all", { location.scheme });
    } else if (failure && failure->certificateRefused) {
        if (const auto place = find(loop, tracker, location))
            static_cast<void>(unmountWhole(loop, tracker, place->mount));
    }
    return failure;
}

std::optional<LinuxVolumeService::Place> LinuxVolumeService::find(
    BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location) {
    std::optional<Place> place;
    for (int turn = 0; turn < fuseLimit / lookAgain && !loop.isOver(); ++turn) {
        const auto mounts = turn == 0 ? tracker.announcedMounts() : tracker.mounts();
        if (!mounts)
            return std::nullopt;
        place = Place::find(*mounts, location);
        if (place && !place->mount.fusePath.empty())
            return place;
        if (turn == 0)
            continue; // and ask
        if (!place)
            return place;
        loop.pause(lookAgain);
    }
    return place;
}

std::optional<std::int32_t> LinuxVolumeService::check(
    BoundedLoop& loop, MountTracker& tracker, const Place& place, const GvfsLocation& location, bool isFresh) {
    // An FTP server is mounted whatever folder was asked for; all others have said by now whether the share is there.
    if (isFresh && !(place.mount.isFTP() && !place.within.empty()))
        return VolumeStatus::success;
    const auto ask = [&](const std::string& path) {
        return tracker.queryInfo(place.mount, path, std::min(answerLimit, loop.remaining() / 2));
    };
    auto reply = ask(place.within);
    // FTP's program speaks for its root, and for what it has listed before, without asking the server; but not for what
    // is not there.
    if (reply.value && !isFresh && place.mount.isFTP()) {
        reply = ask(place.within.empty() ? nobodysFile : place.within + "/" + nobodysFile);
        if (isAboutTheFile(reply.error.get()))
            return VolumeStatus::success;
    }
    if (reply.value)
        return VolumeStatus::success;
    const bool isAboutIt = isAboutTheFile(reply.error.get());
    // Such a name must not cost the others in this mount their files.
    const auto answersOtherwise = [&] {
        const auto other = ask(place.mount.isFTP() ? nobodysFile : "");
        return other.value || isAboutTheFile(other.error.get());
    };
    const bool isNotThere
        = isAboutIt || (!place.within.empty() && mayBeAboutTheName(reply.error.get()) && answersOtherwise());
    if (loop.isInterrupted())
        return VolumeStatus::notResponding;
    if (isNotThere) {
        if (isAboutIt && reply.error->code != G_IO_ERROR_NOT_FOUND && reply.error->code != G_IO_ERROR_NOT_DIRECTORY)
            return VolumeStatus::success;
        m_log.line("Cannot mount %@: %@", { location.printable, reply.reason() });
        if (isFresh && unmountWhole(loop, tracker, place.mount) != VolumeStatus::success)
            m_log.line("The mount made for %@ stays", { location.printable });
        return VolumeStatus::notFound;
    }
    m_log.line("%@ is mounted but does not answer: %@", { location.printable, reply.reason() });
    const auto users = VolumeUsers::below(identityOf(place.mount));
    // Who is silent may only be slow: that is not worth somebody's open files.
    if (reply.isTimedOut() && !users.empty()) {
        m_log.line("It stays, as it is in use by %@", { VolumeUsers::printed(users) });
        return VolumeStatus::notResponding;
    }
    m_formerMounts.remember(place.mount.fusePath);
    if (!BackEndProcesses(loop, tracker, m_claims).endMounted(place.mount))
        return VolumeStatus::notResponding;
    return std::nullopt;
}

std::optional<MountReply> LinuxVolumeService::enter(
    const Place& place, const GvfsLocation& location, const std::string& volumeName) {
    const auto path = place.readablePath();
    const auto identity = path.empty() ? location.uri : path;
    MountedVolume volume;
    volume.scheme = location.scheme;
    volume.host = location.host;
    volume.port = location.port;
    volume.user = location.loginName();
    volume.path = location.joinedPath();
    volume.volumeName = volumeName;
    // Counted first and linked then: from here on nobody takes the mount away under the link.
    const auto reference = m_references.enter(identity, identityOf(place.mount), volume);
    if (!reference)
        return std::nullopt;
    if (path.empty()) {
        m_log.line("%@ is mounted but has no path: gvfs shows no files here", { location.printable });
        return MountReply { VolumeStatus::success, *reference };
    }
    std::string reason;
    if (const auto link = m_links.add(volumeName, path, reason); !link.empty()) {
        volume.location = m_links.pathOf(link);
        return MountReply { VolumeStatus::success,
            m_references.enter(identity, identityOf(place.mount), volume).value_or(*reference), volume.location };
    }
    m_log.line("There is no link to %@: %@", { location.printable, reason });
    return MountReply { VolumeStatus::success, *reference };
}

std::int32_t LinuxVolumeService::unmountVolume(std::int16_t volumeReference) {
    if (m_interrupted.isSignalled())
        return VolumeStatus::notResponding;
    const auto entry = m_references.find(volumeReference);
    if (!entry) {
        m_log.line("Cannot unmount: no volume has the reference %@", { std::to_string(volumeReference) });
        return noSuchVolume;
    }
    BoundedLoop loop(*m_contexts, m_settings.unmountDeadline, m_interrupted);
    MountTracker tracker(loop, *m_mirror);
    if (std::string reason; !tracker.connect(reason)) {
        m_log.line("Cannot unmount %@ without a session bus: %@", { entry->description.volumeName, reason });
        return VolumeStatus::cannotBeMounted;
    }
    return unmountEntry(loop, tracker, *entry);
}

std::int32_t LinuxVolumeService::unmountEntry(
    BoundedLoop& loop, MountTracker& tracker, const VolumeReferences::Entry& entry) {
    const auto mounts = tracker.mounts();
    if (!mounts) {
        m_log.line("Cannot unmount %@: gvfs does not answer", { entry.description.volumeName });
        return VolumeStatus::notResponding;
    }
    const auto mount = std::find_if(mounts->begin(), mounts->end(), [&](const GvfsMount& one) {
        return one.covers(entry.identity) || FoundVolume::isDescribedBy(entry.description, one);
    });
    if (mount == mounts->end()) {
        m_log.line("Cannot unmount %@: it is gone already", { entry.description.volumeName });
        drop(entry);
        return noSuchVolume;
    }
    const bool goesWhole = !sharesMount(entry, *mount)
        && m_references.beginRemoval(entry.description.volumeReference, identityOf(*mount));
    const auto users = VolumeUsers::below(goesWhole ? identityOf(*mount) : entry.identity);
    std::int32_t status = VolumeStatus::success;
    if (!users.empty()) {
        m_log.line("Cannot unmount %@: in use by %@", { entry.description.volumeName, VolumeUsers::printed(users) });
        status = VolumeStatus::filesOpen;
    } else if (goesWhole) {
        status = unmountWhole(loop, tracker, *mount);
    }
    if (status == VolumeStatus::success)
        drop(entry);
    if (goesWhole)
        m_references.endRemoval(identityOf(*mount));
    return status;
}

std::int32_t LinuxVolumeService::unmountWhole(BoundedLoop& loop, MountTracker& tracker, const GvfsMount& mount) {
    const auto what = mount.type + " of " + mount.host;
    const auto process = tracker.processOf(mount.busName);
    // AFP's program now and then waits for itself. Nobody uses the volume any more, so it need not be waited for long.
    const auto limit = mount.isAFP() ? std::min(quickUnmountLimit, loop.remaining() / 2) : loop.remaining();
    auto reply = tracker.unmount(mount, limit);
    // A look of our own at a fresh volume is over in a moment; another's copying is not.
    for (int turn = 0; turn < busyLimit / lookAgain && isBusy(reply) && !loop.isOver(); ++turn) {
        loop.pause(lookAgain);
        reply = tracker.unmount(mount, limit);
    }
    if (reply.value)
        m_formerMounts.remember(mount.fusePath);
    if (reply.value && process)
        BackEndProcesses(loop, tracker, m_claims).endIdle(*process, mount.busName);
    if (reply.value || reply.isFromNobody())
        return VolumeStatus::success;
    if (reply.error) {
        m_log.line("Cannot unmount the %@: %@", { what, reply.reason() });
        return isBusy(reply) ? VolumeStatus::filesOpen : VolumeStatus::ioError;
    }
    m_log.line("The %@ does not answer while it is being unmounted", { what });
    if (!mount.isAFP())
        return VolumeStatus::notResponding; // gvfs completes it when the server comes back
    if (loop.isOver())
        loop.grantForCleanup(loop.isInterrupted() ? hastyCleanupTime : cleanupTime);
    return BackEndProcesses(loop, tracker, m_claims).endMounted(mount) ? VolumeStatus::success
                                                                       : VolumeStatus::notResponding;
}

bool LinuxVolumeService::isGone(MountTracker& tracker, std::int16_t volumeReference) {
    const auto entry = m_references.find(volumeReference);
    const auto mounts = tracker.mounts();
    if (!entry || !mounts || std::any_of(mounts->begin(), mounts->end(), [&](const GvfsMount& mount) {
            return mount.covers(entry->identity) || FoundVolume::isDescribedBy(entry->description, mount);
        }))
        return false;
    drop(*entry);
    return true;
}

bool LinuxVolumeService::sharesMount(const VolumeReferences::Entry& entry, const GvfsMount& mount) const {
    const auto links = m_links.links();
    return std::any_of(links.begin(), links.end(),
        [&](const VolumeLinks::Link& link) { return link.target != entry.identity && mount.covers(link.target); });
}

void LinuxVolumeService::drop(const VolumeReferences::Entry& entry) {
    m_links.removeLinksTo(entry.identity);
    m_references.forget(entry.description.volumeReference);
}

void LinuxVolumeService::removeStaleLinks(MountTracker& tracker) {
    // First the links and then the mounts: a link that is there has its mount, unless that is gone.
    auto stale = m_links.links();
    // Looked at twice: between the two looks another call may have mounted the volume again.
    for (int look = 0; look < 2 && !stale.empty(); ++look) {
        const auto mounts = look == 0 ? tracker.announcedMounts() : tracker.mounts();
        if (!mounts)
            return;
        std::erase_if(stale, [&](const VolumeLinks::Link& link) {
            return std::any_of(
                mounts->begin(), mounts->end(), [&](const GvfsMount& mount) { return mount.covers(link.target); });
        });
    }
    for (const auto& link : stale) {
        m_links.removeLinksTo(link.target);
        if (const auto entry = m_references.find(link.target))
            m_references.forget(entry->description.volumeReference);
    }
}

std::vector<MountedVolume> LinuxVolumeService::mountedVolumes() {
    std::vector<MountedVolume> result;
    if (m_interrupted.isSignalled())
        return result;
    BoundedLoop loop(*m_contexts, m_settings.listDeadline, m_interrupted);
    MountTracker tracker(loop, *m_mirror);
    if (std::string reason; !tracker.connect(reason)) {
        m_log.line("Cannot list the volumes without a session bus: %@", { reason });
        return result;
    }
    removeStaleLinks(tracker);
    const auto links = m_links.links();
    if (links.empty())
        return result;
    const auto mounts = tracker.mounts();
    if (!mounts) {
        m_log.line("Cannot list the volumes: gvfs does not answer");
        return result;
    }
    for (const auto& link : links) {
        const auto mount = std::find_if(
            mounts->begin(), mounts->end(), [&](const GvfsMount& one) { return one.covers(link.target); });
        if (mount == mounts->end())
            continue;
        const auto known = m_references.find(link.target);
        auto volume = known ? known->description : FoundVolume::describe(*mount, link.target, link.name);
        volume.location = m_links.pathOf(link.name);
        const auto reference = m_references.enter(link.target, identityOf(*mount), volume);
        if (!reference)
            continue; // on its way out
        volume.volumeReference = *reference;
        result.push_back(std::move(volume));
    }
    return result;
}

} // namespace quorrel
