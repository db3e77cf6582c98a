// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Paragraphs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ParagraphsTest, everyKindOfEndEndsOne) {
    EXPECT_THAT(Text::paragraphs("a\nb\rc\r\nd\u2028e\u2029f"), ElementsAre("a", "b", "c", "d", "e", "f"));
}

TEST(ParagraphsTest, emptyOnesAreKept) {
    EXPECT_THAT(Text::paragraphs("\n\na\r\r\n\nb"), ElementsAre("", "", "a", "", "", "b"));
}

TEST(ParagraphsTest, nothingFollowsTheLastEnd) {
    EXPECT_THAT(Text::paragraphs("a\n"), ElementsAre("a"));
    EXPECT_THAT(Text::paragraphs("a\r\n"), ElementsAre("a"));
    EXPECT_THAT(Text::paragraphs("\n"), ElementsAre(""));
    EXPECT_THAT(Text::paragraphs(""), IsEmpty());
}

TEST(ParagraphsTest, otherCharactersOfTheSameRowEndNothing) {
    EXPECT_THAT(Text::paragraphs("a\u2027b\v\fc"), ElementsAre("a\u2027b\v\fc"));
}

} // namespace
} // namespace quorrel
