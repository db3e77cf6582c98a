// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GettextStringTable.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>

namespace quorrel {

namespace {

using Texts = std::map<std::string, std::string, std::less<>>;

/// A compiled table of translations: sorted keys and their texts with their places in front.
std::string compiled(const Texts& texts) {
    std::string head;
    std::string body;
    const auto append = [&head](std::uint32_t number) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            head += static_cast<char>(number >> shift & 0xFFU);
    };
    const auto count = static_cast<std::uint32_t>(texts.size());
    constexpr std::uint32_t headerSize = 28;
    const auto bodyStart = headerSize + count * 16;
    append(0x950412de);
    append(0);
    append(count);
    append(headerSize);
    append(headerSize + count * 8);
    append(0);
    append(bodyStart);
    const auto place = [&](const std::string& text) {
        append(static_cast<std::uint32_t>(text.size()));
        append(bodyStart + static_cast<std::uint32_t>(body.size()));
        body += text + '\0';
    };
    for (const auto& [key, text] : texts)
        place(key);
    for (const auto& [key, text] : texts)
        place(text);
    return head + body;
}

const Texts german { { "", "Content-Type: text/plain; charset=UTF-8\n" }, { "Online", "Verbunden" },
    { "Mounting", "Wird verbunden …" } };

struct OnFake final {
    FakeStringTable table { { { "Online", "Verbunden" }, { "Mounting", "Wird verbunden …" } } };
};

struct OnLinux final {
    // The language is chosen before the first look-up, as the entry point does.
    OnLinux() {
        std::filesystem::create_directories(folder.path("de/LC_MESSAGES"));
        folder.put("de/LC_MESSAGES/Quorrel.mo", compiled(german));
        ::setenv("LANGUAGE", "de", 1);
        std::setlocale(LC_ALL, "C.UTF-8");
    }
    OnLinux(const OnLinux&) = delete;
    OnLinux& operator=(const OnLinux&) = delete;
    ~OnLinux() { std::setlocale(LC_ALL, "C"); }

    TemporaryFolder folder;
    GettextStringTable table { folder.path() };
};

} // namespace

template <typename Ground>
class StringTableContract : public testing::Test {
protected:
    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(StringTableContract, Grounds);

TYPED_TEST(StringTableContract, aKnownKeyHasItsText) {
    EXPECT_EQ(this->ground.table.text("Online"), "Verbunden");
    EXPECT_EQ(this->ground.table.text("Mounting"), "Wird verbunden …");
}

TYPED_TEST(StringTableContract, anUnknownKeyStandsForItself) {
    EXPECT_EQ(this->ground.table.text("Unknown"), "Unknown");
    EXPECT_EQ(this->ground.table.text(std::string_view("Online\0x", 8)), std::string("Online\0x", 8));
}

TYPED_TEST(StringTableContract, theEmptyKeyIsEmpty) {
    EXPECT_EQ(this->ground.table.text(""), "");
}

TEST(GettextStringTableTest, aFolderWithoutATableGivesTheKeys) {
    const TemporaryFolder folder;
    EXPECT_EQ(GettextStringTable(folder.path()).text("Resolved"), "Resolved");
}

} // namespace quorrel
