// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsVolumes.h"

#include "Foundation/Text.h"
#include "Platform/Linux/FoundVolume.h"
#include "Platform/Linux/VolumeNames.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

struct Kind final {
    std::string_view type; ///< as gvfs calls it
    std::string_view kind;
    bool isNamedByPath; ///< and not by the path's last component alone
};

/// Servers. gvfs mounts much else: the trash, cameras, archives, lists of servers.
constexpr std::array kinds {
    Kind { "smb-share", "smbfs", true },
    Kind { "afp-volume", "afpfs", true },
    Kind { "dav", "webdav", true },
    Kind { "dav+sd", "webdav", true },
    Kind { "davs+sd", "webdav", true },
    Kind { "ftp", "ftp", true },
    Kind { "ftps", "ftp", true },
    Kind { "ftpis", "ftp", true },
    Kind { "nfs", "nfs", false },
    Kind { "sftp", "sftp", true },
};

const Kind* kindOf(const GvfsMount& mount) {
    const auto* const found
        = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& one) { return one.type == mount.type; });
    return found == kinds.end() || !mount.isUserVisible ? nullptr : found;
}

constexpr char divider = '\n';

/// What one server has in one place. gvfs mounts it once for each login; it comes with the first of them and goes with
/// the last, since whoever hears of it cannot tell them apart.
std::string identityOf(const GvfsMount& mount) {
    std::string identity = mount.type;
    for (const auto& part : { mount.host, std::to_string(mount.port), mount.share,
             std::string(mount.isSecure ? "secure" : ""), mount.prefix })
        identity.append(1, divider).append(part);
    return identity + divider;
}

/// Without the readable path, which gvfs may tell later than the rest.
std::string identityWithLogin(const GvfsMount& mount) {
    return identityOf(mount) + mount.domain + divider + mount.user;
}

} // namespace

GvfsVolumes::Volumes GvfsVolumes::update(
    const std::vector<GvfsMount>& mounts, const std::vector<VolumeLinks::Link>& links, Seconds now) {
    Volumes volumes;
    std::map<std::string, Whole> wholes;
    for (const auto& mount : mounts) {
        if (!kindOf(mount))
            continue;
        const auto identity = identityOf(mount);
        const auto key = identityWithLogin(mount);
        auto& whole = wholes[key];
        if (const auto known = m_wholes.find(key); known != m_wholes.end())
            whole = known->second;
        bool hasLink = false;
        for (const auto& link : links)
            if (mount.covers(link.target)) {
                hasLink = true;
                volumes.try_emplace(identity + link.target.substr(mount.fusePath.size()), describe(mount, &link));
            }
        whole.patience = mount.fusePath.empty() ? timeForPath : timeForLink;
        if (hasLink)
            whole.withoutLinkSince.reset();
        else if (!whole.withoutLinkSince)
            whole.withoutLinkSince = now;
        whole.isVolume = whole.isVolume || (!hasLink && now - *whole.withoutLinkSince >= whole.patience);
        if (whole.isVolume)
            volumes.try_emplace(identity, describe(mount, nullptr));
    }
    m_wholes = std::move(wholes);
    return volumes;
}

std::optional<Seconds> GvfsVolumes::nextChange() const {
    std::optional<Seconds> next;
    for (const auto& [identity, whole] : m_wholes)
        if (whole.withoutLinkSince && !whole.isVolume)
            next = std::min(next.value_or(Seconds::max()), *whole.withoutLinkSince + whole.patience);
    return next;
}

VolumeDescription GvfsVolumes::describe(const GvfsMount& mount, const VolumeLinks::Link* link) const {
    const auto* const kind = kindOf(mount);
    const auto found = link ? FoundVolume::describe(mount, link->target, link->name) : mount.describe(mount.fusePath);
    auto last = Text::lastPathComponent(found.path);
    if (last.empty())
        last = mount.host;
    VolumeDescription volume;
    volume.volumeName = VolumeNames::readable(kind->isNamedByPath && !found.path.empty() ? found.path : last);
    volume.volumeKind = kind->kind;
    const auto folder = link ? m_volumesFolder : VolumeNames::folderOfServer(mount.host);
    const bool isNumbered = link && link->name != last && found.volumeName == last;
    volume.volumePath
        = VolumeNames::fileURL(folder + "/" + (isNumbered ? link->name : VolumeNames::withSpareNumber(last)));
    volume.isNetwork = true;
    volume.serverName = VolumeNames::readable(mount.host);
    return volume;
}

} // namespace quorrel
