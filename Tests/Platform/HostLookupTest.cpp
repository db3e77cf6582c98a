// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostLookup.h"

#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/ProcessEnd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Looks up with a program of the test's own.
class HostLookupTest : public testing::Test {
protected:
    std::unique_ptr<HostLookup> makeLookup(const std::string& script, Seconds limit = Seconds(30)) {
        return std::make_unique<HostLookup>(tools, folder.put("program", "#!/bin/sh\n" + script, 0700), limit);
    }
    void start(HostLookup& lookup, const std::string& name = "host") {
        lookup.start(name, [this](const auto& addresses) {
            found = addresses;
            ++answers;
        });
    }
    [[nodiscard]] bool runUntilFound() const {
        return runMainContextUntil([this] { return found.has_value(); }, Seconds(10));
    }
    /// The number that the program wrote of itself.
    [[nodiscard]] pid_t processOf() const {
        EXPECT_TRUE(
            runMainContextUntil([this] { return std::filesystem::exists(folder.path("process.done")); }, Seconds(10)));
        return std::stoi(folder.contentOf("process"));
    }
    [[nodiscard]] std::string hangingScript() const {
        return "echo $$ > " + folder.path("process") + "; : > " + folder.path("process.done") + "; exec sleep 60\n";
    }
    static bool endsSoon(pid_t process) {
        return runMainContextUntil([process] { return ::kill(process, 0) != 0; }, Seconds(10));
    }

    TemporaryFolder folder;
    std::shared_ptr<RunningTools> tools = std::make_shared<RunningTools>();
    std::optional<std::vector<InternetAddress>> found;
    int answers = 0;
};

TEST_F(HostLookupTest, eachAddressIsFoundOnce) {
    const auto lookup = makeLookup("echo '10.78.0.2      STREAM host'; echo '10.78.0.2      DGRAM  ';"
                                   "echo 'fd77::3         STREAM '; echo 'fd77::3         RAW    '");
    start(*lookup);
    EXPECT_TRUE(lookup->isRunning());
    EXPECT_FALSE(found);
    ASSERT_TRUE(runUntilFound());
    EXPECT_FALSE(lookup->isRunning());
    EXPECT_THAT(*found, ElementsAre(*InternetAddress::parse("10.78.0.2"), *InternetAddress::parse("fd77::3")));
}

TEST_F(HostLookupTest, theNameIsPassedAsAWordOfItsOwn) {
    const auto lookup = makeLookup("printf '%s\\n' \"$@\" > " + folder.path("words") + "\n");
    start(*lookup, "--help me");
    ASSERT_TRUE(runUntilFound());
    EXPECT_EQ(folder.contentOf("words"), "ahosts\n--\n--help me\n");
}

TEST_F(HostLookupTest, whatIsNotFoundHasNoAddress) {
    for (const auto* script : { "exit 2", "echo nonsense", "kill -9 $$", "echo ' 10.78.0.2'" }) {
        found.reset();
        const auto lookup = makeLookup(script);
        start(*lookup);
        ASSERT_TRUE(runUntilFound()) << script;
        EXPECT_THAT(*found, IsEmpty()) << script;
    }
}

TEST_F(HostLookupTest, aProgramThatIsMissingFindsNothingAndNotDuringTheCall) {
    HostLookup lookup(nullptr, "/nonexistent/program");
    start(lookup);
    EXPECT_FALSE(found);
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, IsEmpty());
}

TEST_F(HostLookupTest, aProgramThatHangsIsEndedInTime) {
    const auto lookup = makeLookup(hangingScript(), Seconds(0.5));
    start(*lookup);
    const auto process = processOf();
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, IsEmpty());
    EXPECT_TRUE(endsSoon(process));
}

TEST_F(HostLookupTest, stoppingEndsTheProcessInSilence) {
    const auto lookup = makeLookup(hangingScript());
    start(*lookup);
    const auto process = processOf();
    lookup->stop();
    EXPECT_FALSE(lookup->isRunning());
    EXPECT_TRUE(endsSoon(process));
    EXPECT_FALSE(found);
}

TEST_F(HostLookupTest, destroyingEndsTheProcess) {
    auto lookup = makeLookup(hangingScript());
    start(*lookup);
    const auto process = processOf();
    lookup.reset();
    EXPECT_TRUE(endsSoon(process));
    EXPECT_FALSE(found);
}

TEST_F(HostLookupTest, theProcessEndsWithTheProgramsTools) {
    const auto lookup = makeLookup(hangingScript());
    start(*lookup);
    const auto process = processOf();
    tools->endAll();
    EXPECT_TRUE(endsSoon(process));
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, IsEmpty());
    const auto later = makeLookup("exec sleep 60"); // the program has not ended yet
    found.reset();
    start(*later);
    EXPECT_TRUE(runUntilFound());
}

TEST_F(HostLookupTest, startingAnewAnswersOnceAndForTheNewName) {
    const auto lookup = makeLookup("case $3 in slow) exec sleep 60;; *) echo 10.78.0.3;; esac\n");
    start(*lookup, "slow");
    start(*lookup, "slow");
    start(*lookup, "quick");
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, ElementsAre(*InternetAddress::parse("10.78.0.3")));
    EXPECT_FALSE(runMainContextUntil([this] { return answers > 1; }, Seconds(0.1)));
}

TEST_F(HostLookupTest, moreThanAnyNameHasIsCutOff) {
    const auto lookup = makeLookup("exec yes '10.78.0.2 STREAM'");
    start(*lookup);
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, ElementsAre(*InternetAddress::parse("10.78.0.2")));
}

TEST_F(HostLookupTest, theAnswerMayDestroyTheLookupOrStartTheNext) {
    auto lookup = makeLookup("echo 10.78.0.2");
    lookup->start("host", [&](const auto&) {
        lookup->start("host", [&](const auto& addresses) {
            found = addresses;
            lookup.reset();
        });
    });
    ASSERT_TRUE(runUntilFound());
    EXPECT_FALSE(lookup);
    EXPECT_EQ(found->size(), 1U);
}

TEST_F(HostLookupTest, theSystemsOwnProgramKnowsThisMachine) {
    HostLookup lookup;
    start(lookup, "localhost");
    ASSERT_TRUE(runUntilFound());
    EXPECT_THAT(*found, testing::Not(IsEmpty()));
}

} // namespace
} // namespace quorrel
