// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/Log.h"
#include "Foundation/Preferences.h"
#include "Platform/Linux/FormerMounts.h"
#include "Platform/Linux/InterruptEvent.h"
#include "Platform/Linux/MountsAsFiles.h"
#include "Platform/Linux/ProcessClaims.h"
#include "Platform/Linux/VolumeLinks.h"
#include "Platform/Linux/VolumeReferences.h"
#include "Platform/VolumeService.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class BoundedLoop;
class FilesAhead;
class MainContextPool;
class MountListMirror;
class MountTracker;
struct GvfsLocation;
struct GvfsMount;
struct MountFailure;

/// Server volumes through GIO and gvfs, with a link for each in the user's folder of volumes.
///
/// Any thread; every call works in a context that nobody else uses meanwhile, on its caller's thread. What is mounted
/// is gvfs's to say, since any program may mount and unmount: a mount goes by what gvfs announces, all else asks. Only
/// the numbers of the volumes are kept. Several volumes may lie in one mount of gvfs: it goes together with the last of
/// them. Reasons of failures go to the log.
class LinuxVolumeService final : public VolumeService {
public:
    struct Settings final {
        std::string homeDirectory;
        std::string runtimeDirectory; ///< of the session; gvfs shows its mounts in "gvfs" in there
        Seconds mountDeadline { 60 };
        Seconds unmountDeadline { 20 };
        Seconds listDeadline { 2 };
    };

    /// The preference "trustedCertificates" lists the SHA-256 fingerprints of certificates that the user trusts.
    /// The log and the preferences must outlive the service.
    LinuxVolumeService(Log& log, const Preferences& preferences, const Settings& settings);
    ~LinuxVolumeService() override;

    [[nodiscard]] MountReply mountServerVolume(const MountRequest& request) override;
    [[nodiscard]] std::int32_t unmountVolume(std::int16_t volumeReference) override;
    [[nodiscard]] std::vector<MountedVolume> mountedVolumes() override;
    void interrupt() override;

private:
    /// Where a location was found among gvfs's mounts.
    struct Place;

    [[nodiscard]] MountReply mount(BoundedLoop& loop, const GvfsLocation& asked, const std::string& volumeName);
    /// The location as a mount of ours already has it, under another name or address of its server.
    [[nodiscard]] std::optional<GvfsLocation> findTwin(
        BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location) const;
    [[nodiscard]] std::optional<MountFailure> attempt(
        BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location, Seconds limit, FilesAhead& files);
    [[nodiscard]] std::optional<Place> find(BoundedLoop& loop, MountTracker& tracker, const GvfsLocation& location);
    /// Whether the location is really there. Absent means that what hindered it is gone and the mount may be repeated.
    [[nodiscard]] std::optional<std::int32_t> check(
        BoundedLoop& loop, MountTracker& tracker, const Place& place, const GvfsLocation& location, bool isFresh);
    [[nodiscard]] std::optional<MountReply> enter(
        const Place& place, const GvfsLocation& location, const std::string& volumeName);

    [[nodiscard]] std::int32_t unmountWhole(BoundedLoop& loop, MountTracker& tracker, const GvfsMount& mount);
    [[nodiscard]] std::int32_t unmountEntry(
        BoundedLoop& loop, MountTracker& tracker, const VolumeReferences::Entry& entry);
    /// Whether no mount has the volume any more; it is then dropped.
    [[nodiscard]] bool isGone(MountTracker& tracker, std::int16_t volumeReference);
    [[nodiscard]] bool sharesMount(const VolumeReferences::Entry& entry, const GvfsMount& mount) const;
    void drop(const VolumeReferences::Entry& entry);
    /// Removes the links of volumes that are gone.
    void removeStaleLinks(MountTracker& tracker);

    Log& m_log;
    const Preferences& m_preferences;
    const Settings m_settings;
    InterruptEvent m_interrupted;
    const std::unique_ptr<MainContextPool> m_contexts; // GLib stays out of this header
    const std::unique_ptr<MountListMirror> m_mirror;
    VolumeLinks m_links;
    const FormerMounts m_formerMounts;
    MountsAsFiles m_files;
    VolumeReferences m_references;
    ProcessClaims m_claims;
};

} // namespace quorrel
