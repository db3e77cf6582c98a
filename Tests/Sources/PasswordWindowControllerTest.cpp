// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PasswordWindowController.h"

#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PasswordPromptTest : public ControllerTest {
protected:
    PasswordPromptTest() {
        for (const auto& sharePoint : host->sharePoints.snapshot())
            sharePoint->passwordPrompt.set(true);
    }

    const std::shared_ptr<HostDefinition> host = addHost("192.168.1.20", smb, { "a", "b" });
    const std::shared_ptr<SharePointDefinition> sharePoint = host->sharePointForName("a");
};

TEST_F(PasswordPromptTest, ASharePointThatStoresItsPasswordNeverShowsThePrompt) {
    for (const OptionalFlag& flag : { OptionalFlag(false), OptionalFlag() }) {
        sharePoint->passwordPrompt.set(flag);
        host->password.set(std::nullopt);
        controller->getHostPassword(sharePoint);
        host->password.set("secret");
        controller->getHostPassword(sharePoint);
    }
    controller->getHostPassword(nullptr);
    EXPECT_THAT(passwordWindow.events(), IsEmpty());
}

TEST_F(PasswordPromptTest, OKKeepsWhatWasTyped) {
    passwordWindow.willType("secret");
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(host->password.get(), "secret");
    EXPECT_THAT(passwordWindow.events(), ElementsAre("focus", "run for 192.168.1.20/a", "stop", "hide"));
    EXPECT_FALSE(host->passwordDate.get());
}

TEST_F(PasswordPromptTest, EachKeystrokeIsInTheHostAtOnce) {
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        EXPECT_EQ(target.password(), "");
        target.setPassword("s");
        EXPECT_EQ(host->password.get(), "s");
        target.setPassword("se");
        EXPECT_EQ(host->password.get(), "se");
        EXPECT_EQ(target.password(), "se");
        target.saveHostPassword();
    });
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(host->password.get(), "se");
}

TEST_F(PasswordPromptTest, ASecondShareOfTheHostDoesNotAskAgain) {
    passwordWindow.willType("secret");
    controller->mount(sharePoint);
    controller->mount(host->sharePointForName("b"));
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    waitUntilIdle();
}

TEST_F(PasswordPromptTest, CancelLeavesNoPasswordAndTheNextMountAsksAgain) {
    passwordWindow.willDo([](PasswordWindowTarget& target) {
        target.setPassword("half ty");
        target.cancelhostPassword();
    });
    controller->mount(sharePoint);
    EXPECT_FALSE(host->password.get());
    EXPECT_THAT(passwordWindow.events(), ElementsAre("focus", "run for 192.168.1.20/a", "abort", "hide"));
    controller->mount(host->sharePointForName("b"));
    EXPECT_EQ(passwordWindow.timesShown(), 2);
    waitUntilIdle();
    EXPECT_EQ(volumes.requests().size(), 2U) << "the mounts go ahead without a password";
}

TEST_F(PasswordPromptTest, CancelAfterAnEarlierEntryClearsThePassword) {
    passwordWindow.willType("secret");
    controller->getHostPassword(sharePoint);
    ASSERT_EQ(host->password.get(), "secret");
    passwordWindow.willDo([](PasswordWindowTarget& target) {
        EXPECT_EQ(target.password(), "secret");
        target.cancelhostPassword();
    });
    controller->showHostPasswordWindow(sharePoint);
    EXPECT_FALSE(host->password.get());
}

TEST_F(PasswordPromptTest, OKWithNothingTypedAsksAgainNextTime) {
    passwordWindow.willDo([](PasswordWindowTarget& target) { target.saveHostPassword(); });
    controller->getHostPassword(sharePoint);
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(passwordWindow.timesShown(), 2);
}

TEST_F(PasswordPromptTest, ASharePointWithoutAServiceIsAskedForAndReachesNoHost) {
    sharePoint->parentService.set({});
    host->password.set("of the host");
    passwordWindow.willDo([](PasswordWindowTarget& target) {
        EXPECT_EQ(target.hostName(), "");
        EXPECT_EQ(target.password(), "");
        target.setPassword("lost");
        target.cancelhostPassword();
    });
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    EXPECT_EQ(host->password.get(), "of the host");
}

TEST_F(PasswordPromptTest, AHostThatWasResetIsAskedForAgain) {
    passwordWindow.willType("secret");
    controller->getHostPassword(sharePoint);
    host->resetStatus();
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(passwordWindow.timesShown(), 2);
}

TEST_F(PasswordPromptTest, WithoutASharePointNothingIsShown) {
    PasswordWindowController prompt(passwordWindow);
    prompt.showWindowModal();
    {
        const auto gone = addShare(host, smb, "gone");
        prompt.setMount(gone);
        host->sharePoints.remove(gone);
    }
    prompt.showWindowModal();
    EXPECT_THAT(passwordWindow.events(), IsEmpty());
}

TEST_F(PasswordPromptTest, AWindowThatIsShownAsksForNoOtherHost) {
    const auto other = addHost("192.168.1.21", smb, { "x" });
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        controller->showHostPasswordWindow(other->sharePointForName("x"));
        target.setPassword("secret");
        target.saveHostPassword();
    });
    controller->getHostPassword(sharePoint);
    EXPECT_EQ(passwordWindow.timesShown(), 1);
    EXPECT_EQ(host->password.get(), "secret");
    EXPECT_TRUE(other->passwordIsEmpty());
}

TEST_F(PasswordPromptTest, WhatIsBeingTypedCannotEndUpWithAnotherHost) {
    const auto other = addHost("192.168.1.21", smb, { "x" });
    PasswordWindowController prompt(passwordWindow);
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        prompt.setMount(other->sharePointForName("x"));
        target.setPassword("secret");
        target.saveHostPassword();
    });
    prompt.setMount(sharePoint);
    prompt.showWindowModal();
    EXPECT_EQ(host->password.get(), "secret");
    EXPECT_TRUE(other->passwordIsEmpty());
}

TEST_F(PasswordPromptTest, ASharePointDeletedBehindTheWindowLeavesItsHostAlone) {
    auto other = addHost("192.168.1.21", smb, { "x" });
    auto doomed = other->sharePointForName("x");
    doomed->passwordPrompt.set(true);
    passwordWindow.willDo([&](PasswordWindowTarget& target) {
        other->sharePoints.removeAll();
        target.setPassword("secret");
        target.saveHostPassword();
    });
    controller->getHostPassword(doomed);
    EXPECT_EQ(other->password.get(), "secret");
}

TEST_F(PasswordPromptTest, ThePasswordIsInNoLogLine) {
    passwordWindow.willType("open sesame");
    controller->mount(sharePoint);
    waitUntilIdle();
    EXPECT_FALSE(logSink.contains("sesame"));
}

} // namespace quorrel
