// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/AvahiPublisher.h"

#include "Tests/Platform/GlibTurns.h"

#include <gtest/gtest.h>

namespace quorrel {

namespace {

constexpr int patience = 20000; // milliseconds
constexpr int anywhere = -1;

} // namespace

AvahiPublisher::AvahiPublisher() = default;

AvahiPublisher::~AvahiPublisher() {
    // What was published goes with its client.
    if (m_bus)
        g_dbus_connection_close_sync(m_bus.get(), nullptr, nullptr);
}

bool AvahiPublisher::findDaemon() {
    if (!m_bus || g_dbus_connection_is_closed(m_bus.get())) {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        const GlibPointer<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
        m_bus.reset(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, nullptr));
    }
    const GlibPointer<GVariant> reply(!m_bus
            ? nullptr
            : g_dbus_connection_call_sync(m_bus.get(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                "GetNameOwner", g_variant_new("(s)", "org.freedesktop.Avahi"), nullptr, G_DBUS_CALL_FLAGS_NONE,
                patience, nullptr, nullptr));
    if (!reply)
        return false;
    const gchar* owner = nullptr;
    g_variant_get(reply.get(), "(&s)", &owner);
    if (m_owner != owner)
        m_groups.clear();
    m_owner = owner;
    return true;
}

GlibPointer<GVariant> AvahiPublisher::call(
    const std::string& path, const std::string& interface, const std::string& method, GVariant* parameters) {
    GError* error = nullptr;
    GlibPointer<GVariant> reply(g_dbus_connection_call_sync(m_bus.get(), m_owner.c_str(), path.c_str(),
        ("org.freedesktop.Avahi." + interface).c_str(), method.c_str(), parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
        patience, nullptr, &error));
    const GlibPointer<GError> owned(error);
    EXPECT_TRUE(reply) << method << ": " << error->message;
    return reply;
}

void AvahiPublisher::publish(
    const std::string& name, const std::string& type, const std::vector<std::string>& strings, int interface) {
    // A daemon that was just started is not on the bus at once.
    ASSERT_TRUE(runMainContextUntil([this] { return findDaemon(); }, Seconds(10)));
    auto& group = m_groups[{ name, type, interface }];
    const bool isNew = group.empty();
    if (isNew) {
        const auto reply = call("/", "Server", "EntryGroupNew", nullptr);
        ASSERT_TRUE(reply);
        const gchar* path = nullptr;
        g_variant_get(reply.get(), "(&o)", &path);
        group = path;
    }
    GVariantBuilder texts;
    g_variant_builder_init(&texts, G_VARIANT_TYPE("aay"));
    for (const auto& each : strings)
        g_variant_builder_add_value(
            &texts, g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, each.data(), each.size(), 1));
    if (!isNew) {
        call(group, "EntryGroup", "UpdateServiceTxt",
            g_variant_new("(iiusssaay)", interface, anywhere, 0U, name.c_str(), type.c_str(), "", &texts));
        return;
    }
    call(group, "EntryGroup", "AddService",
        g_variant_new(
            "(iiussssqaay)", interface, anywhere, 0U, name.c_str(), type.c_str(), "", "", guint16 { 548 }, &texts));
    call(group, "EntryGroup", "Commit", nullptr);
}

void AvahiPublisher::withdraw(const std::string& name, const std::string& type, int interface) {
    const auto group = m_groups.extract({ name, type, interface });
    ASSERT_TRUE(group);
    if (findDaemon())
        call(group.mapped(), "EntryGroup", "Free", nullptr);
}

void AvahiPublisher::withdrawAll() {
    for (const auto& [key, group] : m_groups)
        call(group, "EntryGroup", "Free", nullptr);
    m_groups.clear();
}

} // namespace quorrel
