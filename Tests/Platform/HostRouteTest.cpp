// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostRoute.h"

#include "Platform/Linux/LinuxReachabilityReference.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

HostRoute routeTo(const std::string& text) {
    return quorrel::routeTo(InternetAddress::parse(text).value());
}

std::uint32_t flagsFor(HostRoute route, bool isAddress, bool isBehindPortal) {
    return LinuxReachabilityReference::flagsFor(route, isAddress, isBehindPortal);
}

TEST(HostRouteTest, thisMachineIsLocal) {
    EXPECT_EQ(routeTo("127.0.0.1"), HostRoute::Local);
    EXPECT_EQ(routeTo("127.1.2.3"), HostRoute::Local);
}

TEST(HostRouteTest, whatIsNoHostHasNoRoute) {
    EXPECT_EQ(routeTo("255.255.255.255"), HostRoute::None);
    EXPECT_EQ(routeTo("224.0.0.1"), HostRoute::None);
    EXPECT_EQ(routeTo("ff02::1"), HostRoute::None);
}

TEST(HostRouteTest, aLinkThatDoesNotExistHasNoRoute) {
    auto address = InternetAddress::parse("fe80::1").value();
    address.link = 987654;
    EXPECT_EQ(quorrel::routeTo(address), HostRoute::None);
}

TEST(ReachabilityFlagsTest, withoutARouteThereAreNone) {
    for (const bool isAddress : { false, true })
        for (const bool isBehindPortal : { false, true })
            EXPECT_EQ(flagsFor(HostRoute::None, isAddress, isBehindPortal), 0U);
}

TEST(ReachabilityFlagsTest, withARouteItIsReachable) {
    for (const auto route : { HostRoute::Local, HostRoute::OnLink, HostRoute::Gateway })
        for (const bool isAddress : { false, true })
            EXPECT_EQ(flagsFor(route, isAddress, false), 0x2U);
}

TEST(ReachabilityFlagsTest, behindAPortalSomebodyHasToLogInForWhatIsBeyondIt) {
    EXPECT_EQ(flagsFor(HostRoute::Gateway, true, true), 0x12U);
    EXPECT_EQ(flagsFor(HostRoute::Gateway, false, true), 0x12U);
}

TEST(ReachabilityFlagsTest, behindAPortalAnAddressOnTheLinkIsReachableAndANameMayBeThePortal) {
    EXPECT_EQ(flagsFor(HostRoute::OnLink, true, true), 0x2U);
    EXPECT_EQ(flagsFor(HostRoute::OnLink, false, true), 0x12U);
}

TEST(ReachabilityFlagsTest, thisMachineIsBehindNoPortal) {
    EXPECT_EQ(flagsFor(HostRoute::Local, true, true), 0x2U);
    EXPECT_EQ(flagsFor(HostRoute::Local, false, true), 0x2U);
}

} // namespace
} // namespace quorrel
