// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/Log.h"
#include "Foundation/StringTable.h"
#include "Platform/ChildProcess.h"
#include "Platform/VolumeService.h"

namespace quorrel {

/// What mounting and unmounting need of the world. All of it must outlive the operations, and any thread may use it.
struct MountEnvironment final {
    VolumeService& volumes;
    ChildProcess& childProcess;
    Clock& clock;
    Log& log;
    const StringTable& strings;
};

} // namespace quorrel
