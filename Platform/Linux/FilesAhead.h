// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/ReadablePath.h"

#include <memory>
#include <string>

namespace quorrel {

class FormerMounts;
class MountsAsFiles;
class MountTracker;
class VolumeLinks;
struct GvfsMount;

/// One mount's way from gvfs's word to files that can be read and a folder for its link. gvfs announces a mount a
/// moment before it answers whoever asked for it, and what is begun then is over with the answer. One thread.
class FilesAhead final {
public:
    FilesAhead(const FormerMounts& formerMounts, MountsAsFiles& files, VolumeLinks& links)
        : m_formerMounts(formerMounts)
        , m_files(files)
        , m_links(links) { }
    /// Takes the folder away again if no link came into it.
    ~FilesAhead();
    FilesAhead(const FilesAhead&) = delete;
    FilesAhead& operator=(const FilesAhead&) = delete;

    /// Goes on with what it has begun for that path, or begins. An empty path has no files.
    void begin(const GvfsMount& mount, const std::string& path);

    /// Whether the files can be read by now, or there are none to be.
    [[nodiscard]] bool wait(BoundedLoop& loop, MountTracker& tracker);

private:
    const FormerMounts& m_formerMounts;
    MountsAsFiles& m_files;
    VolumeLinks& m_links;
    std::string m_path;
    std::shared_ptr<ReadablePath::Look> m_look;
    bool m_hasMadeFolder = false;
};

} // namespace quorrel
