// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/VolumeSpelling.h"

#include "Platform/VolumeWatch.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/NameComparison.h"
#include "Sources/SharePointDefinition.h"

#include <optional>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

bool isMountedAs(const SharePointDefinition& sharePoint, std::string_view kind) {
    const auto scheme = Globals::getShortServiceName(sharePoint.displayType.get());
    return (kind == "smbfs" && scheme == "smb") || (kind == "webdav" && (scheme == "http" || scheme == "https"))
        || (kind == "ftp" && scheme == "ftp") || (kind == "afpfs" && scheme == "afp");
}

using Hosts = std::vector<std::shared_ptr<HostDefinition>>;

/// Absent where no share has that name.
std::optional<std::string> spelling(const std::string& name, const VolumeDescription& volume, const Hosts& hosts) {
    const auto kind = textOf(volume.volumeKind);
    const bool ignoresCase = kind == "smbfs";
    const auto wanted = comparableShareName(name, ignoresCase);
    if (wanted.empty())
        return std::nullopt;
    constexpr int foreign = 2;
    constexpr int otherwiseSpelled = 1;
    int leastDistance = foreign + otherwiseSpelled + 1;
    std::optional<std::string> result;
    for (const auto& host : hosts) {
        std::optional<bool> isOwn; // found out for the few hosts that have such a share
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            auto share = textOf(sharePoint->sharePoint.get());
            if (comparableShareName(share, ignoresCase) != wanted || !isMountedAs(*sharePoint, kind))
                continue;
            if (!isOwn)
                isOwn = isNameOfHost(volume.serverName, *host);
            const int distance = (*isOwn ? 0 : foreign) + (share == name ? 0 : otherwiseSpelled);
            if (distance >= leastDistance)
                continue;
            leastDistance = distance;
            result = std::move(share);
            if (distance == 0)
                return result;
        }
    }
    return result;
}

} // namespace

std::string spelledAsInCatalogue(const std::string& name, const VolumeDescription& volume, const Hosts& hosts) {
    // A folder of a share is a share point by its whole path, which the volume's name tells where the place does not.
    if (const auto path = textOf(volume.volumeName); path.ends_with('/' + name))
        if (auto share = spelling(path, volume, hosts))
            return std::move(*share);
    return spelling(name, volume, hosts).value_or(name);
}

} // namespace quorrel
