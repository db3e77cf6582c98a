// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/ThreadTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <limits>

#include <sys/resource.h>
#include <sys/stat.h>

namespace quorrel {

namespace {

using Outcome = PropertyListReadResult::Outcome;

/// Runs a line of Python with arguments and returns what it prints.
std::string python(const std::string& code, const std::vector<std::string>& arguments) {
    std::vector<std::string> words { "-c", "import plistlib, sys\n" + code };
    words.insert(words.end(), arguments.begin(), arguments.end());
    return PosixChildProcess().run("/usr/bin/python3", words).output;
}

PropertyValue textList(const std::string& text) {
    return PropertyValue::Array { text };
}

PropertyValue catalogue(int sharePoints) {
    PropertyValue::Array shares;
    for (int index = 0; index < sharePoints; ++index) {
        Dictionary share;
        share.set("displayType", "Server Message Block (smb)");
        share.set("sharePoint", "share" + std::to_string(index));
        share.set("userName", "user");
        share.set("automatically", true);
        share.set("delaySeconds", 1.5);
        shares.emplace_back(share);
    }
    return shares;
}

} // namespace

class PlistFileTest : public testing::Test {
protected:
    /// What a text is after it was written and read.
    std::string through(const std::string& text) {
        EXPECT_EQ(file.write(path, textList(text)), std::nullopt);
        const auto result = file.read(path);
        if (!result.root)
            return "(unreadable: " + result.reason + ")";
        const auto& array = std::get<PropertyValue::Array>(result.root->variant());
        return array.empty() ? "(nothing)" : std::get<std::string>(array.front().variant());
    }

    PlistFile file;
    TemporaryFolder folder;
    std::string path = folder.path("a.plist");
};

TEST_F(PlistFileTest, isForTheOwnerAloneWhateverTheUmask) {
    for (const mode_t mask : { mode_t { 0 }, mode_t { 0777 } }) {
        const auto before = ::umask(mask);
        const auto failure = file.write(path, textList("x"));
        ::umask(before);
        EXPECT_EQ(failure, std::nullopt);
        EXPECT_EQ(folder.modeOf("a.plist"), 0600U);
    }
}

TEST_F(PlistFileTest, takesTheRightsOfOthersFromAnOlderFile) {
    folder.put("a.plist", "old", 0666);
    ASSERT_EQ(file.write(path, textList("x")), std::nullopt);
    EXPECT_EQ(folder.modeOf("a.plist"), 0600U);
}

TEST_F(PlistFileTest, leavesNothingBesideTheFile) {
    ASSERT_EQ(file.write(path, textList("x")), std::nullopt);
    EXPECT_EQ(folder.names(), std::vector<std::string> { "a.plist" });
}

TEST_F(PlistFileTest, aDiskThatFillsUpLeavesTheOldFileWhole) {
    ASSERT_EQ(file.write(path, textList("old")), std::nullopt);
    const auto before = folder.contentOf("a.plist");
    rlimit usual {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = usual;
    small.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto failure = file.write(path, catalogue(1000));
    ::setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, handler);
    ASSERT_TRUE(failure);
    EXPECT_EQ(*failure, "File too large");
    EXPECT_EQ(folder.contentOf("a.plist"), before);
    EXPECT_EQ(folder.names(), std::vector<std::string> { "a.plist" });
}

TEST_F(PlistFileTest, writesBehindASymbolicLink) {
    std::filesystem::create_directory(folder.path("elsewhere"));
    std::filesystem::create_symlink("elsewhere/real.plist", path);
    ASSERT_EQ(file.write(path, textList("x")), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    EXPECT_EQ(folder.modeOf("elsewhere/real.plist"), 0600U);
}

TEST_F(PlistFileTest, aPipeIsUnreadableAndDoesNotBlock) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(file.read(path).outcome, Outcome::Unreadable);
}

TEST_F(PlistFileTest, otherToolsReadWhatItWrites) {
    Dictionary host;
    host.set("displayName", "Büro & <Co>");
    host.set("automatically", true);
    host.set("delaySeconds", 0.1);
    host.set("port", -1);
    ASSERT_EQ(file.write(path, PropertyValue::Array { host }), std::nullopt);
    EXPECT_EQ(folder.contentOf("a.plist").substr(0, 5), "<?xml");
    EXPECT_EQ(python("print(ascii(plistlib.load(open(sys.argv[1], 'rb'))))", { path }),
        "[{'displayName': 'B\\xfcro & <Co>', 'automatically': True, 'delaySeconds': 0.1, 'port': -1}]\n");
}

TEST_F(PlistFileTest, readsWhatOtherToolsWriteInBothForms) {
    Dictionary share;
    share.set("sharePoint", "Bücher");
    share.set("favroite", true);
    share.set("delaySeconds", 2.5);
    share.set("count", -3);
    share.set("bytes", PropertyValue::Data { 0, 1, 2 });
    share.set("date", "2026-11-21T10:11:12Z");
    Dictionary host;
    host.set("sharePoints", PropertyValue::Array { share, share });
    for (const char* form : { "FMT_XML", "FMT_BINARY" }) {
        python("import datetime\n"
               "share = {'sharePoint': 'B\\xfccher', 'favroite': True, 'delaySeconds': 2.5, 'count': -3,\n"
               "         'bytes': bytes([0, 1, 2]), 'date': datetime.datetime(2026, 11, 21, 10, 11, 12)}\n"
               "plistlib.dump([{'sharePoints': [share, share]}], open(sys.argv[1], 'wb'), sort_keys=False,\n"
               "              fmt=getattr(plistlib, sys.argv[2]))",
            { path, form });
        const auto result = file.read(path);
        ASSERT_TRUE(result.root) << form << ": " << result.reason;
        EXPECT_EQ(*result.root, PropertyValue(PropertyValue::Array { host })) << form;
    }
}

TEST_F(PlistFileTest, keepsEveryTextThatXMLCanHold) {
    for (const std::string text : { "", " ", "\n", "\t", " a\r\nb\rc ", "\"'&<>]]>", "ä€😀", "&amp;", "&#13;" }) {
        EXPECT_EQ(through(text), text);
        const auto seen
            = python("sys.stdout.buffer.write(plistlib.load(open(sys.argv[1], 'rb'))[0].encode())", { path });
        EXPECT_EQ(seen, text);
    }
}

TEST_F(PlistFileTest, replacesWhatXMLCannotHoldSoThatTheFileStaysReadable) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(through(std::string("a\0b", 3)), "a" + mark + "b");
    EXPECT_EQ(through("a\x01\x1F\x7F"), "a" + mark + mark + "\x7F");
    EXPECT_EQ(through("M\xFCller"), "M" + mark + "ller");
    EXPECT_EQ(through("\xED\xA0\x80"), mark + mark + mark);
    EXPECT_EQ(through("\xEF\xBF\xBE"), mark);
    EXPECT_EQ(through("cut \xE2\x82"), "cut " + mark + mark);
    EXPECT_EQ(python("print(len(plistlib.load(open(sys.argv[1], 'rb'))))", { path }), "1\n");
}

TEST_F(PlistFileTest, refusesAnEmptyKeySinceItCouldNotBeReadAgain) {
    ASSERT_EQ(file.write(path, textList("old")), std::nullopt);
    Dictionary dictionary;
    dictionary.set("", "x");
    EXPECT_TRUE(file.write(path, dictionary));
    EXPECT_EQ(file.read(path).root, textList("old"));
}

TEST_F(PlistFileTest, keepsNumbersExactly) {
    for (const double number : { 0.1, 1.0 / 3, -2.5, 1e300, 1e-300, 5.0 }) {
        ASSERT_EQ(file.write(path, PropertyValue::Array { number }), std::nullopt);
        EXPECT_EQ(file.read(path).root, PropertyValue(PropertyValue::Array { number }));
    }
    using Limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t number : { Limits::min(), Limits::max(), std::int64_t { 0 } }) {
        ASSERT_EQ(file.write(path, PropertyValue::Array { number }), std::nullopt);
        EXPECT_EQ(file.read(path).root, PropertyValue(PropertyValue::Array { number }));
    }
}

TEST_F(PlistFileTest, needsTimeInProportionToTheShares) {
    const auto timed = [this](int count) {
        const auto value = catalogue(count);
        auto best = Seconds::max();
        for (int round = 0; round < 3; ++round) {
            const auto start = threadTime();
            EXPECT_EQ(file.write(path, value), std::nullopt);
            const auto result = file.read(path);
            best = std::min(best, threadTime() - start);
            EXPECT_TRUE(result.root == value);
        }
        return best;
    };
    const auto few = timed(2000);
    const auto many = timed(20000);
    EXPECT_LT(many.count(), few.count() * 40); // quadratic time would be a hundredfold
}

} // namespace quorrel
