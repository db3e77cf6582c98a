// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/RemoteShares.h"

#include "Tests/Console/ConsoleFixture.h"
#include "Tests/Fakes/FakeRemoteClient.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Kind = RemoteCommand::Kind;
using Failure = RemoteFailure::Kind;
using Presence = RemoteClient::Presence;

/// quorrelctl beside a program that has "docs" and "music" of the host 127.0.0.2.
class RemoteSharesTest : public ConsoleFixture {
protected:
    RemoteSharesTest() {
        remote.program = { cataloguePath, "1.2.3" };
        remote.hosts = { { "127.0.0.2", 2, true, false }, { "empty", 0, false, false } };
        remote.shares = { { "127.0.0.2/smb/docs", "127.0.0.2", "smb", "docs", "unmounted", "Offline", "", "", false,
                              true, false, false },
            { "127.0.0.2/smb/music", "127.0.0.2", "smb", "music", "unmounted", "Offline", "", "", false, true, false,
                false } };
        remote.onCommand = [this](const RemoteCommand& command) { return mountsOrUnmounts(command); };
        addHost("127.0.0.2", { "docs", "music" });
    }

    RemoteOutcome mountsOrUnmounts(const RemoteCommand& command) {
        for (auto& share : remote.shares) {
            if (share.id != command.name)
                continue;
            const bool mounts = command.kind == Kind::Mount;
            for (const bool isDone : { false, true }) {
                share.status = isDone ? (mounts ? "Online" : "Offline") : (mounts ? "Mounting" : "Unmounting");
                share.mounted = isDone == mounts;
                share.path = share.mounted ? "/home/user/Volumes/" + share.share : "";
                remote.tell(share);
            }
            return std::vector { share };
        }
        return RemoteFailure { Failure::UnknownShare, "There is no share \"" + command.name + "\"." };
    }

    RemoteOutcome refuse(const RemoteCommand& command, const std::string& error) {
        for (auto& share : remote.shares)
            if (share.id == command.name)
                share.error = error;
        return RemoteFailure { Failure::MountFailed, error };
    }

    int runBeside(const std::vector<std::string>& arguments) {
        output.clear();
        errors.clear();
        writeCatalogue();
        return beside.run(arguments);
    }

    ConsoleEnvironment withRemote() {
        auto result = environment();
        result.remote = &remote;
        return result;
    }

    FakeRemoteClient remote { mainThreadQueue };
    ConsoleProgram beside { withRemote() };
};

TEST_F(RemoteSharesTest, MountsThroughTheProgramWithTheOutputOfItsOwn) {
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs" }), 0);
    const auto beside = output.text();
    EXPECT_THAT(volumes.requests(), IsEmpty());
    ASSERT_THAT(remote.commands, SizeIs(1));
    EXPECT_EQ(remote.commands[0].kind, Kind::Mount);
    EXPECT_EQ(remote.commands[0].name, "127.0.0.2/smb/docs");
    EXPECT_EQ(remote.commands[0].password, std::nullopt);
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(run({ "mount", "127.0.0.2/docs" }), 0);
    EXPECT_EQ(volumes.requests().size(), 1U);
    const auto headingOf = [](const std::string& text) { return text.substr(0, text.find("  PATH")); };
    EXPECT_THAT(beside, HasSubstr("127.0.0.2/docs: Mounting\n127.0.0.2/docs: Online\nHOST"));
    EXPECT_EQ(headingOf(beside), headingOf(output.text()));
}

TEST_F(RemoteSharesTest, UnmountsAndListsThroughTheProgram) {
    ASSERT_EQ(runBeside({ "mount", "--all", "--json" }), 0);
    EXPECT_THAT(output.text(), HasSubstr("\"path\": \"/home/user/Volumes/music\""));
    ASSERT_EQ(runBeside({ "unmount", "127.0.0.2/MUSIC" }), 0);
    EXPECT_EQ(remote.commands.back().kind, Kind::Unmount);
    ASSERT_EQ(runBeside({ "list" }), 0);
    EXPECT_THAT(output.text(), HasSubstr("docs   smb      Online   ~/Volumes/docs\n"));
    EXPECT_THAT(output.text(), HasSubstr("music  smb      Offline\n"));
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(RemoteSharesTest, AFailureGivesOneAndTheSharesOwnText) {
    remote.onCommand = [this](const RemoteCommand& command) {
        return command.name.ends_with("docs") ? mountsOrUnmounts(command) : refuse(command, "Wrong password.");
    };
    EXPECT_EQ(runBeside({ "mount", "--all" }), 1);
    EXPECT_THAT(output.text(), HasSubstr("Wrong password.\n"));
    EXPECT_THAT(errors.text(), HasSubstr("the log may tell more"));
}

TEST_F(RemoteSharesTest, AFailureThatLeavesNoErrorInTheShareIsTold) {
    remote.onCommand = [](const RemoteCommand&) {
        return RemoteFailure { Failure::Busy, "The user is being asked for a password." };
    };
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs", "--json" }), 1);
    EXPECT_THAT(output.text(), HasSubstr("\"error\": \"The user is being asked for a password.\""));
}

TEST_F(RemoteSharesTest, UnknownNamesAreTwoAndHostsWithoutSharesAreNot) {
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/dosc" }), 2);
    EXPECT_THAT(errors.text(), HasSubstr("did you mean \"127.0.0.2/docs\"?"));
    EXPECT_EQ(runBeside({ "mount", "empty" }), 0);
    EXPECT_THAT(errors.text(), HasSubstr("\"empty\" has no shares in the catalogue"));
    EXPECT_THAT(remote.commands, IsEmpty());
}

TEST_F(RemoteSharesTest, AsksOnTheTerminalOncePerHostAndHandsThePasswordOver) {
    for (auto& share : remote.shares)
        share.needsPassword = true;
    prompt.answers.push_back({ PasswordPrompt::Outcome::Given, "s3cret" });
    EXPECT_EQ(runBeside({ "mount", "--all" }), 0);
    EXPECT_THAT(prompt.prompts(), ElementsAre("Password on 127.0.0.2 for 127.0.0.2/docs: "));
    ASSERT_THAT(remote.commands, SizeIs(2));
    EXPECT_EQ(remote.commands[0].password, "s3cret");
    EXPECT_EQ(remote.commands[1].password, "s3cret");
    EXPECT_THAT(output.text() + errors.text(), Not(HasSubstr("s3cret")));
}

TEST_F(RemoteSharesTest, APasswordComesFromAFileToo) {
    remote.shares[0].needsPassword = true;
    TemporaryFolder folder;
    folder.put("password", "from-the-file\n");
    EXPECT_EQ(runBeside({ "mount", "--all", "--password-file", folder.path("password") }), 0);
    EXPECT_EQ(remote.commands[0].password, "from-the-file");
    EXPECT_EQ(remote.commands[1].password, std::nullopt) << "for those whose password is asked for";
}

TEST_F(RemoteSharesTest, WorksByItselfWhereNobodyKeepsThatCatalogue) {
    remote.presence = Presence::Absent;
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs" }), 0);
    EXPECT_EQ(volumes.requests().size(), 1U);
    remote.presence = Presence::There;
    remote.program.catalogue = "/elsewhere/Quorrel2.plist";
    ConsoleProgram other(withRemote());
    EXPECT_EQ(other.run({ "unmount", "127.0.0.2/docs" }), 0);
    EXPECT_THAT(remote.commands, IsEmpty());
    EXPECT_EQ(errors.text(), "");
}

TEST_F(RemoteSharesTest, WorksByItselfBesideOneThatDoesNotAnswerAndSaysSo) {
    remote.presence = Presence::Silent;
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs" }), 0);
    EXPECT_THAT(errors.text(), HasSubstr("does not answer; this goes on without it"));
    EXPECT_EQ(volumes.requests().size(), 1U);
    remote.presence = Presence::There;
    remote.answersLists = false;
    ConsoleProgram other(withRemote());
    EXPECT_EQ(other.run({ "list" }), 0);
}

TEST_F(RemoteSharesTest, AProgramThatEndsInTheMiddleIsTold) {
    remote.onCommand = [this](const RemoteCommand&) {
        remote.answersLists = false;
        return RemoteFailure { Failure::NoAnswer, "Message recipient disconnected from message bus without replying" };
    };
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs" }), 1);
    EXPECT_THAT(errors.text(), HasSubstr("quorrelctl: Quorrel ended meanwhile\n"));
    EXPECT_THAT(output.text(), HasSubstr("disconnected"));
}

TEST_F(RemoteSharesTest, ASignalEndsItWhileTheProgramGoesOn) {
    std::thread user;
    remote.onCommand = [&](const RemoteCommand&) -> RemoteOutcome {
        user = std::thread([&] { EXPECT_EQ(beside.interrupt(SIGINT), 130); });
        user.join();
        return RemoteFailure { Failure::NoAnswer, "" };
    };
    EXPECT_EQ(runBeside({ "mount", "127.0.0.2/docs" }), 130);
    EXPECT_THAT(errors.text(), HasSubstr("quorrelctl: interrupted"));
}

TEST_F(RemoteSharesTest, StatusTellsOfEveryShareInALine) {
    remote.shares[1].error = "Wrong password.";
    remote.shares[1].state = "failed";
    EXPECT_EQ(runBeside({ "status" }), 0);
    EXPECT_EQ(output.text(), "127.0.0.2/docs: Offline\n127.0.0.2/music: Offline: Wrong password.\n");
    EXPECT_EQ(runBeside({ "status", "--json" }), 0);
    EXPECT_THAT(output.text(),
        HasSubstr("\n{\"id\":\"127.0.0.2/smb/music\",\"host\":\"127.0.0.2\",\"share\":\"music\",\"service\":\"smb\","
                  "\"state\":\"failed\",\"status\":\"Offline\",\"mounted\":false,\"path\":null,"
                  "\"error\":\"Wrong password.\"}\n"));
}

TEST_F(RemoteSharesTest, StatusIsTheSameByItself) {
    ASSERT_EQ(runBeside({ "status", "--json" }), 0);
    const auto beside = output.text();
    EXPECT_EQ(run({ "status", "--json" }), 0);
    EXPECT_EQ(output.text(), beside);
}

TEST_F(RemoteSharesTest, FollowingTellsOfChangesUntilASignalComes) {
    std::thread user;
    remote.onStart = [&] {
        mainThreadQueue.post([&] {
            // The list comes in the turn after next.
            mainThreadQueue.post([&] {
                mainThreadQueue.post([&] {
                    auto share = remote.shares[0];
                    share.status = "Mounting";
                    share.state = "mounting";
                    remote.tell(share);
                    remote.tell(share);
                    remote.shares.erase(remote.shares.begin() + 1);
                    remote.shares[0] = share;
                    remote.tellShares();
                    mainThreadQueue.post([&] {
                        mainThreadQueue.post(
                            [&] { user = std::thread([&] { static_cast<void>(beside.interrupt(SIGTERM)); }); });
                    });
                });
            });
        });
    };
    EXPECT_EQ(runBeside({ "status", "--follow" }), 128 + SIGTERM);
    user.join();
    EXPECT_EQ(output.text(),
        "127.0.0.2/docs: Offline\n127.0.0.2/music: Offline\n127.0.0.2/docs: Mounting\n"
        "127.0.0.2/music: no longer in the catalogue\n");
}

TEST_F(RemoteSharesTest, FollowingWaitsForAProgramThatDoesNotRunAndForOneThatEnds) {
    remote.presence = Presence::Absent;
    std::vector<std::function<void()>> steps {
        [&] {
            EXPECT_EQ(output.text(), "127.0.0.2/docs: Offline\n127.0.0.2/music: Offline\n");
            EXPECT_EQ(errors.text(), "quorrelctl: Quorrel is not running; changes are shown as soon as it does run\n");
            errors.clear();
            output.clear();
            remote.presence = Presence::There;
            remote.shares[0].status = "Online";
            remote.shares[0].state = "mounted";
            remote.tellPresence();
        },
        [&] {
            EXPECT_EQ(output.text(), "127.0.0.2/docs: Online\n");
            EXPECT_EQ(errors.text(), "quorrelctl: Quorrel is running\n");
            errors.clear();
            output.clear();
            remote.presence = Presence::Absent;
            remote.tellPresence();
        },
        [&] {
            EXPECT_EQ(errors.text(), "quorrelctl: Quorrel has ended; changes are shown as soon as it does run\n");
            EXPECT_EQ(output.text(), "");
        },
    };
    std::thread user;
    std::size_t next = 0;
    std::function<void(int)> wait = [&](int turns) {
        if (turns > 0) {
            mainThreadQueue.post([&, turns] { wait(turns - 1); });
            return;
        }
        if (next == steps.size()) {
            user = std::thread([&] { static_cast<void>(beside.interrupt(SIGINT)); });
            return;
        }
        steps[next++]();
        wait(5);
    };
    remote.onStart = [&] { wait(5); };
    EXPECT_EQ(runBeside({ "status", "--follow" }), 130);
    user.join();
}

} // namespace
} // namespace quorrel
