// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/ManyTextSearch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace quorrel {
namespace {

TEST(ManyTextSearchTest, findsWhatOccursAndNothingElse) {
    ManyTextSearch search;
    const auto whole = search.add("server");
    const auto part = search.add("erve");
    const auto other = search.add("servers");
    const auto bytes = search.add("\xFF\x01");
    search.read("my server \xFF\x01");
    EXPECT_TRUE(search.hasOccurred(whole));
    EXPECT_TRUE(search.hasOccurred(part));
    EXPECT_FALSE(search.hasOccurred(other));
    EXPECT_TRUE(search.hasOccurred(bytes));
}

TEST(ManyTextSearchTest, anOccurrenceMaySpanPieces) {
    ManyTextSearch search;
    const auto text = search.add("server");
    search.read("ser");
    EXPECT_FALSE(search.hasOccurred(text));
    search.read("ver");
    EXPECT_TRUE(search.hasOccurred(text));
}

TEST(ManyTextSearchTest, theEmptyTextHasAlwaysOccurred) {
    ManyTextSearch search;
    EXPECT_TRUE(search.hasOccurred(search.add("")));
    search.read("a");
    search.forget();
    EXPECT_TRUE(search.hasOccurred(search.add("")));
}

TEST(ManyTextSearchTest, whatIsForgottenHasToOccurAgain) {
    ManyTextSearch search;
    const auto text = search.add("ab");
    search.read("aba");
    search.forget();
    search.read("b");
    EXPECT_FALSE(search.hasOccurred(text));
    search.read("ab");
    EXPECT_TRUE(search.hasOccurred(text));
}

TEST(ManyTextSearchTest, tellsTheSameAsOneSearchForEach) {
    std::mt19937 random(7); // NOLINT: the same texts every time
    const auto text = [&random](std::size_t longest) {
        std::string result(random() % (longest + 1), 'a');
        for (auto& letter : result)
            letter = static_cast<char>('a' + random() % 3);
        return result;
    };
    int found = 0;
    int missed = 0;
    for (int round = 0; round < 300; ++round) {
        ManyTextSearch search;
        std::vector<std::string> texts;
        std::vector<ManyTextSearch::Place> places;
        for (int count = 0; count < 20; ++count)
            places.push_back(search.add(texts.emplace_back(text(8))));
        std::string whole;
        for (int piece = 0; piece < 10; ++piece) {
            const auto more = text(6);
            whole += more;
            search.read(more);
            for (std::size_t index = 0; index < texts.size(); ++index) {
                const bool occurs = whole.find(texts[index]) != std::string::npos;
                ASSERT_EQ(search.hasOccurred(places[index]), occurs) << texts[index] << " in " << whole;
                ++(occurs ? found : missed);
            }
        }
    }
    EXPECT_GT(found, 1000);
    EXPECT_GT(missed, 1000);
}

} // namespace
} // namespace quorrel
