// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MountedVolumes.h"

#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/NameComparison.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace quorrel {

namespace {

struct Candidate final {
    std::shared_ptr<HostDefinition> host;
    std::shared_ptr<SharePointDefinition> sharePoint;
};

/// Empty for the names that stand for nobody.
std::string plainUser(const std::string& user, std::string_view scheme) {
    return user == "Guest" || (scheme == "ftp" && user == "anonymous") ? std::string() : user;
}

bool allElseFits(const SharePointDefinition& sharePoint, const MountedVolume& volume) {
    const auto service = sharePoint.parentService.get().lock();
    if (!service || Globals::getShortServiceName(service->displayType.get()) != volume.scheme)
        return false;
    const bool ignoresCase = volume.scheme == "smb";
    const auto user = isSet(sharePoint.guestLogin.get()) ? std::string() : textOf(sharePoint.userName.get());
    // A port that was found out in an earlier run is not in the catalogue.
    const int port = service->port.get();
    return comparableShareName(textOf(sharePoint.sharePoint.get()), ignoresCase)
        == comparableShareName(volume.path, ignoresCase)
        && plainUser(user, volume.scheme) == plainUser(volume.user, volume.scheme)
        && (port <= 0 || volume.port == 0 || port == volume.port);
}

/// Where a name fits, that share point; else the only one that fits in all else, since a server may have been mounted
/// by a name that is not known yet in this run.
std::shared_ptr<SharePointDefinition> sharePointOf(
    const MountedVolume& volume, const std::vector<std::shared_ptr<HostDefinition>>& hosts) {
    std::vector<Candidate> candidates;
    for (const auto& host : hosts)
        for (const auto& sharePoint : host->sharePoints.snapshot())
            if (allElseFits(*sharePoint, volume))
                candidates.push_back({ host, sharePoint });
    const auto isFree = [](const Candidate& each) { return !each.sharePoint->referenceNumber.get(); };
    bool named = false;
    for (const auto& candidate : candidates)
        if (isNameOfHost(volume.host, *candidate.host)) {
            named = true;
            if (isFree(candidate))
                return candidate.sharePoint;
        }
    return !named && candidates.size() == 1 && isFree(candidates.front()) ? candidates.front().sharePoint : nullptr;
}

} // namespace

int adoptMountedVolumes(
    const std::vector<std::shared_ptr<HostDefinition>>& hosts, const std::vector<MountedVolume>& volumes) {
    int adopted = 0;
    for (const auto& volume : volumes)
        if (const auto sharePoint = sharePointOf(volume, hosts)) {
            sharePoint->setVolume(volume.volumeReference, volume.location);
            sharePoint->setMounted(true);
            ++adopted;
        }
    return adopted;
}

} // namespace quorrel
