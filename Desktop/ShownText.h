// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <string>

namespace quorrel::ShownText {

/// A name or a message, which may come from the network, as one line of plain text: what would break the line, move
/// or reorder the text around it becomes a blank, and what nobody could read to its end is cut.
[[nodiscard]] QString line(const std::string& text);
[[nodiscard]] QString line(const QString& text);

/// As `line`, for a text that has lines of its own.
[[nodiscard]] QString message(const std::string& text);

/// The text for a tool tip, which wraps, and in which nothing counts as markup.
[[nodiscard]] QString toolTip(const QString& text);

/// The title of a control as a sentence says it: without its mnemonic, which some scripts put behind it in parentheses.
[[nodiscard]] QString withoutMnemonic(QString title);

} // namespace quorrel::ShownText
