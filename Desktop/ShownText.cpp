// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ShownText.h"

#include <QChar>

namespace quorrel::ShownText {

namespace {

constexpr qsizetype longestLine = 1000;

bool isHarmless(QChar character) {
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format: // an override would reorder what stands beside the text
        return character.unicode() < 0x202a || character.unicode() > 0x202e;
    default:
        return true;
    }
}

} // namespace

QString line(const std::string& text) {
    auto shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (shown.size() > longestLine)
        shown = shown.left(longestLine) + QChar(0x2026);
    for (auto& character : shown)
        if (!isHarmless(character))
            character = QLatin1Char(' ');
    return shown;
}

QString toolTip(const QString& text) {
    return text.isEmpty() ? QString() : "<qt>" + text.toHtmlEscaped().replace('\n', "<br>") + "</qt>";
}

} // namespace quorrel::ShownText
