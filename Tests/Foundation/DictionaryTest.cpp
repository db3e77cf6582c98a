// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Dictionary.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace quorrel {

namespace {

std::vector<std::string> keysOf(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : dictionary.entries())
        keys.push_back(key);
    return keys;
}

} // namespace

TEST(DictionaryTest, keepsTheOrderInWhichKeysWereFirstSet) {
    Dictionary dictionary;
    EXPECT_TRUE(dictionary.isEmpty());
    dictionary.set("b", 1);
    dictionary.set("a", 2);
    dictionary.set("b", 3);
    EXPECT_EQ(keysOf(dictionary), (std::vector<std::string> { "b", "a" }));
    EXPECT_EQ(dictionary.number("b"), 3);
    EXPECT_FALSE(dictionary.isEmpty());
}

TEST(DictionaryTest, storingAnAbsentValueRemovesTheKey) {
    Dictionary dictionary;
    dictionary.set("a", "x");
    dictionary.set("a", std::nullopt);
    dictionary.set("b", std::nullopt);
    EXPECT_EQ(dictionary.find("a"), nullptr);
    EXPECT_TRUE(dictionary.isEmpty());
}

TEST(DictionaryTest, givesAValueOnlyAsTheKindItIs) {
    Dictionary dictionary;
    dictionary.set("text", "x");
    dictionary.set("flag", true);
    dictionary.set("integer", 2);
    dictionary.set("zero", 0);
    dictionary.set("real", 0.5);
    dictionary.set("array", PropertyValue::Array { 1, "x" });
    EXPECT_EQ(dictionary.text("text"), "x");
    EXPECT_EQ(dictionary.text("integer"), std::nullopt);
    EXPECT_EQ(dictionary.text("none"), std::nullopt);
    EXPECT_EQ(dictionary.flag("flag"), true);
    EXPECT_EQ(dictionary.flag("integer"), true);
    EXPECT_EQ(dictionary.flag("zero"), false);
    EXPECT_EQ(dictionary.flag("text"), std::nullopt);
    EXPECT_EQ(dictionary.flag("real"), std::nullopt);
    EXPECT_EQ(dictionary.number("integer"), 2);
    EXPECT_EQ(dictionary.number("real"), 0.5);
    EXPECT_EQ(dictionary.number("flag"), std::nullopt);
    ASSERT_NE(dictionary.array("array"), nullptr);
    EXPECT_EQ(dictionary.array("array")->size(), 2U);
    EXPECT_EQ(dictionary.array("text"), nullptr);
}

TEST(DictionaryTest, equalMeansTheSameEntries) {
    Dictionary left;
    left.set("a", 1);
    Dictionary right;
    EXPECT_FALSE(left == right);
    right.set("a", true);
    EXPECT_FALSE(left == right); // another kind
    right.set("a", 1);
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(PropertyValue(left) == PropertyValue(right));
}

TEST(DictionaryTest, takesManyEntriesAtOnce) {
    const auto dictionary = Dictionary::withDistinctKeys({ { "b", 1 }, { "a", "x" } });
    EXPECT_EQ(keysOf(dictionary), (std::vector<std::string> { "b", "a" }));
    EXPECT_EQ(dictionary.text("a"), "x");
}

} // namespace quorrel
