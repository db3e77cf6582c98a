// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/DisplayText.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

TEST(DisplayText, escapesWhatCouldMoveTheCursor) {
    EXPECT_EQ(DisplayText::printable("a\x1b[2Jb\r\n\tc\x07"), "a\\x1b[2Jb\\x0d\\n\\tc\\x07");
    EXPECT_EQ(DisplayText::printable("a\xC2\x9B"
                                     "2Jb"),
        "a\\xc2\\x9b"
        "2Jb");
    EXPECT_EQ(DisplayText::printable("a\xFF"), "a\\xff");
}

TEST(DisplayText, escapesWhatTurnsOrHidesText) {
    EXPECT_EQ(DisplayText::printable("gnp.\u202Eexe"), "gnp.\\u202Eexe");
    EXPECT_EQ(DisplayText::printable("a\u200Bb"), "a\\u200Bb");
}

TEST(DisplayText, leavesNamesAsTheyAre) {
    EXPECT_EQ(DisplayText::printable("Über uns/日本 é"), "Über uns/日本 é");
}

TEST(DisplayText, countsColumnsNotBytes) {
    EXPECT_EQ(DisplayText::width(""), 0U);
    EXPECT_EQ(DisplayText::width("abc"), 3U);
    EXPECT_EQ(DisplayText::width("Über"), 4U);
    EXPECT_EQ(DisplayText::width("日本"), 4U);
    EXPECT_EQ(DisplayText::width("e\u0301"), 1U);
}

TEST(DisplayText, clipsToColumns) {
    EXPECT_EQ(DisplayText::clipped("abcdef", 6), "abcdef");
    EXPECT_EQ(DisplayText::clipped("abcdef", 5), "abcd…");
    EXPECT_EQ(DisplayText::clipped("日本語", 5), "日本…");
    EXPECT_EQ(DisplayText::clipped("日本語", 4), "日…");
    EXPECT_EQ(DisplayText::clipped("abc", 1), "…");
    EXPECT_EQ(DisplayText::clipped("abc", 0), "");
}

TEST(DisplayText, padsToColumns) {
    EXPECT_EQ(DisplayText::padded("日本", 6), "日本  ");
    EXPECT_EQ(DisplayText::padded("abc", 2), "abc");
}

} // namespace
} // namespace quorrel
