// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxVolumeWatch.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

Seconds now() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

LinuxVolumeWatch::LinuxVolumeWatch(const Settings& settings)
    : m_gvfsVolumes(settings.homeDirectory + "/Volumes")
    , m_kernelMounts([this] { update(); })
    , m_links(settings.homeDirectory, settings.runtimeDirectory + "/gvfs", [this] { linksChanged(); })
    , m_gvfsMounts(settings.sessionBus, [this] { update(); }) {
    update();
}

Subscription LinuxVolumeWatch::registerDiskDisappearedCallback(Callback callback) {
    return m_announcer.addDisappeared(std::move(callback));
}

Subscription LinuxVolumeWatch::registerDiskAppearedCallback(Callback callback) {
    return m_announcer.addAppeared(std::move(callback));
}

void LinuxVolumeWatch::linksChanged() {
    const auto& mounts = m_gvfsMounts.mounts();
    const auto isKnown = [&](const VolumeLinks::Link& link) {
        return std::any_of(
            mounts.begin(), mounts.end(), [&](const GvfsMount& mount) { return mount.covers(link.target); });
    };
    if (!std::all_of(m_links.links().begin(), m_links.links().end(), isKnown))
        m_gvfsMounts.refresh();
    update();
}

void LinuxVolumeWatch::update() {
    auto volumes = m_gvfsVolumes.update(m_gvfsMounts.mounts(), m_links.links(), now());
    // Mounts of one source are one volume wherever they are: the first counts, and it goes with the last.
    for (const auto& mount : m_kernelMounts.mounts())
        volumes.try_emplace(mount.identity(), mount.describe());
    if (const auto next = m_gvfsVolumes.nextChange())
        m_nextChange.start(std::max(Seconds(0), *next - now()), [this] { update(); });
    else
        m_nextChange.stop();
    m_announcer.update(volumes);
}

} // namespace quorrel
