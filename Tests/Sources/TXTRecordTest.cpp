// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/TXTRecord.h"

#include "Tests/Fakes/FakeDNSServiceDiscovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Bytes = TXTRecord::Bytes;

Bytes bytes(std::string_view text) {
    return { text.begin(), text.end() };
}

TXTRecord recordOf(const std::vector<std::string>& strings) {
    return TXTRecord(FakeDNSServiceDiscovery::txtRecord(strings));
}

TEST(TXTRecordTest, keysHaveValuesEmptyOnesOrNone) {
    EXPECT_THAT(recordOf({ "model=Xserve", "empty=", "flag", "sum=1+1=2" }).values(),
        ElementsAre(Pair("empty", Bytes()), Pair("flag", std::nullopt), Pair("model", bytes("Xserve")),
            Pair("sum", bytes("1+1=2"))));
}

TEST(TXTRecordTest, aRecordThatSaysNothingIsEmpty) {
    EXPECT_THAT(TXTRecord({}).values(), IsEmpty());
    EXPECT_THAT(TXTRecord({ 0 }).values(), IsEmpty());
    EXPECT_THAT(TXTRecord({ 0, 0, 0 }).values(), IsEmpty());
}

TEST(TXTRecordTest, theFirstOfEqualKeysCountsWhateverItsLetters) {
    EXPECT_THAT(
        recordOf({ "Model=first", "model=second", "MODEL" }).values(), ElementsAre(Pair("model", bytes("first"))));
    EXPECT_THAT(recordOf({ "model", "model=late" }).values(), ElementsAre(Pair("model", std::nullopt)));
    EXPECT_EQ(recordOf({ "mOdEl=Mac" }).textFor("MoDeL"), "Mac");
}

TEST(TXTRecordTest, aStringWithoutAKeyIsPassedOver) {
    EXPECT_THAT(recordOf({ "=value", "", "=", "key=value" }).values(), ElementsAre(Pair("key", bytes("value"))));
}

TEST(TXTRecordTest, whatIsCutOffIsLeftOut) {
    const auto whole = FakeDNSServiceDiscovery::txtRecord({ "a=1", "b=23" });
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const TXTRecord record(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_EQ(record.values().size(), size < 4 ? 0U : 1U) << size;
    }
    EXPECT_EQ(TXTRecord(whole).values().size(), 2U);
    EXPECT_THAT(TXTRecord({ 255, 'a', '=', '1' }).values(), IsEmpty());
}

TEST(TXTRecordTest, aValueMayHoldAnyByteAndIsATextOnlyInUTF8) {
    const auto record = recordOf({ std::string("nul=a\0b", 7), "bad=\xFF\xFE", "good=Größe", "flag", "empty=" });
    EXPECT_EQ(record.values().find("bad")->second, bytes("\xFF\xFE"));
    EXPECT_EQ(record.textFor("bad"), std::nullopt);
    EXPECT_EQ(record.textFor("nul"), std::string("a\0b", 3));
    EXPECT_EQ(record.textFor("good"), "Größe");
    EXPECT_EQ(record.textFor("flag"), std::nullopt);
    EXPECT_EQ(record.textFor("empty"), "");
    EXPECT_EQ(record.textFor("missing"), std::nullopt);
}

TEST(TXTRecordTest, nothingIsReadBeyondTheLengthThatARecordCanHave) {
    Bytes data;
    while (data.size() < std::size_t { 10 } << 20U) {
        const auto text = std::to_string(data.size()) + "=" + std::string(200, 'x');
        data.push_back(static_cast<std::uint8_t>(text.size()));
        data.insert(data.end(), text.begin(), text.end());
    }
    const TXTRecord record(data);
    EXPECT_EQ(record.values().begin()->first, "0");
    for (const auto& [key, value] : record.values())
        EXPECT_LE(std::stoul(key) + 1 + key.size() + 1 + value->size(), 65535U);
    EXPECT_TRUE(TXTRecord(Bytes(65535, 0)).values().empty());
}

TEST(TXTRecordTest, noBytesDoHarm) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        Bytes data(random() % 600);
        for (auto& byte : data)
            byte = static_cast<std::uint8_t>(random() % 4 == 0 ? '=' : random());
        const TXTRecord record(data);
        for (const auto& [key, value] : record.values()) {
            EXPECT_FALSE(key.empty());
            EXPECT_EQ(key.find('='), std::string::npos);
            EXPECT_LE(key.size() + (value ? value->size() + 1 : 0), 255U);
        }
    }
}

} // namespace
} // namespace quorrel
