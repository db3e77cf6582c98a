// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/CaptivePortalWatch.h"
#include "Platform/Linux/LinuxNetworkReachability.h"

#include "Foundation/MainThreadQueue.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Tests/Integration/LinkedHosts.h"
#include "Tests/Integration/StubNetworkService.h"
#include "Tests/Platform/GlibTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t open = 0x2;
constexpr std::uint32_t closed = 0x12;

/// The system's own monitor, which believes a network service.
class CaptivePortalTest : public testing::Test {
protected:
    static void SetUpTestSuite() { service = std::make_unique<StubNetworkService>(StubNetworkService::Portal); }
    static void TearDownTestSuite() { service.reset(); }

    static std::unique_ptr<StubNetworkService> service;
};

std::unique_ptr<StubNetworkService> CaptivePortalTest::service;

TEST_F(CaptivePortalTest, aPortalIsToldOfWhenItIsThereAndWhenItIsNot) {
    int changes = 0;
    const CaptivePortalWatch watch([&] { ++changes; });
    EXPECT_TRUE(watch.isBehindPortal());
    for (const auto connectivity : { StubNetworkService::Full, StubNetworkService::Portal, StubNetworkService::Limited,
             StubNetworkService::Portal }) {
        const bool isPortal = connectivity == StubNetworkService::Portal;
        service->setConnectivity(connectivity);
        EXPECT_TRUE(runMainContextUntil([&] { return watch.isBehindPortal() == isPortal; }, Seconds(10)));
    }
    EXPECT_EQ(changes, 4);
}

TEST_F(CaptivePortalTest, loggingInOpensTheWayAndItsEndClosesItAgain) {
    const LinkedHosts hosts;
    ASSERT_TRUE(hosts.isReady());
    ASSERT_TRUE(LinkedHosts::here("ip route add default via 10.78.0.2"));
    MainThreadQueue queue;
    GlibRunLoop loop(queue);
    const std::array<const char*, 4> names { "198.51.100.7", "host.lan.test", "10.78.0.2", "localhost" };
    std::array<std::vector<std::uint32_t>, 4> told;
    std::array<std::unique_ptr<ReachabilityReference>, 4> references;
    for (std::size_t index = 0; index < names.size(); ++index) {
        references[index] = LinuxNetworkReachability().createWithName(names[index]);
        references[index]->setCallback([&told, index](std::uint32_t flags) { told[index].push_back(flags); });
        ASSERT_TRUE(references[index]->scheduleWithRunLoop(loop));
    }
    const auto runUntilTold = [&](std::size_t count) {
        return runMainContextUntil(
            [&] { return told[0].size() >= count && told[1].size() >= count && !told[2].empty() && !told[3].empty(); },
            Seconds(10));
    };
    ASSERT_TRUE(runUntilTold(1));
    service->setConnectivity(StubNetworkService::Full);
    ASSERT_TRUE(runUntilTold(2));
    service->setConnectivity(StubNetworkService::Portal);
    ASSERT_TRUE(runUntilTold(3));
    EXPECT_THAT(told[0], ElementsAre(closed, open, closed));
    EXPECT_THAT(told[1], ElementsAre(closed, open, closed)); // a name may stand for the portal itself
    EXPECT_THAT(told[2], ElementsAre(open));
    EXPECT_THAT(told[3], ElementsAre(open));
}

} // namespace
} // namespace quorrel
