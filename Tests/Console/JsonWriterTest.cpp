// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/JsonWriter.h"

#include "Foundation/Text.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace quorrel {
namespace {

using testing::HasSubstr;

TEST(JsonWriter, writesOneObjectForEachShare) {
    EXPECT_EQ(JsonWriter::text({ { "nas", "docs", "smb", "Online", "/home/ann/Volumes/docs", "", true } }),
        "[\n"
        "  {\n"
        "    \"host\": \"nas\",\n"
        "    \"share\": \"docs\",\n"
        "    \"service\": \"smb\",\n"
        "    \"status\": \"Online\",\n"
        "    \"mounted\": true,\n"
        "    \"path\": \"/home/ann/Volumes/docs\",\n"
        "    \"error\": null\n"
        "  }\n"
        "]\n");
}

TEST(JsonWriter, writesAnEmptyArrayForNoShares) {
    EXPECT_EQ(JsonWriter::text({}), "[]\n");
}

TEST(JsonWriter, escapesWhatJsonCannotHold) {
    const auto text
        = JsonWriter::text({ { "a\"b\\c\n\x1b", "Über 日本", "smb", "Offline", "", "bad \xFF byte", false } });
    EXPECT_THAT(text, HasSubstr(R"("host": "a\"b\\c\n\u001b")"));
    EXPECT_THAT(text, HasSubstr("\"share\": \"Über 日本\""));
    EXPECT_THAT(text, HasSubstr("\"error\": \"bad \uFFFD byte\""));
    EXPECT_THAT(text, HasSubstr("\"path\": null"));
    EXPECT_THAT(text, HasSubstr("\"mounted\": false"));
}

TEST(JsonWriter, aTerminalGetsNoControlsAndAParserTheNameAsItIs) {
    const auto text = JsonWriter::text({ { "a\u009bb\x7f\u202ec\u00a0é", "\u0080\u009f", "", "", "", "", false } });
    EXPECT_THAT(text, HasSubstr("\"host\": \"a\\u009Bb\\u007F\\u202Ec\u00a0é\""));
    EXPECT_THAT(text, HasSubstr(R"("share": "\u0080\u009F")"));
    for (auto [evil, name] : hostileNames()) {
        name.resize(std::min<std::size_t>(name.size(), 10'000));
        const auto each = JsonWriter::text({ { name, name, name, name, name, name, false } });
        EXPECT_EQ(std::count(each.begin(), each.end(), '\n'), 11) << evil;
        EXPECT_TRUE(std::none_of(each.begin(), each.end(), [](char letter) {
            return (letter >= 0 && letter < ' ' && letter != '\n') || letter == '\x7f';
        })) << evil;
        EXPECT_EQ(each.find("\u009b"), std::string::npos) << evil;
        EXPECT_EQ(each.find("\u202e"), std::string::npos) << evil;
        const auto read = nlohmann::json::parse(each, nullptr, false);
        ASSERT_FALSE(read.is_discarded()) << evil;
        if (Text::isUTF8(name)) {
            EXPECT_TRUE(read[0]["host"].get<std::string>() == name) << evil;
        }
    }
}

} // namespace
} // namespace quorrel
