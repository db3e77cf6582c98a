// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <string>

namespace quorrel {

namespace ReadablePath {

/// The program that shows gvfs's mounts as files remembers a place's former mount until it has failed once. This takes
/// that failure, so that neither the user nor a script meets it. It costs a tenth of a mount, so it goes on beside.
void beginSettling(const std::string& path);

/// The same, and waits for a moment at most until the files of the mount can be reached. Whether they can.
bool settle(BoundedLoop& loop, const std::string& path);

} // namespace ReadablePath

} // namespace quorrel
