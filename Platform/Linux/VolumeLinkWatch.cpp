// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeLinkWatch.h"

#include <utility>

namespace quorrel {

namespace {

constexpr auto folderName = "Volumes";

} // namespace

VolumeLinkWatch::VolumeLinkWatch(const std::string& home, const std::string& mountFolder, std::function<void()> changed)
    : m_reader(home, mountFolder)
    , m_home(home)
    , m_changed(std::move(changed)) {
    look();
}

bool VolumeLinkWatch::look() {
    const auto watch = [this](const std::string& folder, const char* name) {
        return std::make_unique<FolderWatch>(folder, name, [this] { lookAndTell(); });
    };
    m_isWatchingVolumes = m_isWatchingVolumes && m_watch->isWatching();
    // The second look is for a folder that came just before the home folder was watched.
    for (int look = 0; look < 2 && !m_isWatchingVolumes; ++look) {
        if (look > 0)
            m_watch = watch(m_home + "/.", folderName); // followed where the home folder is a link
        if (auto volumes = watch(m_home + "/" + folderName, ""); volumes->isWatching()) {
            m_watch = std::move(volumes);
            m_isWatchingVolumes = true;
        }
    }
    auto links = m_isWatchingVolumes ? m_reader.links() : std::vector<VolumeLinks::Link>();
    if (links == m_links)
        return false;
    m_links = std::move(links);
    return true;
}

void VolumeLinkWatch::lookAndTell() {
    if (!look())
        return;
    const auto changed = m_changed; // outlives the watch
    changed();
}

} // namespace quorrel
