// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareTable.h"

#include "Console/DisplayText.h"
#include "Foundation/Text.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Fakes/ThreadTime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::HasSubstr;
using testing::Not;

ShareRow row(const std::string& host, const std::string& share) {
    return { host, share, "smb", "Online", "/home/ann/Volumes/docs", "", true };
}

TEST(ShareTable, alignsItsColumns) {
    const ShareTable table("/home/ann");
    EXPECT_EQ(table.text({ row("nas", "docs"), { "日本", "", "ftp", "Offline", "", "Wrong password.", false } }, {}),
        "HOST  SHARE  SERVICE  STATUS   PATH            ERROR\n"
        "nas   docs   smb      Online   ~/Volumes/docs\n"
        "日本  /      ftp      Offline                  Wrong password.\n");
}

TEST(ShareTable, showsAPathOutsideTheHomeFolderWhole) {
    EXPECT_THAT(ShareTable("/home/an").text({ row("nas", "docs") }, {}), HasSubstr(" /home/ann/Volumes/docs"));
    EXPECT_THAT(ShareTable("").text({ row("nas", "docs") }, {}), HasSubstr(" /home/ann/Volumes/docs"));
}

TEST(ShareTable, cutsLongNamesToTheTerminal) {
    const auto text = ShareTable("/home/ann").text({ row("nas", std::string(200, 'x')), row("nas", "docs") }, 60);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(DisplayText::width(line), 60U + 7U) << line; // with the heading of the errors
    EXPECT_THAT(text, HasSubstr("xxx…"));
    EXPECT_THAT(text, HasSubstr("~/Volumes/docs"));
}

TEST(ShareTable, keepsAnyNameInItsCell) {
    for (auto [evil, name] : hostileNames()) {
        name.resize(std::min<std::size_t>(name.size(), 10'000)); // time has a test of its own
        auto hostile = row(name, name);
        hostile.status = hostile.path = hostile.error = hostile.service = name;
        const auto text = ShareTable("/home/ann").text({ hostile }, 80) + ShareTable("").text({ hostile }, {});
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4) << evil;
        EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char letter) {
            return letter < 0 || (letter >= ' ' && letter < '\x7f') || letter == '\n';
        })) << evil;
        EXPECT_EQ(text.find("\u009b"), std::string::npos) << evil;
        EXPECT_EQ(text.find("\u202e"), std::string::npos) << evil;
        EXPECT_TRUE(Text::isUTF8(text)) << evil;
    }
}

TEST(ShareTable, aLongNameTakesTimeInProportionAndFillsNoOtherLine) {
    // Twice the size takes twice the time, or four times where it grows with the square. One round may be disturbed.
    const auto secondsFor = [](std::size_t size) {
        const std::string name(size, 'x');
        std::vector<ShareRow> rows(1000, row("nas", "docs"));
        rows.push_back({ name, "docs", "smb", "Offline", "", "", false });
        const auto start = threadTime();
        const auto whole = ShareTable("/home/ann").text(rows, {});
        const auto cut = ShareTable("/home/ann").text(rows, 80);
        const auto time = (threadTime() - start).count();
        EXPECT_LT(whole.size(), size + 1'100'000);
        EXPECT_LT(cut.size(), 1'100'000);
        return time;
    };
    constexpr std::size_t large = std::size_t { 10 } << 20U;
    double half = std::numeric_limits<double>::max();
    double all = half;
    for (int round = 0; round < 5 && (round == 0 || all >= 3 * half); ++round) {
        half = std::min(half, secondsFor(large / 2));
        all = std::min(all, secondsFor(large));
    }
    EXPECT_LT(all, 3 * half);
    RecordProperty("milliseconds", static_cast<int>(all * 1000));
}

TEST(ShareTable, whatIsTooLongForItsColumnSticksOut) {
    const std::string longName(300, 'x');
    const auto text = ShareTable("").text({ { longName, "a", "smb", "Offline", "", "", false }, row("nas", "b") }, {});
    EXPECT_THAT(text, HasSubstr(longName + "  a      smb      Offline\n"));
    EXPECT_THAT(text, HasSubstr("\nnas" + std::string(255, ' ') + "b      smb"));
    EXPECT_THAT(ShareTable("").text({ row(longName, "a") }, 400), HasSubstr(longName + "  a"));
}

TEST(ShareTable, cutsNoNamesForALongError) {
    auto failed = row("a-rather-long-host-name", "a-rather-long-share-name");
    failed.path.clear();
    failed.error = std::string(100, 'e');
    EXPECT_THAT(ShareTable("").text({ failed }, 80), HasSubstr("a-rather-long-host-name  a-rather-long-share-name "));
}

TEST(ShareTable, neverCutsErrorsAndNeverCutsWithoutATerminal) {
    auto failed = row("nas", std::string(200, 'x'));
    failed.error = std::string(100, 'e');
    EXPECT_THAT(ShareTable("").text({ failed }, 40), HasSubstr(failed.error));
    EXPECT_THAT(ShareTable("").text({ failed }, {}), HasSubstr(failed.share));
}

TEST(ShareTable, letsNoControlCharacterThrough) {
    auto hostile = row("na\x1b[2Js\n", "d\rocs");
    hostile.error = "a\nb";
    EXPECT_THAT(ShareTable("").text({ hostile }, {}), Not(HasSubstr("\x1b")));
    const auto text = ShareTable("").text({ hostile }, {});
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

} // namespace
} // namespace quorrel
