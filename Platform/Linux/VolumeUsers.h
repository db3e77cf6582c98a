// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quorrel {

struct VolumeUser final {
    pid_t process = 0;
    std::string name;
};

/// Which processes use what is below a folder: an open file, a working or root directory, a mapped file. gvfs takes a
/// volume away from under them without a word.
///
/// Any thread. Reads /proc only, never the folder itself, and sees only processes that may be read.
namespace VolumeUsers {

[[nodiscard]] std::vector<VolumeUser> below(const std::string& folder);

/// For the log: "name (12), name (13)".
[[nodiscard]] std::string printed(const std::vector<VolumeUser>& users);

} // namespace VolumeUsers

} // namespace quorrel
