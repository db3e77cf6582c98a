// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsoleProgram.h"

#include "Foundation/WakeSignal.h"
#include "Tests/Console/ConsoleFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class ConsoleProgramTest : public ConsoleFixture { };

TEST_F(ConsoleProgramTest, tellsItsVersionAndItsUse) {
    EXPECT_EQ(run({ "--version" }), 0);
    EXPECT_EQ(output.text(), "quorrelctl 1.2.3\n");
    EXPECT_EQ(run({ "--help" }), 0);
    EXPECT_THAT(output.text(), HasSubstr("quorrelctl mount"));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ConsoleProgramTest, answersWrongUsageWithOneLine) {
    EXPECT_EQ(run({ "mount" }), 2);
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(errors.text(), testing::StartsWith("quorrelctl: mount needs --all, HOST or HOST/SHARE"));
    const auto text = errors.text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST_F(ConsoleProgramTest, mountsAllAndShowsHow) {
    addHost("127.0.0.2", { "docs", "music" });
    EXPECT_EQ(run({ "mount", "--all" }), 0);
    EXPECT_THAT(volumes.requests(), SizeIs(2));
    const auto text = output.text();
    EXPECT_THAT(text, HasSubstr("127.0.0.2/docs: Mounting\n"));
    EXPECT_THAT(text, HasSubstr("127.0.0.2/docs: Online\n"));
    EXPECT_THAT(text, HasSubstr("HOST       SHARE  SERVICE  STATUS  PATH"));
    EXPECT_THAT(text, testing::ContainsRegex("127.0.0.2  docs   smb      Online  [^ ]+docs\n"));
    EXPECT_THAT(text, testing::ContainsRegex("127.0.0.2  music  smb      Online  [^ ]+music\n"));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ConsoleProgramTest, mountsOnlyWhatIsAskedForAndThatOnce) {
    addHost("127.0.0.2", { "docs", "music" });
    addHost("127.0.0.3", { "docs" });
    EXPECT_EQ(run({ "mount", "127.0.0.2/docs", "127.0.0.2/docs" }), 0);
    ASSERT_THAT(volumes.requests(), SizeIs(1));
    EXPECT_THAT(volumes.requests()[0].url, HasSubstr("127.0.0.2/docs"));
}

TEST_F(ConsoleProgramTest, mountsWhatIsNotMarkedAutomatic) {
    addHost("127.0.0.2", { "docs" })->sharePoints.snapshot()[0]->automatically.set(false);
    EXPECT_EQ(run({ "mount", "127.0.0.2" }), 0);
    EXPECT_THAT(volumes.requests(), SizeIs(1));
}

TEST_F(ConsoleProgramTest, fillsAllFourPlacesOfTheQueue) {
    addHost("127.0.0.2", { "a", "b", "c", "d", "e", "f" });
    EXPECT_EQ(run({ "mount", "--all" }), 0);
    EXPECT_THAT(volumes.requests(), SizeIs(6));
}

TEST_F(ConsoleProgramTest, endsWithOneWhenAShareIsNotOnline) {
    addHost("127.0.0.2", { "docs", "music" });
    FakeVolumeService::Reply refused;
    refused.status = VolumeStatus::badLogin;
    volumes.enqueueMountReply(refused);
    EXPECT_EQ(run({ "mount", "127.0.0.2/docs" }), 1);
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2/docs: Offline: "));
    EXPECT_THAT(output.text(), testing::ContainsRegex("127.0.0.2  docs   smb      Offline +[A-Z]"));
    EXPECT_EQ(errors.text(), "quorrelctl: the log may tell more: /home/user/log\n");
}

TEST_F(ConsoleProgramTest, saysThatAHostWasNotFound) {
    addHost("nowhere", { "docs" });
    EXPECT_EQ(run({ "mount", "nowhere" }), 1);
    EXPECT_THAT(volumes.requests(), IsEmpty());
    EXPECT_THAT(output.text(), HasSubstr("The host's address could not be found."));
}

TEST_F(ConsoleProgramTest, namesTheNearestOfAnUnknownName) {
    addHost("127.0.0.2", { "docs", "music" });
    EXPECT_EQ(run({ "mount", "127.0.0.2/dosc", "127.0.0.2/music" }), 2);
    EXPECT_EQ(
        errors.text(), "quorrelctl: \"127.0.0.2/dosc\" is not in the catalogue; did you mean \"127.0.0.2/docs\"?\n");
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(ConsoleProgramTest, saysThatTheCatalogueIsEmpty) {
    EXPECT_EQ(run({ "mount", "nas" }), 2);
    EXPECT_EQ(errors.text(), "quorrelctl: \"nas\" is not in the catalogue, which is empty\n");
    EXPECT_EQ(run({ "list" }), 0);
    EXPECT_EQ(run({ "list", "--json" }), 0);
    EXPECT_EQ(output.text(), "[]\n");
}

TEST_F(ConsoleProgramTest, saysThatTheCatalogueCannotBeRead) {
    files.putMalformed(cataloguePath, "not a property list");
    EXPECT_EQ(run({ "list" }), 1);
    EXPECT_THAT(errors.text(), HasSubstr(std::string(cataloguePath) + " cannot be read: not a property list"));
}

TEST_F(ConsoleProgramTest, listsWithoutMounting) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(run({ "list" }), 0);
    EXPECT_THAT(volumes.requests(), IsEmpty());
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2  docs   smb      Offline"));
}

TEST_F(ConsoleProgramTest, findsWhatAnEarlierRunMountedAndUnmountsIt) {
    addHost("127.0.0.2", { "docs", "music" });
    ASSERT_EQ(run({ "mount", "127.0.0.2/docs" }), 0);
    EXPECT_EQ(run({ "list" }), 0);
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2  docs   smb      Online "));
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2  music  smb      Offline"));
    EXPECT_EQ(run({ "mount", "127.0.0.2/docs" }), 0);
    EXPECT_EQ(run({ "unmount", "--all" }), 0);
    EXPECT_THAT(volumes.unmounts(), SizeIs(1));
    EXPECT_THAT(output.text(), HasSubstr("127.0.0.2/docs: Unmounting\n127.0.0.2/docs: Offline\n"));
    EXPECT_THAT(volumes.mountedVolumes(), IsEmpty());
}

TEST_F(ConsoleProgramTest, aVolumeInUseStaysOnline) {
    addHost("127.0.0.2", { "docs" });
    ASSERT_EQ(run({ "mount", "--all" }), 0);
    FakeVolumeService::Reply inUse;
    inUse.status = VolumeStatus::filesOpen;
    volumes.enqueueUnmountReply(inUse);
    EXPECT_EQ(run({ "unmount", "--all" }), 1);
    EXPECT_THAT(output.text(), testing::ContainsRegex("127.0.0.2  docs   smb      Online  [^ ]+docs  [A-Z]"));
}

TEST_F(ConsoleProgramTest, givesMachinesNothingButJson) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(run({ "mount", "--all", "--json" }), 0);
    EXPECT_THAT(output.text(), testing::StartsWith("[\n  {\n    \"host\": \"127.0.0.2\",\n"));
    EXPECT_THAT(output.text(), testing::EndsWith("]\n"));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ConsoleProgramTest, asksForAPasswordOncePerHost) {
    const auto host = addHost("127.0.0.2", { "docs", "music" });
    for (const auto& share : host->sharePoints.snapshot())
        share->passwordPrompt.set(true);
    prompt.answers.push_back({ PasswordPrompt::Outcome::Given, "typed-s3cret" });
    EXPECT_EQ(run({ "mount", "--all" }), 0);
    EXPECT_THAT(prompt.prompts(), ElementsAre("Password on 127.0.0.2 for 127.0.0.2/docs: "));
    ASSERT_THAT(volumes.requests(), SizeIs(2));
    for (const auto& request : volumes.requests())
        EXPECT_EQ(request.password, "typed-s3cret");
    EXPECT_THAT(output.text() + errors.text(), Not(HasSubstr("s3cret")));
    for (const auto& line : logSink.texts())
        EXPECT_THAT(line, Not(HasSubstr("s3cret")));
}

TEST_F(ConsoleProgramTest, mountsWithoutAPasswordWhereNobodyCanBeAsked) {
    addHost("127.0.0.2", { "docs" })->sharePoints.snapshot()[0]->passwordPrompt.set(true);
    EXPECT_EQ(run({ "mount", "--all" }), 0);
    ASSERT_THAT(volumes.requests(), SizeIs(1));
    EXPECT_EQ(textOf(volumes.requests()[0].password), "");
    EXPECT_THAT(errors.text(), HasSubstr("there is no terminal to ask on"));
}

TEST_F(ConsoleProgramTest, refusesAPasswordFileThatCannotBeRead) {
    addHost("127.0.0.2", { "docs" });
    EXPECT_EQ(run({ "mount", "--all", "--password-file", "/nowhere/at/all" }), 2);
    EXPECT_THAT(errors.text(), HasSubstr("/nowhere/at/all cannot be read"));
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(ConsoleProgramTest, anInterruptionEndsHungMountsWithinASecond) {
    addHost("127.0.0.2", { "a", "b", "c", "d", "e" });
    FakeVolumeService::Reply hanging;
    hanging.hangs = true;
    for (int count = 0; count < 5; ++count)
        volumes.enqueueMountReply(hanging);
    std::chrono::steady_clock::time_point begin;
    std::thread signals([&] {
        EXPECT_TRUE(volumes.waitForHanging(4));
        begin = std::chrono::steady_clock::now();
        EXPECT_EQ(program.interrupt(SIGINT), 128 + SIGINT);
    });
    EXPECT_EQ(run({ "mount", "--all" }), 128 + SIGINT);
    signals.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_TRUE(volumes.wasInterrupted());
    EXPECT_THAT(volumes.requests(), SizeIs(testing::Le(4U)));
    EXPECT_EQ(prompt.restores(), 1);
    EXPECT_THAT(errors.text(), HasSubstr("quorrelctl: interrupted"));
    EXPECT_THAT(output.text(), Not(HasSubstr("HOST")));
}

TEST_F(ConsoleProgramTest, anInterruptionDoesNotWaitForAMainThreadThatIsBlocked) {
    addHost("slow", { "docs" });
    WakeSignal asked;
    WakeSignal answered;
    childProcess.setResponder("/usr/bin/nslookup", [&](const FakeChildProcess::Call&) {
        asked.signal();
        answered.waitFor(Seconds(10));
        return ChildProcessResult { true, "", "" };
    });
    std::thread signals([&] {
        EXPECT_TRUE(asked.waitFor(Seconds(10)));
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(program.interrupt(SIGTERM), 128 + SIGTERM);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        answered.signal();
    });
    EXPECT_EQ(run({ "mount", "slow" }), 128 + SIGTERM);
    signals.join();
    EXPECT_THAT(errors.text(), HasSubstr("ended by a signal"));
}

TEST_F(ConsoleProgramTest, neverSavesTheCatalogueAndNeedsNoLock) {
    addHost("127.0.0.2", { "docs", "music" });
    for (const char* command : { "mount", "unmount" })
        EXPECT_EQ(run({ command, "--all" }), 0);
    EXPECT_EQ(run({ "list" }), 0);
    EXPECT_EQ(files.writeCount(), 0);
    EXPECT_EQ(lock.takes(), 0);
}

TEST_F(ConsoleProgramTest, showsNoControlCharacterOfAName) {
    addHost("127.0.0.2", { "do\x1b[2Jcs" });
    EXPECT_EQ(run({ "mount", "--all" }), 0);
    EXPECT_THAT(output.text() + errors.text(), Not(HasSubstr("\x1b")));
}

} // namespace
} // namespace quorrel
