// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountsAsFiles.h"

#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/MountTracker.h"
#include "Platform/Linux/ProcessTable.h"
#include "Platform/Linux/ReadablePath.h"
#include "Platform/Linux/SpawnedProcess.h"

#include <algorithm>
#include <array>

namespace quorrel {

namespace {

constexpr Seconds clearingLimit { 2 };
constexpr Seconds lookAgain { 0.02 };

} // namespace

bool MountsAsFiles::revive(BoundedLoop& loop, MountTracker& tracker) {
    if (m_isReviving.exchange(true))
        return true;
    bool isAlive = true;
    if (ReadablePath::isCutOff(loop, m_folder)) {
        isAlive = clear(loop) && start(tracker);
        m_log.line("The program that shows gvfs's mounts as files has died; it %@",
            { isAlive ? "was started again" : "could not be started again" });
    }
    m_isReviving = false;
    return isAlive;
}

bool MountsAsFiles::clear(BoundedLoop& loop) const {
    // The lazy way comes last: somebody's working folder may be in it, and is lost either way.
    constexpr std::array ways { std::array { "fusermount3", "-u" }, std::array { "fusermount", "-u" },
        std::array { "fusermount3", "-uz" }, std::array { "fusermount", "-uz" } };
    for (const auto& [program, option] : ways) {
        if (SpawnedProcess(program, { option, "--", m_folder }).startDetached() != 0)
            continue;
        const auto limit = std::max(Seconds::zero(), loop.remaining() - clearingLimit / ways.size());
        while (!loop.isOver() && loop.remaining() > limit) {
            if (!ReadablePath::isCutOff(loop, m_folder))
                return true;
            loop.pause(lookAgain);
        }
    }
    return false;
}

bool MountsAsFiles::start(MountTracker& tracker) const {
    const auto daemon = tracker.daemonProcess();
    if (!daemon)
        return false;
    // The two come with one another, wherever the distribution puts them.
    const auto path = ProcessTable::linkTarget("/proc/" + std::to_string(*daemon) + "/exe");
    const auto slash = path.rfind('/');
    return slash != std::string::npos
        && SpawnedProcess(path.substr(0, slash) + "/gvfsd-fuse", { m_folder, "-f" }).startDetached() == 0;
}

} // namespace quorrel
