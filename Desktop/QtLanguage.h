// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTranslator>

#include <string>

namespace quorrel {

/// Has Qt's own words, as in the menus of text fields and in file dialogs, in the first of the user's languages in
/// which they are there, and windows laid out from right to left where that language is written so. Lives as long as
/// the application, on the main thread.
class QtLanguage final {
public:
    /// The languages are names of locales with colons between them, as in StandardPaths; none leaves Qt's English.
    explicit QtLanguage(const std::string& languages);

private:
    QTranslator m_words;
};

} // namespace quorrel
