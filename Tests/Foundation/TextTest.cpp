// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace quorrel::Text {

TEST(TextTest, percentEscapesAreUndoneOnceAndWhatIsNoneStays) {
    EXPECT_EQ(percentDecoded("%C3%9Cber%20uns/a"), "Über uns/a");
    EXPECT_EQ(percentDecoded("a%2520b%zz%4"), "a%20b%zz%4");
    EXPECT_EQ(percentDecoded("%"), "%");
}

TEST(TextTest, placesAreFilledInOrder) {
    EXPECT_EQ(filled("%@ is %d of %i", { "a", "1", "2" }), "a is 1 of 2");
    EXPECT_EQ(filled("no place", {}), "no place");
    EXPECT_EQ(filled("", { "x" }), "");
}

TEST(TextTest, aPlaceWithoutAValueIsEmptyAndAValueWithoutAPlaceIsNotShown) {
    EXPECT_EQ(filled("<%@><%@>", { "a" }), "<a><>");
    EXPECT_EQ(filled("<%@>", { "a", "b" }), "<a>");
}

TEST(TextTest, percentSignsElsewhereStay) {
    EXPECT_EQ(filled("100%% of %@", { "x" }), "100% of x");
    EXPECT_EQ(filled("50% %x %", { "x" }), "50% %x %");
    EXPECT_EQ(filled("%%@", { "x" }), "%@");
}

TEST(TextTest, valuesGoInAsTheyAreOrOnOneLine) {
    EXPECT_EQ(filled("%@", { "a\x01%@" }), "a\x01%@");
    EXPECT_EQ(filledOnOneLine("\x01%@", { "a\x01" }),
        "\x01"
        "a\\x01");
}

TEST(TextTest, aNameOnOneLineHidesAndTurnsNothing) {
    EXPECT_EQ(onOneLine("a\nb\tc\x1B"), "a\\nb\\tc\\x1b");
    EXPECT_EQ(onOneLine("\u061C\u200B\u200F\u2028\u202E\u2066\u206F\uFEFF"),
        "\\u061C\\u200B\\u200F\\u2028\\u202E\\u2066\\u206F\\uFEFF");
    EXPECT_EQ(onOneLine("a\xFF\xC3"), "a\\xff\\xc3");
    for (const auto* harmless : { "é € 😀 \\n", "\u200A\u2010\u2027\u202F\u205F\u2070" })
        EXPECT_EQ(onOneLine(harmless), harmless);
    EXPECT_EQ(onOneLine(""), "");
}

TEST(TextTest, aMarkStandsInThePlaceOfWhatALineWouldEscape) {
    EXPECT_EQ(withoutControls("a\nb\tc\x1B\x7F\xC2\x80", '_'), "a_b_c___");
    EXPECT_EQ(withoutControls("\u061C\u200B\u200F\u2028\u202E\u2066\u206F\uFEFF", '_'), "________");
    EXPECT_EQ(withoutControls("a\xFF\xC3(", '_'), "a__(");
    for (const auto* stays : { "", "Über uns 😀", "نیم\u200Cفاصله", "👩\u200D🔧" })
        EXPECT_EQ(withoutControls(stays, '_'), stays);
}

TEST(TextTest, everyControlCharacterIsEscapedSaveLineFeedAndTab) {
    for (int byte = 0; byte < 0x20; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const bool stays = byte == '\n' || byte == '\t';
        EXPECT_EQ(escapedControls(text) == text, stays) << byte;
        EXPECT_EQ(escapedControls(text).size(), stays ? 1U : 4U) << byte;
    }
    EXPECT_EQ(escapedControls("\x7F"), "\\x7f");
    EXPECT_EQ(escapedControls("\xC2\x80\xC2\x9F\xC2\xA0"), "\\xc2\\x80\\xc2\\x9f\xC2\xA0");
}

TEST(TextTest, wellFormedUTF8IsTold) {
    for (const std::string text : { "", "plain", "ä€😀", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF" })
        EXPECT_TRUE(isUTF8(text)) << text;
    EXPECT_TRUE(isUTF8(std::string_view("a\0b", 3)));
    for (const std::string text : { "\x80", "a\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\xE2\x82" })
        EXPECT_FALSE(isUTF8(text)) << escapedControls(text);
}

TEST(TextTest, onlyWellFormedUTF8Stays) {
    for (const std::string text : { "ä", "€", "😀", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF", "\xED\x9F\xBF", "\xEE\x80\x80" })
        EXPECT_EQ(escapedControls(text), text);
    EXPECT_EQ(escapedControls("\xC0\x80"), "\\xc0\\x80"); // longer than it need be
    EXPECT_EQ(escapedControls("\xE0\x80\x80"), "\\xe0\\x80\\x80");
    EXPECT_EQ(escapedControls("\xF0\x80\x80\x80"), "\\xf0\\x80\\x80\\x80");
    EXPECT_EQ(escapedControls("\xED\xA0\x80"), "\\xed\\xa0\\x80"); // half of a pair
    EXPECT_EQ(escapedControls("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // past the last
    EXPECT_EQ(escapedControls("\xE2\x82"), "\\xe2\\x82"); // cut off
    EXPECT_EQ(escapedControls("\x80z\xFF"), "\\x80z\\xff");
    EXPECT_EQ(escapedControls("\xC3(\xC3\xA4"), "\\xc3(ä");
}

TEST(TextTest, bytesOutsideASCIIAreReplacedOneForOne) {
    EXPECT_EQ(fromASCII("plain\n\x01"), "plain\n\x01");
    EXPECT_EQ(fromASCII("\xC3\xA4!"), "\xEF\xBF\xBD\xEF\xBF\xBD!");
}

TEST(TextTest, lowerCaseTouchesASCIIOnly) {
    EXPECT_EQ(lowerCase("AZ az [\\] ÄÖ 09"), "az az [\\] ÄÖ 09");
}

TEST(TextTest, theLastPathComponentIsBehindTheLastSlash) {
    EXPECT_EQ(lastPathComponent("a/b/c"), "c");
    EXPECT_EQ(lastPathComponent("/a"), "a");
    EXPECT_EQ(lastPathComponent("a"), "a");
    EXPECT_EQ(lastPathComponent("a/b//"), "b");
    EXPECT_EQ(lastPathComponent("///"), "");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(TextTest, outerSlashesGoAndInnerOnesStay) {
    EXPECT_EQ(withoutOuterSlashes("//a//b/"), "a//b");
    EXPECT_EQ(withoutOuterSlashes("a"), "a");
    EXPECT_EQ(withoutOuterSlashes("///"), "");
    EXPECT_EQ(withoutOuterSlashes(""), "");
}

} // namespace quorrel::Text
