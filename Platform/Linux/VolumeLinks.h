// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"

#include <string>
#include <vector>

namespace quorrel {

/// The user's folder of volumes: one symbolic link for each, under the volume's name.
///
/// Any thread, and other processes beside. Ours is a link that leads below the session's folder of gvfs mounts; nothing
/// else is ever removed or replaced. The folder is there only while it has something in it. No link is ever followed.
class VolumeLinks final {
public:
    /// `home`: where the folder "Volumes" goes. `mountFolder`: what the links must lead below.
    VolumeLinks(const std::string& home, std::string mountFolder);

    struct Link final {
        std::string name;
        std::string target;

        [[nodiscard]] bool operator==(const Link&) const = default;
    };

    /// Makes sure that a link leads to the target, and returns its name: the one asked for, or with "-1" and so on
    /// where that is taken. On failure the name is empty and the reason filled.
    [[nodiscard]] std::string add(const std::string& name, const std::string& target, std::string& reason);

    /// Makes the folder ahead of a link, if it can. Whether it was not there.
    [[nodiscard]] bool makeFolder() const;
    void removeEmptyFolder() const;

    /// Removes our links that lead exactly there.
    void removeLinksTo(const std::string& target);

    /// Ours, by name.
    [[nodiscard]] std::vector<Link> links() const;
    [[nodiscard]] std::string pathOf(const std::string& name) const { return m_folder + "/" + name; }

    /// The name in a form that a file may have, and that shows as it is wherever files are listed.
    [[nodiscard]] static std::string fileName(const std::string& name);

private:
    [[nodiscard]] bool isOurs(const std::string& target) const;
    void remove(const std::string& name) REQUIRES(m_mutex);

    const std::string m_folder;
    const std::string m_mountFolder;
    Mutex m_mutex; ///< one change at a time, so that two volumes cannot get one link
};

} // namespace quorrel
