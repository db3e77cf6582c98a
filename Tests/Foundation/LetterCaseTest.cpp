// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/LetterCase.h"

#include <gtest/gtest.h>

#include <string>

namespace quorrel::Text {

TEST(LetterCaseTest, capitalsOfThreeAlphabetsBecomeSmall) {
    EXPECT_EQ(foldedCase("Public-1 [Z]"), "public-1 [z]");
    EXPECT_EQ(foldedCase("ÀÖØÞ ĂĮ ĲĶ ĹŇ ŊŶ Ÿ ŹŽ"), "àöøþ ăį ĳķ ĺň ŋŷ ÿ źž");
    EXPECT_EQ(foldedCase("ΆΈΉΊΌΎΏ ΑΡΣΫ"), "άέήίόύώ αρσϋ");
    EXPECT_EQ(foldedCase("ЁЏ АЯ Ґ Ө"), "ёџ ая ґ ө");
}

TEST(LetterCaseTest, theLastLetterOfAGreekWordIsNoOther) {
    EXPECT_EQ(foldedCase("ΚΟΙΝΌΣ κοινός"), "κοινόσ κοινόσ");
}

TEST(LetterCaseTest, whatIsNoCapitalStays) {
    for (const std::string text :
        { "àöøþÿ×÷ß", "ăĳĺŉŋž", "άασώ", "аяёґ", "İıĸſ", "日本語 €😀", "\xC3", "\xC3(", "\x80\xFF", "" })
        EXPECT_EQ(foldedCase(text), text);
}

TEST(LetterCaseTest, noTextBecomesLongerOrShorter) {
    for (int lead = 0xC2; lead <= 0xDF; ++lead)
        for (int next = 0x80; next <= 0xBF; ++next) {
            const std::string text { static_cast<char>(lead), static_cast<char>(next) };
            const auto folded = foldedCase(text);
            EXPECT_EQ(folded.size(), 2U);
            EXPECT_EQ(foldedCase(folded), folded);
        }
}

} // namespace quorrel::Text
