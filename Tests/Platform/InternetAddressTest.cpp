// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/InternetAddress.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

TEST(InternetAddressTest, readsVersion4) {
    const auto address = InternetAddress::parse("10.78.0.2");
    ASSERT_TRUE(address);
    EXPECT_FALSE(address->isVersion6);
    EXPECT_EQ(address->bytes, (std::array<std::uint8_t, 16> { 10, 78, 0, 2 }));
    EXPECT_FALSE(address->isLinkLocal());
    EXPECT_TRUE(InternetAddress::parse("169.254.1.1")->isLinkLocal());
    EXPECT_FALSE(InternetAddress::parse("169.253.1.1")->isLinkLocal());
}

TEST(InternetAddressTest, readsVersion6) {
    const auto address = InternetAddress::parse("fd77::3");
    ASSERT_TRUE(address);
    EXPECT_TRUE(address->isVersion6);
    EXPECT_EQ(address->bytes.front(), 0xFD);
    EXPECT_EQ(address->bytes.back(), 3);
    EXPECT_EQ(address->link, 0U);
    EXPECT_FALSE(address->isLinkLocal());
    EXPECT_TRUE(InternetAddress::parse("febf::1")->isLinkLocal());
    EXPECT_FALSE(InternetAddress::parse("fec0::1")->isLinkLocal());
}

TEST(InternetAddressTest, readsTheLinkBehindAnAddress) {
    const auto address = InternetAddress::parse("fe80::1%lo");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->link, 1U);
    EXPECT_FALSE(InternetAddress::parse("fe80::1%nolink"));
}

TEST(InternetAddressTest, anAddressOfVersion4InTheFormOfTheOtherIsTheSame) {
    EXPECT_EQ(InternetAddress::parse("::ffff:10.78.0.2"), InternetAddress::parse("10.78.0.2"));
    EXPECT_NE(InternetAddress::parse("10.78.0.3"), InternetAddress::parse("10.78.0.2"));
}

TEST(InternetAddressTest, aLinkThatIsNotToldIsAnyLink) {
    auto address = InternetAddress::parse("fe80::1").value();
    auto other = address;
    other.link = 2;
    EXPECT_TRUE(address.isSameHostAs(other));
    EXPECT_TRUE(other.isSameHostAs(address));
    address.link = 3;
    EXPECT_FALSE(address.isSameHostAs(other));
    EXPECT_FALSE(address.isSameHostAs(InternetAddress::parse("fe80::2").value()));
}

TEST(InternetAddressTest, whatIsNoAddressIsNone) {
    using namespace std::string_literals;
    for (const auto& text : { ""s, "localhost"s, "10.78.0.256"s, "10.78.0.2.3"s, "fd77::3::1"s, "[::1]"s, " 10.78.0.2"s,
             "10.78.0.2\0"s, "10.78.0.2:80"s })
        EXPECT_FALSE(InternetAddress::parse(text)) << text;
}

} // namespace
} // namespace quorrel
