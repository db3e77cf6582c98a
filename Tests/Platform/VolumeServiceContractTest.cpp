// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/Slowness.h"
#include "Tests/Platform/VolumeServiceHarness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

namespace quorrel {

class VolumeServiceContract : public testing::Test {
protected:
    void TearDown() override {
        for (const auto& volume : service.mountedVolumes())
            EXPECT_EQ(service.unmountVolume(volume.volumeReference), VolumeStatus::success);
    }

    [[nodiscard]] static bool isInVocabulary(std::int32_t status) {
        const std::set<std::int32_t> vocabulary { VolumeStatus::success, VolumeStatus::ioError, VolumeStatus::notFound,
            VolumeStatus::filesOpen, VolumeStatus::cannotBeMounted, VolumeStatus::authenticationMethodUnknown,
            VolumeStatus::serverVersionUnknown, VolumeStatus::permissionDenied, VolumeStatus::notResponding,
            VolumeStatus::badLogin, VolumeStatus::shuttingDown };
        return vocabulary.contains(status);
    }

    const std::unique_ptr<VolumeServiceHarness> harness = makeVolumeServiceHarness();
    VolumeService& service = harness->service();
};

TEST_F(VolumeServiceContract, MountGivesAPositiveReferenceAndIsListed) {
    const auto request = harness->share(1);
    const auto reply = service.mountServerVolume(request);
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_GT(reply.volumeReference, 0);
    const auto volumes = service.mountedVolumes();
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(volumes[0].volumeReference, reply.volumeReference);
    EXPECT_EQ(volumes[0].volumeName, request.volumeName);
    EXPECT_TRUE(volumes[0].location.ends_with("/Volumes/" + request.volumeName));
    EXPECT_EQ(reply.location, volumes[0].location);
    EXPECT_EQ(volumes[0].scheme, request.url.substr(0, request.url.find(':')));
}

TEST_F(VolumeServiceContract, LocationMountedAlreadyKeepsItsReference) {
    const auto first = service.mountServerVolume(harness->share(1));
    const auto second = service.mountServerVolume(harness->share(1));
    EXPECT_EQ(second.status, VolumeStatus::success);
    EXPECT_EQ(second.volumeReference, first.volumeReference);
    EXPECT_EQ(second.location, first.location);
    EXPECT_EQ(service.mountedVolumes().size(), 1U);
}

TEST_F(VolumeServiceContract, EveryVolumeHasAReferenceOfItsOwn) {
    const auto first = service.mountServerVolume(harness->share(1));
    const auto second = service.mountServerVolume(harness->share(2));
    EXPECT_EQ(first.status, VolumeStatus::success);
    EXPECT_EQ(second.status, VolumeStatus::success);
    EXPECT_NE(first.volumeReference, second.volumeReference);
    EXPECT_EQ(service.unmountVolume(first.volumeReference), VolumeStatus::success);
    const auto volumes = service.mountedVolumes();
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(volumes[0].volumeReference, second.volumeReference);
}

TEST_F(VolumeServiceContract, ReferenceStandsForNothingAfterItsUnmount) {
    const auto reply = service.mountServerVolume(harness->share(1));
    EXPECT_EQ(service.unmountVolume(reply.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(service.mountedVolumes().empty());
    EXPECT_FALSE(isInVocabulary(service.unmountVolume(reply.volumeReference)));
    EXPECT_FALSE(isInVocabulary(service.unmountVolume(30000)));
    EXPECT_FALSE(isInVocabulary(service.unmountVolume(0)));
    EXPECT_FALSE(isInVocabulary(service.unmountVolume(-1)));
}

TEST_F(VolumeServiceContract, FailuresHaveTheirStatusAndNoReference) {
    const auto unknown = service.mountServerVolume(harness->unknownShare());
    EXPECT_EQ(unknown.status, VolumeStatus::notFound);
    EXPECT_EQ(unknown.volumeReference, 0);
    EXPECT_EQ(unknown.location, "");
    const auto wrong = service.mountServerVolume(harness->wrongPassword());
    EXPECT_EQ(wrong.status, VolumeStatus::badLogin);
    EXPECT_EQ(wrong.volumeReference, 0);
    const auto unreachable = service.mountServerVolume(harness->unreachableServer());
    EXPECT_EQ(unreachable.status, VolumeStatus::notResponding);
    EXPECT_EQ(unreachable.volumeReference, 0);
    EXPECT_TRUE(service.mountedVolumes().empty());
}

TEST_F(VolumeServiceContract, SilentServerEndsAtTheDeadline) {
    const auto reply = service.mountServerVolume(harness->silentServer());
    EXPECT_EQ(reply.status, VolumeStatus::notResponding);
    EXPECT_EQ(reply.volumeReference, 0);
}

TEST_F(VolumeServiceContract, LateAnswerIsAnAnswer) {
    MountReply reply;
    const auto request = harness->lateServer();
    std::thread worker([&] { reply = service.mountServerVolume(request); });
    EXPECT_TRUE(harness->waitForWaiting(1));
    harness->letAnswer();
    worker.join();
    EXPECT_EQ(reply.status, VolumeStatus::success);
    EXPECT_GT(reply.volumeReference, 0);
}

TEST_F(VolumeServiceContract, CallsWaitSideBySide) {
    MountReply late;
    const auto request = harness->lateServer();
    std::thread worker([&] { late = service.mountServerVolume(request); });
    EXPECT_TRUE(harness->waitForWaiting(1));
    EXPECT_EQ(service.mountServerVolume(harness->share(1)).status, VolumeStatus::success);
    harness->letAnswer();
    worker.join();
    EXPECT_EQ(late.status, VolumeStatus::success);
    EXPECT_EQ(service.mountedVolumes().size(), 2U);
}

TEST(VolumeServiceInterruptContract, InterruptEndsWhatWaitsAndWhatComes) {
    const auto harness = makeVolumeServiceHarness();
    auto& service = harness->service();
    MountReply reply;
    const auto request = harness->lateServer();
    std::thread worker([&] { reply = service.mountServerVolume(request); });
    EXPECT_TRUE(harness->waitForWaiting(1));
    const auto start = std::chrono::steady_clock::now();
    service.interrupt();
    worker.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500) * slowness());
    EXPECT_EQ(reply.status, VolumeStatus::notResponding);
    EXPECT_EQ(reply.volumeReference, 0);
    EXPECT_EQ(service.mountServerVolume(harness->share(1)).status, VolumeStatus::notResponding);
    EXPECT_EQ(service.unmountVolume(1), VolumeStatus::notResponding);
}

} // namespace quorrel
