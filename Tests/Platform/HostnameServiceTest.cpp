// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostnameService.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace quorrel {

TEST(HostnameServiceTest, aBusThatIsNotThereHasNoAnswer) {
    EXPECT_EQ(prettyHostname("unix:path=/nonexistent/bus", Seconds(10)), std::nullopt);
    EXPECT_EQ(prettyHostname("no address", Seconds(10)), std::nullopt);
}

TEST(HostnameServiceTest, aBusThatNeverAnswersIsWaitedForNoLongerThanTheDeadline) {
    const TemporaryFolder folder;
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const auto path = folder.path("bus");
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener.get(), 5), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(prettyHostname("unix:path=" + path, Seconds(0.2)), std::nullopt);
    const Seconds taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), 0.19);
    EXPECT_LT(taken.count(), 5);
}

TEST(ShellAssignmentTest, quotingIsUndone) {
    const auto value
        = [](const std::string& text) { return shellAssignment("PRETTY_HOSTNAME=" + text, "PRETTY_HOSTNAME"); };
    EXPECT_EQ(value("plain"), "plain");
    EXPECT_EQ(value("\"two words\" # comment"), "two words");
    EXPECT_EQ(value("'single \"double\" \\n'"), "single \"double\" \\n");
    EXPECT_EQ(value("\"a\\\"b\\\\c\\$d\""), "a\"b\\c$d");
    EXPECT_EQ(value("a\\ b"), "a b");
    EXPECT_EQ(value("\"half"), "half");
    EXPECT_EQ(value("\"B\xC3\xBCro\"\r\nNEXT=1"), "B\xC3\xBCro");
    EXPECT_EQ(value(""), "");
}

TEST(ShellAssignmentTest, onlyTheKeyItselfCountsAndItsLastValue) {
    EXPECT_EQ(shellAssignment("", "KEY"), std::nullopt);
    EXPECT_EQ(shellAssignment("KEYS=a\n#KEY=b\nMY_KEY=c\nKEY\n", "KEY"), std::nullopt);
    EXPECT_EQ(shellAssignment("KEY=a\n\n  KEY=b", "KEY"), "b");
}

} // namespace quorrel
