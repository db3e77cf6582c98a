// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/CatalogueFixture.h"

namespace quorrel {

namespace {

class SharePointDefinitionTest : public CatalogueFixture {
protected:
    SharePointDefinitionTest()
        : host(hostNamed("server"))
        , share(addSharePoint(host, smb, "data")) { }

    const std::shared_ptr<HostDefinition> host;
    const std::shared_ptr<SharePointDefinition> share;
};

TEST_F(SharePointDefinitionTest, AFreshRecordIsOfflineWithAllFlagsDown) {
    EXPECT_EQ(share->status.get(), "Offline");
    EXPECT_FALSE(share->resolved.get() || share->resolving.get() || share->mounting.get() || share->mounted.get()
        || share->unmounting.get() || share->isError.get() || share->manualMount.get());
    EXPECT_EQ(share->referenceNumber.get(), std::nullopt);
    EXPECT_EQ(share->lastError.get(), std::nullopt);
}

TEST_F(SharePointDefinitionTest, ThePlainInitializerSetsTheDelayAndLeavesTheFavourite) {
    const SharePointDefinition plain(context);
    EXPECT_EQ(plain.passwordPrompt.get(), false);
    EXPECT_EQ(plain.guestLogin.get(), false);
    EXPECT_EQ(plain.automatically.get(), true);
    EXPECT_EQ(plain.isDelayed.get(), false);
    EXPECT_EQ(plain.favroite.get(), std::nullopt);
}

TEST_F(SharePointDefinitionTest, TheInitializerWithAHostSetsTheFavouriteAndLeavesTheDelay) {
    EXPECT_EQ(share->parentHost.get().lock(), host);
    EXPECT_EQ(share->passwordPrompt.get(), false);
    EXPECT_EQ(share->guestLogin.get(), false);
    EXPECT_EQ(share->automatically.get(), true);
    EXPECT_EQ(share->favroite.get(), false);
    EXPECT_EQ(share->isDelayed.get(), std::nullopt);
}

TEST_F(SharePointDefinitionTest, EachStatusSetterStoresItsFlagAndThenItsText) {
    share->setResolved(true);
    EXPECT_EQ(share->status.get(), "Resolved");
    share->setResolving(true);
    EXPECT_EQ(share->status.get(), "Resolving");
    share->setMounting(true);
    EXPECT_EQ(share->status.get(), "Mounting");
    share->setMounted(true);
    EXPECT_EQ(share->status.get(), "Online");
    share->setUnmounting(true);
    EXPECT_EQ(share->status.get(), "Unmounting");
    EXPECT_TRUE(share->resolved.get() && share->resolving.get() && share->mounting.get() && share->mounted.get()
        && share->unmounting.get());
    AnnouncementRecorder recorder(*share);
    share->setMounted(false);
    EXPECT_EQ(
        recorder.take(), (std::vector<std::string> { "will mounted", "did mounted", "will status", "did status" }));
    EXPECT_EQ(share->status.get(), "Offline");
    share->setResolved(false);
    EXPECT_EQ(share->status.get(), "Resolve Failed");
}

TEST_F(SharePointDefinitionTest, EveryFieldIsAnnouncedUnderItsOwnName) {
    AnnouncementRecorder recorder(*share);
    share->parentHost.set(host);
    share->parentService.set({});
    for (auto* field : { &share->sharePoint, &share->userName, &share->password, &share->status, &share->script,
             &share->scriptArguments })
        field->set(field->get());
    for (auto* field :
        { &share->passwordPrompt, &share->guestLogin, &share->favroite, &share->automatically, &share->isDelayed })
        field->set(field->get());
    share->referenceNumber.set(std::nullopt);
    share->isError.set(false);
    share->icon.set(std::nullopt);
    share->manualMount.set(false);
    share->delaySeconds.set(std::nullopt);
    share->setResolving(false);
    share->setUnmounting(false);
    std::vector<std::string> wanted;
    for (const std::string key : { "parentHost", "parentService", "sharePoint", "userName", "password", "status",
             "script", "scriptArguments", "passwordPrompt", "guestLogin", "favroite", "automatically", "isDelayed",
             "referenceNumber", "isError", "icon", "manualMount", "delaySeconds", "resolving", "unmounting" }) {
        wanted.push_back("will " + key);
        wanted.push_back("did " + key);
    }
    EXPECT_EQ(recorder.take(), wanted);
}

TEST_F(SharePointDefinitionTest, EachStatusSetterAnnouncesItsFlagAndThenTheStatus) {
    AnnouncementRecorder recorder(*share);
    const auto expect = [&](const std::string& flag) {
        EXPECT_EQ(
            recorder.take(), (std::vector<std::string> { "will " + flag, "did " + flag, "will status", "did status" }));
    };
    share->setResolved(true);
    expect("resolved");
    share->setResolving(true);
    expect("resolving");
    share->setMounting(true);
    expect("mounting");
    share->setUnmounting(true);
    expect("unmounting");
    share->setLastError("It broke.");
    EXPECT_EQ(recorder.take(),
        (std::vector<std::string> { "will isError", "did isError", "will lastError", "did lastError" }));
}

TEST_F(SharePointDefinitionTest, WhatIsShownTellsOfNoActivityThatIsOver) {
    share->setMounted(true);
    share->setUnmounting(true);
    EXPECT_EQ(share->shownStatus(), "Unmounting");
    share->setUnmounting(false);
    EXPECT_EQ(share->shownStatus(), "Online");
    share->setMounted(false);
    share->setResolving(true);
    EXPECT_EQ(share->shownStatus(), "Resolving");
    share->setResolving(false);
    EXPECT_EQ(share->shownStatus(), "Offline");
    share->setResolved(true);
    EXPECT_EQ(share->shownStatus(), "Resolved");
    share->setMounting(true);
    EXPECT_EQ(share->shownStatus(), "Mounting");
    share->setMounting(false);
    EXPECT_EQ(share->shownStatus(), "Offline");
}

TEST_F(SharePointDefinitionTest, ClearingResolvingOrUnmountingLeavesTheStatus) {
    share->setResolved(true);
    share->setResolving(false);
    EXPECT_EQ(share->status.get(), "Resolved");
    share->setUnmounting(true);
    share->setUnmounting(false);
    EXPECT_EQ(share->status.get(), "Unmounting");
}

TEST_F(SharePointDefinitionTest, ClearingMountingWithNoFlagUpReadsOffline) {
    share->status.set("Mounting");
    share->setMounting(false);
    EXPECT_EQ(share->status.get(), "Offline");
}

TEST_F(SharePointDefinitionTest, ClearingMountingOnAResolvedShareLeavesTheStatus) {
    share->setResolved(true);
    share->setMounting(true);
    share->setMounting(false);
    EXPECT_EQ(share->status.get(), "Mounting");
}

TEST_F(SharePointDefinitionTest, ClearingMountingOnAMountedOrResolvingShareLeavesTheStatus) {
    share->setMounted(true);
    share->setMounting(false);
    EXPECT_EQ(share->status.get(), "Online");
    share->setMounted(false);
    share->setResolving(true);
    share->setMounting(false);
    EXPECT_EQ(share->status.get(), "Resolving");
}

TEST_F(SharePointDefinitionTest, StatusesAreWrittenInTheUsersLanguage) {
    const FakeStringTable german({ { "Online", "Verbunden" }, { "Offline", "Getrennt" } });
    SharePointDefinition plain(std::make_shared<CatalogueContext>(CatalogueContext { german, workspace }));
    EXPECT_EQ(plain.status.get(), "Getrennt");
    plain.setMounted(true);
    EXPECT_EQ(plain.status.get(), "Verbunden");
}

TEST_F(SharePointDefinitionTest, AnEmptyErrorLeavesTheMarkAndAnAbsentOneClearsIt) {
    share->setLastError("It broke.");
    EXPECT_TRUE(share->isError.get());
    share->setLastError("");
    EXPECT_TRUE(share->isError.get());
    EXPECT_EQ(share->lastError.get(), "");
    share->setLastError(std::nullopt);
    EXPECT_FALSE(share->isError.get());
    EXPECT_EQ(share->lastError.get(), std::nullopt);
    share->setLastError("");
    EXPECT_FALSE(share->isError.get());
}

TEST_F(SharePointDefinitionTest, ResetStatusKeepsAMountedShareOnline) {
    share->setMounted(true);
    share->setUnmounting(true);
    share->resetStatus();
    EXPECT_TRUE(share->mounted.get());
    EXPECT_FALSE(share->unmounting.get());
    EXPECT_EQ(share->status.get(), "Online");
}

TEST_F(SharePointDefinitionTest, ResetStatusLeavesResolutionAndErrorAlone) {
    share->setResolved(true);
    share->setResolving(true);
    share->setLastError("It broke.");
    share->resetStatus();
    EXPECT_TRUE(share->resolved.get() && share->resolving.get() && share->isError.get());
    EXPECT_EQ(share->lastError.get(), "It broke.");
    EXPECT_EQ(share->status.get(), "Offline");
}

TEST_F(SharePointDefinitionTest, ResetStatusGoesThroughAnEmptyStatus) {
    share->setMounted(true);
    std::vector<std::string> seen;
    const auto subscription = share->observe("status", [&](std::string_view, Change change) {
        if (change == Change::Did)
            seen.push_back(textOf(share->status.get()));
    });
    share->resetStatus();
    EXPECT_EQ(seen, (std::vector<std::string> { "", "Online" }));
}

TEST_F(SharePointDefinitionTest, TheIconIsAServersWhateverTheDisplayType) {
    AnnouncementRecorder recorder(*share);
    share->setDisplayType(ftp);
    EXPECT_EQ(
        recorder.take(), (std::vector<std::string> { "will icon", "did icon", "will displayType", "did displayType" }));
    EXPECT_EQ(share->icon.get(), Image { "server" });
    EXPECT_EQ(share->displayType.get(), ftp);
}

TEST_F(SharePointDefinitionTest, WithoutAServersIconTheOldOneStays) {
    workspace.setSystemIcon(SystemIcon::GenericServer, std::nullopt);
    share->icon.set(Image { "mine" });
    share->setDisplayType(ftp);
    EXPECT_EQ(share->icon.get(), Image { "mine" });
}

TEST_F(SharePointDefinitionTest, TheDescriptionListsEightFieldsAndAnEmptyNinth) {
    share->userName.set("ann");
    share->password.set("pw");
    share->script.set("/bin/x");
    share->scriptArguments.set("a b");
    EXPECT_EQ(share->description(), std::string(smb) + ";data;ann;pw;0;0;/bin/x,a b,");
}

} // namespace

} // namespace quorrel
