// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// Tells what is at a path now from what was there before, without reading it: equal for as long as nobody wrote or
/// replaced the file. Empty when nothing is there. Any thread.
[[nodiscard]] std::string fileVersion(const std::string& path);

} // namespace quorrel
