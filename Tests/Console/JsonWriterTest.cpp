// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/JsonWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

} // namespace
} // namespace quorrel
