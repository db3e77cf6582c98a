// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SharePointRemoval.h"

#include "Sources/HostDefinition.h"

namespace quorrel {

void removeSharePoint(ObservableList<std::shared_ptr<HostDefinition>>& hosts,
    const std::shared_ptr<HostDefinition>& host, const std::shared_ptr<SharePointDefinition>& sharePoint) {
    host->sharePoints.remove(sharePoint);
    host->updateCounts();
    if (host->sharePoints.count() == 0)
        hosts.remove(host);
}

} // namespace quorrel
