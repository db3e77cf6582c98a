// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostnameService.h"

#include "Tests/Platform/PropertyService.h"

#include <gtest/gtest.h>

#include <gio/gio.h>

#include <string>

namespace quorrel {

namespace {

PropertyService::Object hostname(const std::string& name) {
    return { "org.freedesktop.hostname1", "/org/freedesktop/hostname1",
        "<node><interface name='org.freedesktop.hostname1'>"
        "<property name='PrettyHostname' type='s' access='read'/></interface></node>",
        [name](const std::string&) { return g_variant_new_string(name.c_str()); } };
}

} // namespace

TEST(HostnameServiceBusTest, theServicesNameIsTheAnswer) {
    const PropertyService bus(hostname("Anna's Büro"));
    EXPECT_EQ(prettyHostname(bus.address(), Seconds(10)), "Anna's Büro");
}

TEST(HostnameServiceBusTest, anEmptyNameIsNone) {
    const PropertyService bus(hostname(""));
    EXPECT_EQ(prettyHostname(bus.address(), Seconds(10)), std::nullopt);
}

TEST(HostnameServiceBusTest, aBusWithoutTheServiceHasNoAnswer) {
    auto* bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    EXPECT_EQ(prettyHostname(g_test_dbus_get_bus_address(bus), Seconds(10)), std::nullopt);
    g_test_dbus_stop(bus);
    g_object_unref(bus);
}

} // namespace quorrel
