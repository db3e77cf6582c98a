// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Platform/ProcessEnd.h"
#include "Tests/Platform/RecordingOpener.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorrel {

namespace {

LinuxWorkspace::Places placesWith(const std::string& opener) {
    return { std::nullopt, "/nonexistent", "/nonexistent", "unix:path=/nonexistent", "/nonexistent", opener };
}

struct OpeningOnFake final {
    FakeWorkspace workspace;
    void losePrograms() { workspace.failOpenURL(true); }
    [[nodiscard]] std::string opened() const {
        const auto urls = workspace.openedURLs();
        return urls.empty() ? "nothing" : "1|" + urls.back() + '|';
    }
    [[nodiscard]] bool hasOpened() const { return !workspace.openedURLs().empty(); }
};

struct OpeningOnLinux final {
    RecordingOpener opener;
    LinuxWorkspace workspace { placesWith(opener.program()) };
    void losePrograms() const { opener.remove(); }
    [[nodiscard]] std::string opened() const { return opener.takeRecord().value_or("nothing"); }
    [[nodiscard]] bool hasOpened() const { return opener.wasStarted(); }
};

/// PATH as long as it lives.
class SearchPath final {
public:
    explicit SearchPath(const std::string& path)
        : m_before(std::getenv("PATH")) {
        ::setenv("PATH", path.c_str(), 1);
    }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;
    ~SearchPath() { ::setenv("PATH", m_before.c_str(), 1); }

private:
    const std::string m_before;
};

} // namespace

template <typename Ground>
class WorkspaceOpeningContract : public testing::Test {
protected:
    Ground ground;
};

using OpeningGrounds = testing::Types<OpeningOnFake, OpeningOnLinux>;
TYPED_TEST_SUITE(WorkspaceOpeningContract, OpeningGrounds);

TYPED_TEST(WorkspaceOpeningContract, pathsAndURLsAreOpenedAsOneArgument) {
    for (const std::string url : { "/home/ann/Volumes/Music", "/a b/it's \"x\" $(true) `true` *\n-n é",
             "file:///usr/share/doc/help.html#mounting", "https://example.com/?a=b&c=%20" }) {
        EXPECT_TRUE(this->ground.workspace.openURL(url));
        EXPECT_EQ(this->ground.opened(), "1|" + url + '|');
    }
}

TYPED_TEST(WorkspaceOpeningContract, whatIsNeitherIsRefused) {
    for (const auto& text : { std::string(), std::string("-version"), std::string("--manual"), std::string("-a://b"),
             std::string("relative/path"), std::string("./a:b"), std::string(":b"), std::string("1a:b"),
             std::string(" /a"), std::string("/a\0b", 4), std::string("a b:c") })
        EXPECT_FALSE(this->ground.workspace.openURL(text)) << text;
    EXPECT_FALSE(this->ground.hasOpened());
}

TYPED_TEST(WorkspaceOpeningContract, whereNothingCanBeStartedItSaysSo) {
    this->ground.losePrograms();
    EXPECT_FALSE(this->ground.workspace.openURL("/home"));
}

TEST(LinuxOpeningTest, theOpenerIsSearchedForInPATH) {
    const RecordingOpener opener;
    LinuxWorkspace workspace({ std::nullopt, "/nonexistent", "/nonexistent", "unix:path=/nonexistent" });
    const SearchPath searchPath("/nonexistent:" + opener.folder());
    ASSERT_TRUE(workspace.openURL("/home"));
    EXPECT_EQ(opener.takeRecord(), "1|/home|");
    opener.remove();
    EXPECT_FALSE(workspace.openURL("/home"));
}

TEST(LinuxOpeningTest, theOpenerLeadsASessionOfItsOwnWithoutOurStreams) {
    const RecordingOpener opener("read -r stat </proc/$$/stat; set -- $stat; echo $1 $5 $6\n"
                                 "/bin/readlink /proc/$$/fd/0 /proc/$$/fd/2");
    LinuxWorkspace workspace(placesWith(opener.program()));
    ASSERT_TRUE(workspace.openURL("/home"));
    const auto record = opener.takeRecord().value_or("1|/home|0");
    const auto process = std::to_string(std::stol(record.substr(8)));
    EXPECT_EQ(record, "1|/home|" + process + ' ' + process + ' ' + process + "\n/dev/null\n/dev/null\n");
}

TEST(LinuxOpeningTest, anOpenerThatTakesItsTimeHoldsNobodyUpAndLeavesNoZombie) {
    const TemporaryFolder folder;
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    // Held open, so that neither side waits for the other to come.
    const FileDescriptor open(::open(gate.c_str(), O_RDWR | O_CLOEXEC));
    const RecordingOpener opener("echo $$; read word <'" + gate + "'");
    LinuxWorkspace workspace(placesWith(opener.program()));
    ASSERT_TRUE(workspace.openURL("/home")); // would never come back, did it wait
    EXPECT_EQ(::write(open.get(), "go\n", 3), 3);
    const auto record = opener.takeRecord();
    ASSERT_TRUE(record);
    EXPECT_TRUE(isGone(static_cast<pid_t>(std::stol(record->substr(8)))));
}

} // namespace quorrel
