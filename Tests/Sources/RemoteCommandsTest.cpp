// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/RemoteCommands.h"

#include "Tests/Fakes/FakeRemoteControl.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <optional>
#include <utility>

namespace quorrel {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Kind = RemoteCommand::Kind;
using Failure = RemoteFailure::Kind;

class RemoteCommandsTest : public ControllerTest {
protected:
    RemoteCommandsTest() {
        host = addHost("192.168.1.20", smb, { "docs", "music" });
        docs = host->sharePointForName("docs");
        music = host->sharePointForName("music");
        mountNothingOnItsOwn(host);
        mainThreadQueue.runPending();
        events.emplace(*controller, controller->hosts, mainThreadQueue);
        commands.emplace(*controller, *events, control, mainThreadQueue, strings, "1.2.3");
        commands->begin();
    }

    ~RemoteCommandsTest() override {
        commands.reset();
        events.reset();
    }

    void perform(RemoteCommand command) {
        ASSERT_TRUE(control.target());
        control.target()->perform(command, [this](RemoteOutcome outcome) { outcomes.push_back(std::move(outcome)); });
    }

    /// As the run loop would go on until so many commands have been answered; whether they were.
    [[nodiscard]] bool areAnswered(std::size_t count) {
        for (int turn = 0; turn < 3000 && outcomes.size() < count; ++turn) {
            mainThreadQueue.runPending();
            static_cast<void>(controller->opQueue().waitUntilIdle(Seconds(0.01)));
        }
        return outcomes.size() == count;
    }

    std::optional<RemoteFailure> failureOf(RemoteCommand command) {
        outcomes.clear();
        perform(std::move(command));
        EXPECT_TRUE(areAnswered(1));
        const auto* failure = outcomes.empty() ? nullptr : std::get_if<RemoteFailure>(&outcomes[0]);
        return failure ? std::optional(*failure) : std::nullopt;
    }

    std::vector<std::string> toldStates() const {
        std::vector<std::string> result;
        for (const auto& share : control.told())
            result.push_back(share.id + ' ' + share.state);
        return result;
    }

    void refuse(const std::string& url, std::int32_t status) {
        FakeVolumeService::Reply reply;
        reply.status = status;
        volumes.setMountReply(url, std::move(reply));
    }

    std::shared_ptr<HostDefinition> host;
    std::shared_ptr<SharePointDefinition> docs;
    std::shared_ptr<SharePointDefinition> music;
    FakeRemoteControl control;
    std::optional<ShareEvents> events;
    std::optional<RemoteCommands> commands;
    std::vector<RemoteOutcome> outcomes;
    static constexpr const char* docsId = "192.168.1.20/smb/docs";
    static constexpr const char* musicId = "192.168.1.20/smb/music";
};

TEST_F(RemoteCommandsTest, ListsHostsAndShares) {
    docs->favroite.set(true);
    docs->automatically.set(true);
    docs->setVolume(3, "/home/user/Volumes/docs");
    docs->setMounted(true);
    music->setLastError("Wrong password.");
    music->password.set("s3cret");
    EXPECT_THAT(commands->hosts(), ElementsAre(RemoteHost { "192.168.1.20", 2, false, false }));
    EXPECT_THAT(commands->shares(),
        ElementsAre(RemoteShare { docsId, "192.168.1.20", "smb", "docs", "mounted", "Online", "",
                        "/home/user/Volumes/docs", true, true, true, false },
            RemoteShare { musicId, "192.168.1.20", "smb", "music", "failed", "Offline", "Wrong password.", "", false,
                false, false, false }));
    EXPECT_EQ(commands->program(), (RemoteProgram { controller->catalogueFile(), "1.2.3" }));
}

TEST_F(RemoteCommandsTest, AnswersAMountWhenTheShareIsThere) {
    hangMounts(1);
    perform({ Kind::Mount, docsId });
    ASSERT_TRUE(volumes.waitForHanging(1));
    mainThreadQueue.runPending();
    EXPECT_THAT(outcomes, IsEmpty());
    volumes.release();
    ASSERT_TRUE(areAnswered(1));
    const auto& shares = std::get<std::vector<RemoteShare>>(outcomes[0]);
    ASSERT_THAT(shares, SizeIs(1));
    EXPECT_EQ(shares[0].state, "mounted");
    EXPECT_FALSE(shares[0].path.empty());
    EXPECT_EQ(toldStates().back(), std::string(docsId) + " mounted");
    EXPECT_FALSE(docs->manualMount.get());
}

TEST_F(RemoteCommandsTest, AnswersAMountThatFailsWithTheSharesOwnText) {
    refuse("smb://192.168.1.20/docs", VolumeStatus::badLogin);
    const auto failure = failureOf({ Kind::Mount, docsId });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Failure::MountFailed);
    EXPECT_EQ(failure->message, textOf(docs->lastError.get()));
    EXPECT_FALSE(failure->message.empty());
    EXPECT_EQ(control.told().back().state, "failed");
}

TEST_F(RemoteCommandsTest, UnmountsAndSaysWhyItDoesNot) {
    ASSERT_FALSE(failureOf({ Kind::Mount, docsId }));
    ASSERT_FALSE(failureOf({ Kind::Unmount, docsId }));
    EXPECT_FALSE(docs->mounted.get());
    EXPECT_FALSE(failureOf({ Kind::Unmount, docsId })) << "what is so already is as asked";
    docs->setMounted(true); // by somebody else
    const auto failure = failureOf({ Kind::Unmount, docsId });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Failure::UnmountFailed);
    EXPECT_EQ(failure->message, "Another program mounted this volume, and it can be unmounted there.");
}

TEST_F(RemoteCommandsTest, AnswersCommandsForManyWithHowEachIsThen) {
    refuse("smb://192.168.1.20/music", VolumeStatus::badLogin);
    perform({ Kind::MountHost, "192.168.1.20" });
    ASSERT_TRUE(areAnswered(1));
    const auto& shares = std::get<std::vector<RemoteShare>>(outcomes[0]);
    ASSERT_THAT(shares, SizeIs(2));
    EXPECT_EQ(shares[0].state + ' ' + shares[1].state, "mounted failed");
    perform({ Kind::UnmountAll });
    ASSERT_TRUE(areAnswered(2));
    EXPECT_EQ(std::get<std::vector<RemoteShare>>(outcomes[1])[0].state, "unmounted");
    perform({ Kind::MountAll });
    ASSERT_TRUE(areAnswered(3));
    EXPECT_TRUE(docs->mounted.get());
    perform({ Kind::UnmountHost, "192.168.1.20" });
    ASSERT_TRUE(areAnswered(4));
    EXPECT_FALSE(docs->mounted.get());
}

TEST_F(RemoteCommandsTest, KnowsAFavouriteByItsNameIfThatIsOfOneOnly) {
    music->favroite.set(true);
    EXPECT_FALSE(failureOf({ Kind::MountFavourite, "music" }));
    EXPECT_TRUE(music->mounted.get());
    for (const auto* name : { musicId, "192.168.1.20/music" })
        EXPECT_FALSE(failureOf({ Kind::MountFavourite, name })) << name;
    EXPECT_EQ(failureOf({ Kind::MountFavourite, "docs" }),
        (RemoteFailure { Failure::UnknownFavourite, "There is no favourite \"docs\"." }));
    addHost("192.168.1.21", smb, { "music" })->sharePointForName("music")->favroite.set(true);
    EXPECT_EQ(failureOf({ Kind::MountFavourite, "music" }),
        (RemoteFailure { Failure::UnknownFavourite, "There is more than one favourite \"music\"." }));
    EXPECT_FALSE(failureOf({ Kind::MountFavourite, "192.168.1.20/music" }));
}

TEST_F(RemoteCommandsTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(failureOf({ Kind::Mount, "nas/smb/docs" }),
        (RemoteFailure { Failure::UnknownShare, "There is no share \"nas/smb/docs\"." }));
    EXPECT_EQ(
        failureOf({ Kind::UnmountHost, "nas" }), (RemoteFailure { Failure::UnknownHost, "There is no host \"nas\"." }));
}

TEST_F(RemoteCommandsTest, AsksNobodyForAPasswordThatDidNotComeWithTheCommand) {
    docs->userName.set("ann");
    docs->guestLogin.set(false);
    docs->passwordPrompt.set(true);
    EXPECT_TRUE(commands->shares()[0].needsPassword);
    EXPECT_EQ(failureOf({ Kind::Mount, docsId }),
        (RemoteFailure { Failure::PasswordNeeded, "192.168.1.20/docs wants a password." }));
    perform({ Kind::MountAll });
    ASSERT_TRUE(areAnswered(2));
    const auto& shares = std::get<std::vector<RemoteShare>>(outcomes[1]);
    EXPECT_EQ(shares[0].error, "192.168.1.20/docs wants a password.");
    EXPECT_EQ(shares[1].state, "mounted");
    EXPECT_EQ(passwordWindow.timesShown(), 0);
    EXPECT_FALSE(failureOf({ Kind::Mount, docsId, "s3cret" }));
    EXPECT_EQ(volumes.requests().back().password, "s3cret");
    EXPECT_FALSE(commands->shares()[0].needsPassword);
}

TEST_F(RemoteCommandsTest, ForgetsAPasswordThatWasWrong) {
    docs->passwordPrompt.set(true);
    refuse("smb://192.168.1.20/docs", VolumeStatus::badLogin);
    const auto failure = failureOf({ Kind::Mount, docsId, "wrong" });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Failure::MountFailed);
    EXPECT_TRUE(commands->shares()[0].needsPassword);
    refuse("smb://192.168.1.20/docs", VolumeStatus::success);
    EXPECT_FALSE(failureOf({ Kind::Mount, docsId, "s3cret" }));
    EXPECT_THAT(logSink.texts(), Not(Contains(::testing::HasSubstr("s3cret"))));
}

TEST_F(RemoteCommandsTest, AMountThatWasCalledOffIsAnswered) {
    occupyQueue();
    perform({ Kind::Mount, docsId });
    controller->unmountAllListItem();
    mainThreadQueue.runPending();
    releaseQueue();
    ASSERT_TRUE(areAnswered(1));
    EXPECT_EQ(
        std::get<RemoteFailure>(outcomes[0]), (RemoteFailure { Failure::MountFailed, "The mount was called off." }));
}

TEST_F(RemoteCommandsTest, AShareThatIsDeletedMeanwhileIsAnswered) {
    occupyQueue();
    perform({ Kind::Mount, docsId });
    host->sharePoints.remove(docs);
    releaseQueue();
    EXPECT_TRUE(areAnswered(1));
}

TEST_F(RemoteCommandsTest, AProgramThatEndsAnswersWhoWaitsAndLetsNobodyIn) {
    auto* const target = control.target();
    hangMounts(1);
    perform({ Kind::Mount, docsId });
    commands->end();
    ASSERT_THAT(outcomes, SizeIs(1));
    EXPECT_EQ(std::get<RemoteFailure>(outcomes[0]).kind, Failure::ShuttingDown);
    EXPECT_EQ(control.target(), nullptr);
    target->perform({ Kind::Mount, docsId }, [this](RemoteOutcome outcome) { outcomes.push_back(std::move(outcome)); });
    ASSERT_THAT(outcomes, SizeIs(2));
    EXPECT_EQ(std::get<RemoteFailure>(outcomes[1]).kind, Failure::ShuttingDown);
    ASSERT_TRUE(volumes.waitForHanging(1));
    volumes.release();
    waitUntilIdle();
    mainThreadQueue.runPending();
    EXPECT_THAT(outcomes, SizeIs(2));
}

TEST_F(RemoteCommandsTest, NothingIsBegunWhileTheUserIsAskedForAPassword) {
    docs->passwordPrompt.set(true);
    std::optional<RemoteFailure> failure;
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        commands->perform({ Kind::Mount, musicId },
            [&](RemoteOutcome outcome) { failure = std::get<RemoteFailure>(std::move(outcome)); });
        EXPECT_THAT(commands->shares(), SizeIs(2)) << "what is there can be looked at";
        target.cancelhostPassword();
    });
    controller->mountManually(docs);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Failure::Busy);
}

TEST_F(RemoteCommandsTest, TellsOfEveryStateInItsOrder) {
    ASSERT_FALSE(failureOf({ Kind::Mount, docsId }));
    ASSERT_FALSE(failureOf({ Kind::Unmount, docsId }));
    const std::string id = docsId;
    const auto told = toldStates();
    EXPECT_THAT(told, ElementsAre(id + " mounting", id + " mounted", id + " unmounting", id + " unmounted"));
    EXPECT_EQ(control.lists(), 0);
}

TEST_F(RemoteCommandsTest, TellsThatTheListIsAnotherOneAndKnowsTheNewNames) {
    docs->sharePoint.set("papers");
    EXPECT_TRUE(failureOf({ Kind::Unmount, docsId }));
    EXPECT_FALSE(failureOf({ Kind::Unmount, "192.168.1.20/smb/papers" }));
    EXPECT_EQ(control.lists(), 1);
}

TEST_F(RemoteCommandsTest, AThousandCommandsAtOnceAreAllAnswered) {
    for (int round = 0; round < 500; ++round) {
        perform({ Kind::Mount, docsId });
        perform({ Kind::Unmount, musicId });
    }
    EXPECT_TRUE(areAnswered(1000));
    EXPECT_TRUE(docs->mounted.get());
}

} // namespace quorrel
