// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/OwnShares.h"

#include "Console/ConsoleEnvironment.h"
#include "Foundation/StringTable.h"
#include "Platform/VolumeService.h"
#include "Sources/HostDefinition.h"
#include "Sources/MountEnvironment.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/RemoteCommands.h"
#include "Sources/ShareIdentities.h"
#include "Sources/SharePointDefinition.h"

#include <utility>

namespace quorrel {

OwnShares::OwnShares(const ConsoleEnvironment& environment, QuorrelAppDelegate& controller, const InterruptGuard& guard)
    : m_environment(environment)
    , m_controller(controller)
    , m_operations(controller, environment.mainThreadQueue, environment.runLoop, guard) { }

ShareAgent::Hosts OwnShares::hosts() {
    return m_controller.hosts.snapshot();
}

void OwnShares::run(Kind kind, const SharePoints& sharePoints, Output* progress) {
    m_done = kind;
    m_operations.run(kind, sharePoints, progress);
}

std::vector<ShareRow> OwnShares::rows(const SharePoints& sharePoints) {
    const auto volumes = m_environment.mounting.volumes.mountedVolumes();
    std::vector<ShareRow> rows;
    for (const auto& sharePoint : sharePoints) {
        auto row = ShareRow::of(*sharePoint, volumes);
        const auto host = sharePoint->parentHost.get().lock();
        // A mount that waited for the host's address in vain leaves no error behind.
        if (m_done == Kind::Mount && !row.mounted && row.error.empty() && host && !host->resolved.get())
            row.error = m_environment.strings.text("The host's address could not be found.");
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<RemoteShare> OwnShares::shares() {
    ShareIdentities identities;
    identities.update(hosts());
    std::vector<RemoteShare> result;
    for (const auto& host : hosts())
        for (const auto& sharePoint : host->sharePoints.snapshot())
            result.push_back(RemoteCommands::describe(*sharePoint, identities.identityOf(*sharePoint)));
    return result;
}

} // namespace quorrel
