// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <string>

namespace quorrel {

/// The program that shows gvfs's mounts as files hears of a mount on its own, a moment before or after us. And it
/// remembers a place's former mount until that has failed once.
namespace ReadablePath {

/// What came of a wait. Cut off: that program has died, and what it showed stands there and answers nobody.
enum class Files { Shown, Slow, CutOff };

/// Waits until that program lists the mount, for a few seconds at most; that costs its server nothing. Enough at a
/// place that was never mounted before.
[[nodiscard]] Files waitUntilListed(BoundedLoop& loop, const std::string& mountFolder);

/// Waits, for a few seconds at most, until the files of the mount can be reached, and takes the former mount's failure,
/// so that neither the user nor a script meets it. It costs a tenth of a mount.
[[nodiscard]] Files waitUntilReachable(BoundedLoop& loop, const std::string& path);

/// Looks once.
[[nodiscard]] bool isCutOff(BoundedLoop& loop, const std::string& folder);

} // namespace ReadablePath

} // namespace quorrel
