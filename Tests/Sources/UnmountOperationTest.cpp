// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/UnmountOperation.h"

#include "Tests/Sources/MountFixture.h"

namespace quorrel {

namespace {

constexpr auto finishedLine = "Unmount operation Finished for :Host:server Mount:Data";

class UnmountOperationTest : public MountFixture {
protected:
    void unmount(const std::shared_ptr<SharePointDefinition>& sharePoint) {
        UnmountOperation::initWithSharePointDefinition(sharePoint, environment)->main();
    }

    [[nodiscard]] std::shared_ptr<SharePointDefinition> mountedShare() {
        auto sharePoint = share(smb);
        MountedVolume volume;
        volume.volumeReference = 7;
        volumes.addMountedVolume(volume);
        sharePoint->setVolume(7, "/home/test/Volumes/Data");
        sharePoint->setMounted(true);
        return sharePoint;
    }

    void replyToUnmountWith(std::int32_t status, std::function<void()> onCall = {}) {
        FakeVolumeService::Reply reply;
        reply.status = status;
        reply.onCall = std::move(onCall);
        volumes.enqueueUnmountReply(std::move(reply));
    }
};

TEST_F(UnmountOperationTest, AnUnmountedShareIsOfflineAndHasNoReference) {
    const auto sharePoint = mountedShare();
    sharePoint->setLastError("It broke.");
    unmount(sharePoint);
    EXPECT_EQ(volumes.unmounts(), (std::vector<std::int16_t> { 7 }));
    EXPECT_TRUE(volumes.mountedVolumes().empty());
    EXPECT_EQ(sharePoint->referenceNumber.get(), std::nullopt);
    EXPECT_EQ(sharePoint->volumePath.get(), std::nullopt);
    EXPECT_FALSE(sharePoint->mounted.get() || sharePoint->unmounting.get() || sharePoint->isError.get());
    EXPECT_EQ(sharePoint->lastError.get(), std::nullopt);
    EXPECT_EQ(sharePoint->status.get(), "Offline");
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { "unmounted of Data successful", finishedLine }));
}

TEST_F(UnmountOperationTest, UnmountingIsShownWhileTheCallRuns) {
    const auto sharePoint = mountedShare();
    OptionalText status;
    replyToUnmountWith(0, [&] { status = sharePoint->status.get(); });
    unmount(sharePoint);
    EXPECT_EQ(status, "Unmounting");
}

TEST_F(UnmountOperationTest, ASecondUnmountOnlySaysThatItIsFinished) {
    const auto sharePoint = mountedShare();
    sharePoint->setUnmounting(true);
    sharePoint->setLastError("It broke.");
    unmount(sharePoint);
    EXPECT_TRUE(volumes.unmounts().empty());
    EXPECT_TRUE(sharePoint->unmounting.get() && sharePoint->mounted.get());
    EXPECT_EQ(sharePoint->lastError.get(), "It broke.");
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { finishedLine }));
}

TEST_F(UnmountOperationTest, WithoutASharePointOnlyTheFinishedLineIsWritten) {
    unmount(nullptr);
    EXPECT_TRUE(volumes.unmounts().empty());
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { "Unmount operation Finished for :Host: Mount:" }));
}

TEST_F(UnmountOperationTest, AShareWithoutAReferenceUnmountsTheZerothVolume) {
    const auto sharePoint = share(smb);
    sharePoint->setMounted(true);
    unmount(sharePoint);
    EXPECT_EQ(volumes.unmounts(), (std::vector<std::int16_t> { 0 }));
    EXPECT_EQ(sharePoint->lastError.get(), "See log for error.");
    EXPECT_FALSE(sharePoint->mounted.get());
}

TEST_F(UnmountOperationTest, AReferenceIsCutToSixteenBits) {
    const auto sharePoint = share(smb);
    sharePoint->referenceNumber.set(65536 + 40000);
    unmount(sharePoint);
    EXPECT_EQ(volumes.unmounts(), (std::vector<std::int16_t> { static_cast<std::int16_t>(40000 - 65536) }));
}

TEST_F(UnmountOperationTest, AVolumeInUseStaysMounted) {
    const auto sharePoint = mountedShare();
    replyToUnmountWith(-47);
    unmount(sharePoint);
    EXPECT_TRUE(sharePoint->mounted.get());
    EXPECT_EQ(sharePoint->referenceNumber.get(), 7);
    EXPECT_EQ(sharePoint->volumePath.get(), "/home/test/Volumes/Data");
    EXPECT_FALSE(sharePoint->unmounting.get());
    EXPECT_EQ(sharePoint->lastError.get(), "One or more files are open, can not unmount");
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { "unmounted of Data failed error= -47", finishedLine }));
}

TEST_F(UnmountOperationTest, EveryListedStatusKeepsTheShareMounted) {
    const std::vector<std::pair<std::int32_t, std::string>> texts {
        { -43, "File or directory not found; incomplete pathname." },
        { -47, "One or more files are open, can not unmount" },
        { -5002, "User authentication method is unknown." },
        { -5003, "Workstation is using an AFP version that the server doesn\xE2\x80\x99t recognize." },
        { -5006, "Requested user permission not possible." },
        { -5016, "Server is not responding." },
        { -5023, "User authentication failed (usually, password is not correct)." },
        { -5027, "Server is shutting down." },
    };
    for (const auto& [status, text] : texts) {
        SCOPED_TRACE(status);
        const auto sharePoint = mountedShare();
        replyToUnmountWith(status);
        unmount(sharePoint);
        EXPECT_EQ(sharePoint->lastError.get(), text);
        EXPECT_TRUE(sharePoint->mounted.get());
        EXPECT_EQ(sharePoint->referenceNumber.get(), 7);
        EXPECT_FALSE(sharePoint->unmounting.get());
        // The status text is not rebuilt here, unlike after a failed mount.
        EXPECT_EQ(sharePoint->status.get(), "Unmounting");
    }
}

TEST_F(UnmountOperationTest, AnUnlistedStatusLetsTheShareGo) {
    for (const std::int32_t status : { -36, -50, -35, 1 }) {
        SCOPED_TRACE(status);
        const auto sharePoint = mountedShare();
        replyToUnmountWith(status);
        unmount(sharePoint);
        EXPECT_EQ(sharePoint->lastError.get(), "See log for error.");
        EXPECT_FALSE(sharePoint->mounted.get() || sharePoint->unmounting.get());
        EXPECT_EQ(sharePoint->referenceNumber.get(), std::nullopt);
        EXPECT_EQ(sharePoint->status.get(), "Offline");
    }
}

TEST_F(UnmountOperationTest, ErrorsAreShownInTheUsersLanguage) {
    const FakeStringTable german(
        { { "See log for error.", "Siehe Protokoll." }, { "Server is shutting down.", "Server schaltet ab." } });
    MountEnvironment there { volumes, childProcess, clock, log, german };
    const auto sharePoint = mountedShare();
    replyToUnmountWith(-5027);
    UnmountOperation::initWithSharePointDefinition(sharePoint, there)->main();
    EXPECT_EQ(sharePoint->lastError.get(), "Server schaltet ab.");
    replyToUnmountWith(-36);
    UnmountOperation::initWithSharePointDefinition(sharePoint, there)->main();
    EXPECT_EQ(sharePoint->lastError.get(), "Siehe Protokoll.");
}

TEST_F(UnmountOperationTest, AnOperationCancelledBeforeItsCallStaysUnmounting) {
    const auto sharePoint = mountedShare();
    const auto operation = UnmountOperation::initWithSharePointDefinition(sharePoint, environment);
    operation->cancel();
    operation->main();
    EXPECT_TRUE(volumes.unmounts().empty());
    EXPECT_TRUE(sharePoint->unmounting.get() && sharePoint->mounted.get());
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { finishedLine }));
}

TEST_F(UnmountOperationTest, AFailureOfAnOperationCancelledDuringItsCallIsOnlyLogged) {
    const auto sharePoint = mountedShare();
    const auto operation = UnmountOperation::initWithSharePointDefinition(sharePoint, environment);
    replyToUnmountWith(-36, [&] { operation->cancel(); });
    operation->main();
    EXPECT_TRUE(sharePoint->unmounting.get() && sharePoint->mounted.get());
    EXPECT_EQ(sharePoint->lastError.get(), std::nullopt);
    EXPECT_EQ(sharePoint->referenceNumber.get(), 7);
    EXPECT_EQ(sink.texts(), (std::vector<std::string> { "unmounted of Data failed error= -36", finishedLine }));
}

TEST_F(UnmountOperationTest, ASuccessOfAnOperationCancelledDuringItsCallIsRecorded) {
    const auto sharePoint = mountedShare();
    const auto operation = UnmountOperation::initWithSharePointDefinition(sharePoint, environment);
    replyToUnmountWith(0, [&] { operation->cancel(); });
    operation->main();
    EXPECT_FALSE(sharePoint->unmounting.get() || sharePoint->mounted.get());
}

TEST_F(UnmountOperationTest, WithTheLogOffNothingIsWritten) {
    preferences.set("logToConsole", false);
    unmount(mountedShare());
    unmount(nullptr);
    EXPECT_TRUE(sink.lines().empty());
}

TEST_F(UnmountOperationTest, AShareAndItsHostDeletedUnderTheUnmountAreHarmless) {
    auto sharePoint = mountedShare();
    const std::weak_ptr<SharePointDefinition> weak = sharePoint;
    auto operation = UnmountOperation::initWithSharePointDefinition(sharePoint, environment);
    replyToUnmountWith(0, [&] {
        host.reset();
        sharePoint.reset();
    });
    operation->main();
    ASSERT_FALSE(weak.expired());
    EXPECT_FALSE(weak.lock()->mounted.get());
    EXPECT_EQ(sink.lastText(), "Unmount operation Finished for :Host: Mount:Data");
    operation.reset();
    EXPECT_TRUE(weak.expired());
}

} // namespace

} // namespace quorrel
