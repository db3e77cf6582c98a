// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text for a terminal's columns. No state; any thread.
namespace quorrel::DisplayText {

/// The text on one line, with everything escaped that could move the cursor or turn the direction of writing.
[[nodiscard]] std::string printable(std::string_view text);

/// How many columns a printable text takes: wide characters take two, combining ones none. Beyond the limit it is not
/// counted further.
[[nodiscard]] std::size_t width(std::string_view text, std::size_t limit = static_cast<std::size_t>(-1));

/// The text cut to at most so many columns, with "…" at its end when something was cut.
[[nodiscard]] std::string clipped(std::string_view text, std::size_t columns);

/// The text with blanks behind it up to so many columns.
[[nodiscard]] std::string padded(std::string_view text, std::size_t columns);

} // namespace quorrel::DisplayText
