// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace quorrel::Text {

/// The format with its places ("%@", "%d", "%i") filled in order; "%%" is a percent sign. A place without a value is
/// left empty, a value without a place is not shown.
[[nodiscard]] std::string filled(std::string_view format, std::initializer_list<std::string> values);

/// The text with its control characters, save line feed and tab, written as escapes, so that a name from the network
/// can neither move a terminal's cursor nor hide in a log. Bytes that are not UTF-8 are written as escapes too.
[[nodiscard]] std::string escapedControls(std::string_view text);

/// The text on one line: line feeds and tabs are escapes too, and so is what would turn the direction of writing or
/// stand there unseen.
[[nodiscard]] std::string onOneLine(std::string_view text);

/// As `filled`, each value made one line by `onOneLine` first.
[[nodiscard]] std::string filledOnOneLine(std::string_view format, std::initializer_list<std::string> values);

/// The text with a mark in the place of all that `onOneLine` escapes. Joiners alone stay: some languages write words
/// with them, and some pictures are made of several.
[[nodiscard]] std::string withoutControls(std::string_view text, char mark);

[[nodiscard]] bool isUTF8(std::string_view bytes);

/// Decodes bytes as ASCII: others become U+FFFD.
[[nodiscard]] std::string fromASCII(std::string_view bytes);

/// ASCII letters in lower case, all else as it is.
[[nodiscard]] std::string lowerCase(std::string_view text);

/// What stands behind the last slash, trailing slashes aside; empty for a text of slashes alone.
[[nodiscard]] std::string lastPathComponent(std::string_view path);

/// The text without the slashes that it begins and ends with.
[[nodiscard]] std::string_view withoutOuterSlashes(std::string_view path);

/// Undoes the percent escapes of a URL's part; a percent sign that begins none stays.
[[nodiscard]] std::string percentDecoded(std::string_view text);

} // namespace quorrel::Text
