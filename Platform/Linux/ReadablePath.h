// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <string>

namespace quorrel {

namespace ReadablePath {

/// Waits, for a moment at most, until the files of a fresh mount can be reached by their paths. The program that shows
/// gvfs's mounts as files remembers a place's former mount until it has failed once; that failure is taken here, so
/// that neither the user nor a script meets it. Whether the path answers as it should; an empty path does.
bool settle(BoundedLoop& loop, const std::string& path);

} // namespace ReadablePath

} // namespace quorrel
