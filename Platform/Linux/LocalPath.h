// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Where an absolute path leads, links followed, without a look at anything on the volumes: at a server that is silent
/// every look waits. Absent when nothing is there, or when the way leads onto one of the volumes.
[[nodiscard]] std::optional<std::string> localPath(const std::string& path, const std::vector<std::string>& volumes);

} // namespace quorrel
