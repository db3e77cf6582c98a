// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ShownText.h"

#include <QChar>
#include <QRegularExpression>

#include <algorithm>

namespace quorrel::ShownText {

namespace {

constexpr qsizetype longestLine = 1000;
constexpr qsizetype longestMessage = 5000; // what fits on a screen

bool isHarmless(QChar character) {
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format: // an override or an isolate would reorder what stands beside the text
        return (character.unicode() < 0x202a || character.unicode() > 0x202e)
            && (character.unicode() < 0x2066 || character.unicode() > 0x2069);
    default:
        return true;
    }
}

/// At most so many characters of it, and no half of one.
QString cut(QString shown, qsizetype longest) {
    if (shown.size() <= longest)
        return shown;
    shown.truncate(shown.at(longest - 1).isHighSurrogate() ? longest - 1 : longest);
    return shown + QChar(0x2026);
}

QString beginning(const std::string& text, qsizetype longest) {
    constexpr qsizetype bytesOfCharacter = 4;
    const auto bytes = std::min(static_cast<qsizetype>(text.size()), (longest + 2) * bytesOfCharacter);
    return cut(QString::fromUtf8(text.data(), bytes), longest);
}

QString onOneLine(QString shown) {
    for (auto& character : shown)
        if (!isHarmless(character))
            character = QLatin1Char(' ');
    return shown;
}

} // namespace

QString line(const std::string& text) {
    return onOneLine(beginning(text, longestLine));
}

QString line(const QString& text) {
    return onOneLine(cut(text, longestLine));
}

QString message(const std::string& text) {
    auto shown = beginning(text, longestMessage);
    for (auto& character : shown)
        if (character != QLatin1Char('\n') && !isHarmless(character))
            character = QLatin1Char(' ');
    return shown;
}

QString toolTip(const QString& text) {
    return text.isEmpty() ? QString() : "<qt>" + text.toHtmlEscaped().replace('\n', "<br>") + "</qt>";
}

QString withoutMnemonic(QString title) {
    static const QRegularExpression atEnd(QStringLiteral("\\s*\\(&[^&]\\)"));
    title.remove(atEnd);
    return title.remove('&');
}

} // namespace quorrel::ShownText
