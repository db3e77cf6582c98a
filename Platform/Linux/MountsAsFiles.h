// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"

#include <atomic>
#include <string>
#include <utility>

namespace quorrel {

class BoundedLoop;
class MountTracker;

/// The file system in which a program of gvfs's shows all its mounts as files. Any thread.
///
/// gvfs's daemon starts that program once in its own life. If it dies, every mount lives on, but its place under
/// the folder answers nobody until the user logs in again, unless somebody starts the program anew.
class MountsAsFiles final {
public:
    MountsAsFiles(Log& log, std::string folder)
        : m_log(log)
        , m_folder(std::move(folder)) { }

    /// Clears the dead program's folder and starts it again, beside the daemon that runs. Does nothing when it lives,
    /// or when another thread is at it. False when it cannot be started.
    [[nodiscard]] bool revive(BoundedLoop& loop, MountTracker& tracker);

private:
    [[nodiscard]] bool clear(BoundedLoop& loop) const;
    [[nodiscard]] bool start(MountTracker& tracker) const;

    Log& m_log;
    const std::string m_folder;
    std::atomic<bool> m_isReviving = false;
};

} // namespace quorrel
