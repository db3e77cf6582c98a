// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareTable.h"

#include "Console/DisplayText.h"
#include "Foundation/Text.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

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
        name.resize(std::min<std::size_t>(name.size(), 10'000)); // the width of each character is looked up
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
