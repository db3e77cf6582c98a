// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quorrel {

class ChildProcess;
class Log;

/// What a look-up tool prints, as text; one that is not there says nothing. Any thread, which it blocks.
[[nodiscard]] std::string toolOutput(
    ChildProcess& childProcess, Log& log, const std::string& path, const std::vector<std::string>& arguments);

} // namespace quorrel
