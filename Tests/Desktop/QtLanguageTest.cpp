// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtLanguage.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCoreApplication>
#include <QString>

#include <optional>
#include <string>

namespace quorrel {
namespace {

class QtLanguageTest : public testing::Test {
protected:
    ~QtLanguageTest() override {
        m_language.reset();
        QApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
    }

    void speak(const std::string& languages) { m_language.emplace(languages); }
    [[nodiscard]] static std::string copyCommand() {
        return QCoreApplication::translate("QWidgetTextControl", "&Copy").toStdString();
    }

private:
    std::optional<QtLanguage> m_language;
};

TEST_F(QtLanguageTest, qtsOwnWordsAreInTheUsersLanguage) {
    speak("de_AT.UTF-8");
    EXPECT_EQ(copyCommand(), "&Kopieren");
    EXPECT_EQ(QApplication::layoutDirection(), Qt::LeftToRight);
}

TEST_F(QtLanguageTest, theFirstLanguageThatIsThereCounts) {
    speak("eo:nl:de_DE.UTF-8");
    EXPECT_EQ(copyCommand(), "&Kopiëren");
}

TEST_F(QtLanguageTest, englishAndNoLanguageNeedNothing) {
    for (const auto* languages : { "", "C.UTF-8", "en_GB:de", "en_US.UTF-8:he" }) {
        speak(languages);
        EXPECT_EQ(copyCommand(), "&Copy") << languages;
        EXPECT_EQ(QApplication::layoutDirection(), Qt::LeftToRight) << languages;
    }
}

TEST_F(QtLanguageTest, windowsAreMirroredWhereTheLanguageIsWrittenFromTheRight) {
    // Of the last, Qt has no words.
    for (const auto* language : { "he_IL.UTF-8", "ar", "ur_PK.UTF-8" }) {
        speak(language);
        EXPECT_EQ(QApplication::layoutDirection(), Qt::RightToLeft) << language;
        QApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
    }
}

} // namespace
} // namespace quorrel
