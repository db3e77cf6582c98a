// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/VolumeTestBed.h"

#include <chrono>

namespace quorrel {

namespace {

constexpr int rounds = 20;
constexpr Seconds longestMount { 10 };
constexpr Seconds longestUnmount { 8 };

} // namespace

/// AFP's back end waits for itself in about one unmount of seven after a read, so twenty rounds meet that.
class AppleRoundsTest : public VolumeTestBed { };

TEST_F(AppleRoundsTest, EveryRoundOfMountReadAndUnmountSucceedsInTime) {
    service = makeService(Seconds(20), Seconds(20));
    const auto request = asUser(url("afp", "AFP", "Private"), "Private");
    const auto oneRound = [&](int round) {
        auto start = std::chrono::steady_clock::now();
        const auto reply = service->mountServerVolume(request);
        ASSERT_EQ(reply.status, VolumeStatus::success) << round;
        EXPECT_LT(std::chrono::steady_clock::now() - start, longestMount) << round;
        EXPECT_EQ(contentOf(volumePath("Private") + "/hello.txt"), "Hello from Private\n") << round;
        start = std::chrono::steady_clock::now();
        ASSERT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success) << round;
        EXPECT_LT(std::chrono::steady_clock::now() - start, longestUnmount) << round;
        EXPECT_TRUE(service->mountedVolumes().empty()) << round;
        EXPECT_FALSE(isThere(volumePath("Private"))) << round;
    };
    for (int round = 1; round <= rounds; ++round)
        expectInSpiteOfCrashes([&] { oneRound(round); });
}

} // namespace quorrel
