// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// Whether the XML form of a property list is safe to parse. The parser frees what it has read by calling itself once
/// per level, also when it gives up, so that the depth must be known before. Linear in the size of the file.
///
/// Returns why not: elements nested deeper than that, or markup that no property list has and that could be read in
/// two ways, so that counting elements would say nothing. Does not tell whether the rest is well formed.
[[nodiscard]] std::optional<std::string> xmlPlistRefusal(std::string_view bytes, std::size_t deepest);

/// The same property list with every text that has very many escapes divided by empty literal texts: the parser moves
/// the rest of a text for each escape, which takes minutes for a megabyte. Absent when there is no such text.
[[nodiscard]] std::optional<std::string> xmlPlistWithDividedTexts(std::string_view bytes);

} // namespace quorrel
