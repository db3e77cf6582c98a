// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareRow.h"

#include "Console/DisplayText.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"

namespace quorrel {

ShareRow ShareRow::of(const SharePointDefinition& sharePoint, const std::vector<MountedVolume>& volumes) {
    ShareRow row;
    if (const auto host = sharePoint.parentHost.get().lock())
        row.host = textOf(host->displayName.get());
    row.share = textOf(sharePoint.sharePoint.get());
    const auto displayType = textOf(sharePoint.displayType.get());
    row.service = Globals::getShortServiceName(displayType).value_or(displayType);
    row.mounted = sharePoint.mounted.get();
    row.status = sharePoint.shownStatus();
    row.error = textOf(sharePoint.lastError.get());
    const auto reference = sharePoint.referenceNumber.get();
    for (const auto& volume : volumes)
        if (row.mounted && reference == static_cast<int>(volume.volumeReference))
            row.path = volume.location;
    return row;
}

std::string ShareRow::name() const {
    return DisplayText::printable(host) + '/' + DisplayText::printable(share);
}

} // namespace quorrel
