// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace quorrel {
namespace {

using testing::ElementsAre;

class AvahiWithoutBusTest : public testing::Test {
protected:
    AvahiWithoutBusTest() { setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system_bus_socket", 1); }

    AvahiServiceDiscovery discovery;
    RecordingNetServiceDelegate delegate;
};

TEST_F(AvahiWithoutBusTest, aResolutionFailsSoonAndNotDuringTheCall) {
    const auto service = discovery.makeNetService("local.", "_afpovertcp._tcp.", "Attic");
    service->setDelegate(&delegate);
    for (int round = 0; round < 2; ++round) {
        delegate.heard.clear();
        delegate.error.clear();
        service->resolveWithTimeout(Seconds(30));
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve"));
        EXPECT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(2)));
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve"));
        EXPECT_FALSE(delegate.error.empty());
    }
}

TEST_F(AvahiWithoutBusTest, anAddressThatIsNoWholePathIsTriedLikeAnyOther) {
    for (const auto* address : { "unix:path=bus", "unix:path=", "unix:path=%", "unix:abstract=nobody", "no address" }) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address, 1);
        AvahiServiceDiscovery other;
        const auto service = other.makeNetService("local.", "_afpovertcp._tcp.", "Attic");
        service->setDelegate(&delegate);
        delegate.heard.clear();
        service->resolveWithTimeout(Seconds(30));
        EXPECT_TRUE(runMainContextUntil([&] { return delegate.hasEnded(); }, Seconds(20))) << address;
        EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did not resolve")) << address;
    }
}

TEST_F(AvahiWithoutBusTest, aResolutionThatIsAboutToFailCanBeStopped) {
    const auto service = discovery.makeNetService("local.", "_afpovertcp._tcp.", "Attic");
    service->setDelegate(&delegate);
    service->resolveWithTimeout(Seconds(30));
    service->stop();
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.2)));
    EXPECT_THAT(delegate.heard, ElementsAre("will resolve", "did stop"));
}

} // namespace
} // namespace quorrel
