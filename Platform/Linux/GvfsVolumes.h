// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/VolumeLinks.h"
#include "Platform/VolumeWatch.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// What volumes there are, by gvfs's mounts and by our links into them. Thread-confined.
///
/// gvfs mounts a whole FTP server, or the topmost WebDAV folder, whichever folder was asked for. So a mount with links
/// into it is no volume itself, but each link is one. A mount without any is a volume as a whole, once it had the time
/// to get a link that follows it, and from then on until it goes.
class GvfsVolumes final {
public:
    using Volumes = std::map<std::string, VolumeDescription>; ///< by an identity that stays as long as the volume

    explicit GvfsVolumes(std::string volumesFolder)
        : m_volumesFolder(std::move(volumesFolder)) { }

    /// The time only ever grows.
    [[nodiscard]] Volumes update(
        const std::vector<GvfsMount>& mounts, const std::vector<VolumeLinks::Link>& links, Seconds now);
    /// The time at which the same mounts and links come to something else; absent when they never do.
    [[nodiscard]] std::optional<Seconds> nextChange() const;

    static constexpr Seconds timeForLink { 0.5 };
    static constexpr Seconds timeForPath { 2.5 }; ///< for gvfs to show a session's first files, and a link to them

private:
    struct Whole final {
        std::optional<Seconds> withoutLinkSince;
        Seconds patience = timeForLink;
        bool isVolume = false;
    };

    [[nodiscard]] VolumeDescription describe(const GvfsMount& mount, const VolumeLinks::Link* link) const;

    const std::string m_volumesFolder;
    std::map<std::string, Whole> m_wholes; ///< by the mount's identity with its login
};

} // namespace quorrel
