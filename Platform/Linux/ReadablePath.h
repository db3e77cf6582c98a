// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <string>

namespace quorrel {

/// The program that shows gvfs's mounts as files hears of a mount on its own, a moment before or after us. And it
/// remembers a place's former mount until that has failed once.
namespace ReadablePath {

/// Waits until that program lists the mount, for a few seconds at most; that costs its server nothing. Whether it does.
/// Enough at a place that was never mounted before.
bool waitUntilListed(BoundedLoop& loop, const std::string& mountFolder);

/// Waits, for a few seconds at most, until the files of the mount can be reached, and takes the former mount's failure,
/// so that neither the user nor a script meets it. It costs a tenth of a mount. Whether they can.
bool waitUntilReachable(BoundedLoop& loop, const std::string& path);

} // namespace ReadablePath

} // namespace quorrel
