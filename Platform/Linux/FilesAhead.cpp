// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FilesAhead.h"

#include "Platform/Linux/FormerMounts.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/MountsAsFiles.h"
#include "Platform/Linux/MountTracker.h"
#include "Platform/Linux/VolumeLinks.h"

namespace quorrel {

namespace {

constexpr Seconds revivalLimit { 5 };
constexpr Seconds lookAgain { 0.02 };

} // namespace

FilesAhead::~FilesAhead() {
    if (m_hasMadeFolder)
        m_links.removeEmptyFolder();
}

void FilesAhead::begin(const GvfsMount& mount, const std::string& path) {
    if (path == m_path)
        return;
    m_path = path;
    m_look.reset();
    if (path.empty())
        return;
    m_look = m_formerMounts.contains(mount.fusePath) ? ReadablePath::lookUntilReachable(path)
                                                     : ReadablePath::lookUntilListed(mount.fusePath);
    // Now, since it may be somebody else who takes the mount away.
    m_formerMounts.remember(mount.fusePath);
    m_hasMadeFolder |= m_links.makeFolder();
}

bool FilesAhead::wait(BoundedLoop& loop, MountTracker& tracker) {
    if (!m_look)
        return true;
    auto files = ReadablePath::wait(loop, *m_look);
    if (files == ReadablePath::Files::CutOff) {
        if (!m_files.revive(loop, tracker))
            return false;
        // What is listed may be a moment behind its folder.
        const auto end = loop.remaining() - revivalLimit;
        do {
            loop.pause(lookAgain);
            m_look = ReadablePath::lookAgain(*m_look);
            files = ReadablePath::wait(loop, *m_look);
        } while (files == ReadablePath::Files::CutOff && loop.remaining() > end && !loop.isOver());
    }
    return files == ReadablePath::Files::Shown;
}

} // namespace quorrel
