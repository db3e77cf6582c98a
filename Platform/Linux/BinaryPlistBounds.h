// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// Whether a binary property list is safe to unpack. The parser follows references by calling itself and copies what
/// is referred to twice, so that a few kilobytes can exhaust the stack or the memory. Linear in the size of the file.
///
/// Returns why not: references that leave the file or run in a circle, containers nested deeper than that, or more
/// values when unpacked than the file could hold one by one.
[[nodiscard]] std::optional<std::string> binaryPlistRefusal(std::string_view bytes, std::size_t deepest);

[[nodiscard]] bool isBinaryPlist(std::string_view bytes);

} // namespace quorrel
