// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/WindowTest.h"

#include <gmock/gmock.h>

#include <thread>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The prompt for a password runs an event loop of its own: what comes meanwhile is to wait for the answer.
class PromptReentrancyTest : public WindowTest {
protected:
    PromptReentrancyTest() {
        host->resolved.set(true);
        a->passwordPrompt.set(true);
        other->sharePointForName("x")->automatically.set(false);
    }

    /// While the window is shown, the user does this, and then gives the password.
    void meanwhile(std::function<void()> deed) {
        passwordWindow.willDo([deed = std::move(deed)](PasswordWindowTarget& target) {
            deed();
            target.setPassword("secret");
            target.saveHostPassword();
        });
    }

    /// As the event loop does, within the prompt's and after it.
    void turn() { mainThreadQueue.runPending(); }

    const std::shared_ptr<HostDefinition> host = addHost("192.168.1.20", smb, { "a", "b" });
    const std::shared_ptr<HostDefinition> other = addHost("192.168.1.21", smb, { "x" });
    const std::shared_ptr<SharePointDefinition> a = host->sharePointForName("a");
};

TEST_F(PromptReentrancyTest, TasksOfTheQueueWaitForTheAnswer) {
    std::vector<std::string> ran;
    mainThreadQueue.post([&] { ran.emplace_back("before"); });
    meanwhile([&] {
        mainThreadQueue.post([&] { ran.emplace_back("during"); });
        std::thread([&] { mainThreadQueue.post([&] { ran.emplace_back("another thread"); }); }).join();
        turn();
        EXPECT_THAT(ran, IsEmpty());
    });
    controller->getHostPassword(a);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    turn();
    EXPECT_THAT(ran, ElementsAre("before", "during", "another thread"));
}

TEST_F(PromptReentrancyTest, NotificationsAndPreferencesWaitForTheAnswerAndKeepTheirOrder) {
    controller->applicationDidFinishLaunching();
    controller->hosts.replace({ host, other });
    events.take();
    meanwhile([&] {
        announceReachability(true);
        ASSERT_TRUE(preferences.set("afp", true));
        notificationCenter.post("900");
        Dictionary volume;
        volume.set("action", 91);
        volume.set("name", "x");
        notificationCenter.post("diskAddRemoveNotification", nullptr, volume);
        turn();
        EXPECT_EQ(countOfLogged("Network Reachable."), 0U);
        EXPECT_THAT(events.take(), IsEmpty());
        EXPECT_FALSE(other->sharePointForName("x")->mounted.get());
    });
    controller->getHostPassword(a);
    EXPECT_EQ(countOfLogged("Network Reachable."), 0U) << "the caller goes on first";
    turn();
    EXPECT_EQ(countOfLogged("Network Reachable."), 1U);
    EXPECT_TRUE(other->sharePointForName("x")->mounted.get());
    EXPECT_THAT(events.beginningWith("search"), ElementsAre("search _afpovertcp._tcp."));
    waitUntilIdle();
}

TEST_F(PromptReentrancyTest, WhatComesAfterThePromptDoesNotOvertakeWhatWaited) {
    controller->applicationDidFinishLaunching();
    controller->hosts.replace({ host, other });
    const auto announce = [&](int action) {
        Dictionary volume;
        volume.set("action", action);
        volume.set("name", "x");
        notificationCenter.post("diskAddRemoveNotification", nullptr, volume);
    };
    meanwhile([&] { announce(91); });
    controller->getHostPassword(a);
    announce(90);
    turn();
    EXPECT_FALSE(other->sharePointForName("x")->mounted.get()) << "it left last";
    announce(91);
    EXPECT_TRUE(other->sharePointForName("x")->mounted.get()) << "with nothing waiting, at once again";
}

TEST_F(PromptReentrancyTest, ActionsDoNothingMeanwhile) {
    meanwhile([&] {
        for (const Selector name :
            { "mountAllListItem", "showMountList", "showPreferences", "help", "addMountSheet" }) {
            perform(name);
            EXPECT_EQ(controller->validate(name), (ActionState { false, "The password has to be given first." }));
        }
    });
    controller->getHostPassword(a);
    turn();
    EXPECT_EQ(controller->opQueue().operationCount(), 0U);
    EXPECT_THAT(window.events(), IsEmpty());
    EXPECT_THAT(preferencesWindow.events(), IsEmpty());
    EXPECT_THAT(workspace.openedURLs(), IsEmpty());
    EXPECT_TRUE(controller->validate("help").isEnabled);
}

TEST_F(PromptReentrancyTest, TheEndOfTheProgramCancelsThePromptAndTheMount) {
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        target.setPassword("half ty");
        EXPECT_TRUE(controller->validate("terminate").isEnabled);
        perform("terminate");
        EXPECT_THAT(passwordWindow.events(), testing::Contains("abort")) << "without the user closing it";
    });
    other->sharePointForName("x")->passwordPrompt.set(true);
    controller->mountAllListItem();
    EXPECT_EQ(passwordWindow.timesShown(), 1) << "nobody is asked any more";
    EXPECT_THAT(application.events(), ElementsAre("terminate"));
    EXPECT_TRUE(host->passwordIsEmpty());
    waitUntilIdle();
    EXPECT_THAT(volumes.requests(), IsEmpty());
}

TEST_F(PromptReentrancyTest, APromptDuringAPromptShowsNothing) {
    other->sharePointForName("x")->passwordPrompt.set(true);
    meanwhile([&] { controller->getHostPassword(other->sharePointForName("x")); });
    controller->getHostPassword(a);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    EXPECT_TRUE(other->passwordIsEmpty());
}

TEST_F(PromptReentrancyTest, WhatWaitsForAControllerThatIsGoneIsForgotten) {
    controller->applicationDidFinishLaunching();
    meanwhile([&] { notificationCenter.post("900"); });
    controller->getHostPassword(a);
    controller.reset();
    const auto saves = files.writeCount();
    turn();
    EXPECT_EQ(files.writeCount(), saves);
}

} // namespace quorrel
