// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtLanguage.h"

#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QString>

#include <sstream>

namespace quorrel {

QtLanguage::QtLanguage(const std::string& languages) {
    std::istringstream list(languages);
    for (std::string name; std::getline(list, name, ':');) {
        const QLocale locale(QString::fromStdString(name));
        if (locale.language() == QLocale::C || locale.language() == QLocale::English)
            return; // what Qt says by itself
        const bool hasWords = m_words.load(
            locale, QStringLiteral("qtbase"), QStringLiteral("_"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
        if (!hasWords && locale.textDirection() != Qt::RightToLeft)
            continue;
        // Qt's words say the direction, too, unless none of them are installed.
        if (hasWords)
            QCoreApplication::installTranslator(&m_words);
        else
            QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        return;
    }
}

} // namespace quorrel
