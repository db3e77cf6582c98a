// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorrel::Text {

/// The text's paragraphs in order, without their ends: a line feed, a carriage return, both together, or a Unicode
/// paragraph or line separator. Empty ones are kept; nothing follows an end that ends the text.
[[nodiscard]] std::vector<std::string> paragraphs(std::string_view text);

} // namespace quorrel::Text
