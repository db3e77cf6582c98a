// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuLabel.h"

#include "Desktop/ShownText.h"

#include <QChar>

#include <algorithm>

namespace quorrel::MenuLabel {

namespace {

constexpr QChar emSpace(0x2003); // the one kind of leading blank that every desktop shows
constexpr QLatin1Char mnemonicMark('&');
constexpr QLatin1Char desktopsMark('_');

/// Qt makes the first "&" of a text the desktop's mark, unless it is the last character, and leaves all others as they
/// are. So the first one is to mark the one behind it, and the desktop's own mark is doubled.
QString escapedForDesktop(QString text) {
    text.replace(desktopsMark, QStringLiteral("__"));
    if (const auto first = text.indexOf(mnemonicMark); first >= 0)
        text.insert(first, mnemonicMark);
    return text;
}

} // namespace

QString textOf(const MenuItem& item, Drawer drawer) {
    const auto title = ShownText::line(item.title);
    const QString indentation(std::max(item.indentationLevel, 0), emSpace);
    if (drawer == Drawer::Desktop)
        return indentation + escapedForDesktop(title);
    return indentation + QString(title).replace(mnemonicMark, QStringLiteral("&&"));
}

} // namespace quorrel::MenuLabel
