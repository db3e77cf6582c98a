// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuLabel.h"

#include "Desktop/ShownText.h"

#include <QChar>

#include <algorithm>
#include <utility>

namespace quorrel::MenuLabel {

namespace {

constexpr QChar emSpace(0x2003); // the one kind of leading blank that every desktop shows
constexpr QLatin1Char mnemonicMark('&');
constexpr QLatin1Char desktopsMark('_');

/// A name's own blanks would indent it as if it stood below the row above.
QString withoutIndentation(const QString& text) {
    const auto first = std::find_if_not(text.begin(), text.end(), [](QChar character) { return character.isSpace(); });
    return text.mid(first - text.begin());
}

/// Some desktops on GTK unescape the label of a row without a menu of its own twice if it has a marked character, and
/// others once. No label with an underscore behind the marked ampersand is right for both, so that another character,
/// which looks like one and is in most fonts, stands there instead.
void replaceUnderscoresBehindMark(QString& text) {
    constexpr QChar lowMacron(0x02cd);
    const auto ampersand = text.indexOf(mnemonicMark);
    const auto underscore = text.indexOf(desktopsMark);
    if (ampersand >= 0 && ampersand < underscore)
        text.replace(desktopsMark, lowMacron);
}

/// The desktop's own mark is doubled. Qt makes the first "&" of a text the desktop's mark, unless it is the last
/// character, and leaves the others as they are: so an additional one comes first. It is the second half of a doubled
/// mark where there is one to the left, and otherwise marks the ampersand itself.
QString escapedForDesktop(QString text) {
    const auto ampersand = text.indexOf(mnemonicMark);
    const auto underscore = text.indexOf(desktopsMark);
    text.replace(desktopsMark, QStringLiteral("__"));
    if (ampersand < 0)
        return text;
    if (underscore >= 0 && underscore < ampersand)
        return text.replace(underscore + 1, 1, mnemonicMark);
    return text.insert(ampersand, mnemonicMark);
}

} // namespace

QString textOf(const MenuItem& item, Drawer drawer) {
    auto title = withoutIndentation(ShownText::line(item.title));
    const QString indentation(std::max(item.indentationLevel, 0), emSpace);
    if (drawer == Drawer::Desktop) {
        if (!item.submenu)
            replaceUnderscoresBehindMark(title);
        return indentation + escapedForDesktop(std::move(title));
    }
    return indentation + title.replace(mnemonicMark, QStringLiteral("&&"));
}

} // namespace quorrel::MenuLabel
