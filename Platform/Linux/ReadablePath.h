// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <memory>
#include <string>

namespace quorrel {

/// The program that shows gvfs's mounts as files hears of a mount on its own, a moment before or after us. And it
/// remembers a place's former mount until that has failed once.
namespace ReadablePath {

/// What came of a wait. Cut off: that program has died, and what it showed stands there and answers nobody.
enum class Files { Shown, Slow, CutOff };

/// A look that goes on beside whoever began it, for a few seconds at most, and ends with its last owner's interest.
class Look;

/// Until that program lists the mount; that costs its server nothing. Enough at a place that was never mounted before.
[[nodiscard]] std::shared_ptr<Look> lookUntilListed(const std::string& mountFolder);

/// Until the files of the mount can be reached. It takes the former mount's failure, so that neither the user nor a
/// script meets it, and costs a tenth of a mount.
[[nodiscard]] std::shared_ptr<Look> lookUntilReachable(const std::string& path);

/// The same once more.
[[nodiscard]] std::shared_ptr<Look> lookAgain(const Look& look);

/// Waits for the end of the look.
[[nodiscard]] Files wait(BoundedLoop& loop, Look& look);

/// Looks once.
[[nodiscard]] bool isCutOff(BoundedLoop& loop, const std::string& folder);

} // namespace ReadablePath

} // namespace quorrel
