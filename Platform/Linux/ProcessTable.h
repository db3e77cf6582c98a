// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

struct ProcessEntry final {
    pid_t identifier = 0;
    pid_t parent = 0;
    std::string name; ///< as the kernel shows it, cut to fifteen bytes
    std::uint64_t startTicks = 0; ///< since the machine started
};

/// The machine's processes as /proc shows them. Any thread; reads nothing but /proc.
namespace ProcessTable {

[[nodiscard]] std::vector<pid_t> identifiers();
/// Absent when the process is gone.
[[nodiscard]] std::optional<ProcessEntry> entry(pid_t process);
/// This moment in the unit of `startTicks`, rounded down.
[[nodiscard]] std::uint64_t nowTicks();
/// Where a symbolic link leads, without following it any further; empty when it cannot be read.
[[nodiscard]] std::string linkTarget(const std::string& path);
/// The server addresses, without ports, that the process has TCP connections to or is about to have.
[[nodiscard]] std::vector<std::string> remoteAddresses(pid_t process);

} // namespace ProcessTable

} // namespace quorrel
