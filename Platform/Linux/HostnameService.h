// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// The name that the user gave the machine, asked of the service that keeps it. Blocks no longer than that; any thread.
/// Absent when there is no answer in time or no such name.
[[nodiscard]] std::optional<std::string> prettyHostname(const std::string& busAddress, Seconds deadline);

/// The value under that key in a text of shell assignments, its quoting undone; the last assignment counts.
[[nodiscard]] std::optional<std::string> shellAssignment(std::string_view text, std::string_view key);

} // namespace quorrel
