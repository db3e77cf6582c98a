// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/HostFileScanner.h"

#include "Foundation/TextList.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Fakes/ThreadTime.h"
#include "Tests/Sources/WatchFixture.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HostFileScannerTest : public WatchFixture {
protected:
    struct Owner : Observable {
        TextList names { *this, "bonjourServices" };
    };

    HostFileScannerTest() { environment.hostsPath = folder.path("hosts"); }

    void scan(TextList* names) {
        HostFileScanner scanner(environment);
        scanner.setHosts(names);
        EXPECT_EQ(scanner.hosts(), names);
        scanner.main();
    }

    std::vector<std::string> namesIn(std::string_view content) {
        folder.put("hosts", content);
        Owner fresh;
        scan(&fresh.names);
        return fresh.names.snapshot();
    }

    TemporaryFolder folder;
    Owner owner;
};

TEST_F(HostFileScannerTest, everyNameOfALineIsAddedAndTheAddressNot) {
    EXPECT_THAT(
        namesIn("10.0.0.5 nas nas.lan\n10.0.0.6\tattic\t \tloft\n"), ElementsAre("nas", "nas.lan", "attic", "loft"));
}

TEST_F(HostFileScannerTest, emptyLinesAndCommentsAddNothing) {
    EXPECT_THAT(namesIn("# 10.0.0.5 nas\n\n#\n \t \n10.0.0.6 attic\n"), ElementsAre("attic"));
}

TEST_F(HostFileScannerTest, aLineThatBeginsWithSpacesIsNoComment) {
    EXPECT_THAT(namesIn("  # 10.0.0.5 nas\n"), ElementsAre("#", "nas"));
}

TEST_F(HostFileScannerTest, aCommentBehindNamesIsTakenForNames) {
    EXPECT_THAT(namesIn("10.0.0.5 nas # in the attic\n10.0.0.6 b #c\n"),
        ElementsAre("nas", "#", "in", "the", "attic", "b", "#c"));
}

TEST_F(HostFileScannerTest, aLineWithALocalNameAnywhereAddsNothing) {
    EXPECT_THAT(namesIn("127.0.0.1 localhost nas\n127.0.0.1 nas.localhost.lan\n255.255.255.255\tbroadcasthost other\n"
                        "10.0.0.5 nas # not localhost\n"),
        IsEmpty());
    EXPECT_THAT(namesIn("127.0.0.1 LocalHost\n"), ElementsAre("LocalHost"));
}

TEST_F(HostFileScannerTest, whatIsNoDottedAddressIsTakenForAName) {
    EXPECT_THAT(namesIn("fe80::1%eth0 printer\nff02::1 ip6-allnodes\n"),
        ElementsAre("fe80::1%eth0", "printer", "ff02::1", "ip6-allnodes"));
}

TEST_F(HostFileScannerTest, everyRunAddsEveryNameAgain) {
    folder.put("hosts", "10.0.0.5 nas nas.lan\n");
    scan(&owner.names);
    scan(&owner.names);
    EXPECT_THAT(owner.names.snapshot(), ElementsAre("nas", "nas.lan", "nas", "nas.lan"));
}

TEST_F(HostFileScannerTest, linesEndAsOnAnySystem) {
    EXPECT_THAT(namesIn("10.0.0.5 a\r\n10.0.0.6 b\r10.0.0.7 c"), ElementsAre("a", "b", "c"));
}

TEST_F(HostFileScannerTest, oneByteOutsideASCIISpoilsTheFile) {
    EXPECT_THAT(namesIn("10.0.0.5 nas\n# B\xC3\xBCro\n"), IsEmpty());
    EXPECT_THAT(namesIn("10.0.0.5 nas\n\x80"), IsEmpty());
    EXPECT_THAT(namesIn(std::string(200'000, '\n') + "\xFF\n10.0.0.5 nas\n"), IsEmpty());
    EXPECT_THAT(namesIn("10.0.0.5 n\x7F\x01\n"), ElementsAre("n\x7F\x01"));
}

TEST_F(HostFileScannerTest, anyNameIsNamesWithoutBlanksOrNone) {
    for (const auto& [evil, name] : hostileNames()) {
        sink.clear();
        const auto names = namesIn("10.0.0.5 " + name + "\n10.0.0.6 nas2\n");
        const bool isASCII = std::all_of(name.begin(), name.end(), [](char letter) { return letter >= 0; });
        EXPECT_EQ(!names.empty() && names.back() == "nas2", isASCII) << evil;
        EXPECT_TRUE(isASCII || names.empty()) << evil;
        for (const auto& each : names)
            EXPECT_EQ(each.find_first_of(" \t\r\n"), std::string::npos) << evil;
        EXPECT_THAT(sink.texts(),
            ElementsAre("Scaning local hosts file thread started", "Scaning local hosts file thread ended"))
            << evil;
    }
}

TEST_F(HostFileScannerTest, whatIsNoReadableFileAddsNothing) {
    scan(&owner.names);
    environment.hostsPath = folder.path();
    scan(&owner.names);
    environment.hostsPath = folder.path("pipe");
    ASSERT_EQ(::mkfifo(environment.hostsPath.c_str(), 0600), 0);
    scan(&owner.names); // comes back, though nobody will ever write
    environment.hostsPath = "/proc/self/mem";
    scan(&owner.names);
    environment.hostsPath = "";
    scan(&owner.names);
    EXPECT_THAT(owner.names.snapshot(), IsEmpty());
    EXPECT_THAT(sink.texts(), testing::SizeIs(10));
}

TEST_F(HostFileScannerTest, aFileThatIsTooLargeToBeAHostsFileAddsNothing) {
    const std::string names = "10.0.0.5 nas\n";
    constexpr std::uintmax_t largest = std::uintmax_t { 64 } << 20U;
    folder.put("hosts", names);
    std::filesystem::resize_file(environment.hostsPath, largest + 1); // a hole, which takes no room
    scan(&owner.names);
    EXPECT_THAT(owner.names.snapshot(), IsEmpty());
    std::filesystem::resize_file(environment.hostsPath, names.size());
    scan(&owner.names);
    EXPECT_THAT(owner.names.snapshot(), ElementsAre("nas"));
}

TEST_F(HostFileScannerTest, withoutAListOnlyTheBeginningAndTheEndAreLogged) {
    folder.put("hosts", "10.0.0.5 nas\n");
    scan(nullptr);
    EXPECT_THAT(
        sink.texts(), ElementsAre("Scaning local hosts file thread started", "Scaning local hosts file thread ended"));
    preferences.set("logToConsole", false);
    sink.clear();
    scan(nullptr);
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(HostFileScannerTest, aLongFileCostsNoQuadraticTimeAndFewAnnouncements) {
    int announcements = 0;
    const auto timed = [&](int count) {
        std::string content;
        for (int number = 0; number < count; ++number)
            content += "0.0.0.0 ads-" + std::to_string(number) + ".example\n";
        folder.put("hosts", content);
        auto best = Seconds::max();
        for (int round = 0; round < 3; ++round) {
            Owner fresh;
            announcements = 0;
            const auto subscription
                = fresh.observe("bonjourServices", [&](std::string_view, Change) { ++announcements; });
            const auto start = threadTime();
            scan(&fresh.names);
            best = std::min(best, threadTime() - start);
            EXPECT_EQ(fresh.names.count(), static_cast<std::size_t>(count));
        }
        return best.count();
    };
    const double few = timed(1'000);
    const double many = timed(30'000);
    EXPECT_LT(many, few * 200); // quadratic time would be nine hundredfold
    EXPECT_LE(announcements, 62);
}

} // namespace
} // namespace quorrel
