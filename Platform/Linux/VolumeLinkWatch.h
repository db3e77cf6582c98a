// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FolderWatch.h"
#include "Platform/Linux/VolumeLinks.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Follows our links in the user's folder of volumes, which comes and goes with them. Main thread only; no link is ever
/// followed, and a folder of volumes that is itself a link counts as none.
class VolumeLinkWatch final {
public:
    /// The folders are those of `VolumeLinks`. Called from the main GLib context when the links are others than before.
    /// It must not throw; it may destroy the watch.
    VolumeLinkWatch(const std::string& home, const std::string& mountFolder, std::function<void()> changed);

    /// By name.
    [[nodiscard]] const std::vector<VolumeLinks::Link>& links() const { return m_links; }

private:
    /// Whether anything is different.
    bool look();
    void lookAndTell();

    const VolumeLinks m_reader;
    const std::string m_home;
    const std::function<void()> m_changed;
    std::vector<VolumeLinks::Link> m_links;
    std::unique_ptr<FolderWatch> m_watch; ///< of the folder of volumes; of the home folder while there is none
    bool m_isWatchingVolumes = false;
};

} // namespace quorrel
