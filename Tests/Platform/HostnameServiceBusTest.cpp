// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostnameService.h"

#include <gtest/gtest.h>

#include <atomic>
#include <gio/gio.h>
#include <string>
#include <thread>

namespace quorrel {

namespace {

/// A message bus of the test's own with a hostname service on a thread of its own.
class HostnameBus final {
public:
    explicit HostnameBus(std::string name)
        : m_name(std::move(name))
        , m_bus(g_test_dbus_new(G_TEST_DBUS_NONE)) {
        g_test_dbus_up(m_bus);
        m_address = g_test_dbus_get_bus_address(m_bus);
        m_thread = std::thread([this] { serve(); });
        while (!m_isReady)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    HostnameBus(const HostnameBus&) = delete;
    HostnameBus& operator=(const HostnameBus&) = delete;
    ~HostnameBus() {
        m_isOver = true;
        g_main_context_wakeup(m_context);
        m_thread.join();
        g_main_context_unref(m_context);
        g_test_dbus_stop(m_bus);
        g_object_unref(m_bus);
    }

    [[nodiscard]] const std::string& address() const { return m_address; }

private:
    void serve() {
        g_main_context_push_thread_default(m_context);
        constexpr auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        auto* connection = g_dbus_connection_new_for_address_sync(m_address.c_str(), flags, nullptr, nullptr, nullptr);
        constexpr const char* interface = "<node><interface name='org.freedesktop.hostname1'>"
                                          "<property name='PrettyHostname' type='s' access='read'/></interface></node>";
        auto* node = g_dbus_node_info_new_for_xml(interface, nullptr);
        static const GDBusInterfaceVTable table { nullptr, &HostnameBus::property, nullptr, {} };
        g_dbus_connection_register_object(
            connection, "/org/freedesktop/hostname1", node->interfaces[0], &table, this, nullptr, nullptr);
        auto* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", "org.freedesktop.hostname1", 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
            nullptr, nullptr);
        g_variant_unref(reply);
        m_isReady = true;
        while (!m_isOver)
            g_main_context_iteration(m_context, true);
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
        g_dbus_node_info_unref(node);
        g_main_context_pop_thread_default(m_context);
    }

    static GVariant* property(
        GDBusConnection*, const char*, const char*, const char*, const char*, GError**, void* self) {
        return g_variant_new_string(static_cast<HostnameBus*>(self)->m_name.c_str());
    }

    const std::string m_name;
    GTestDBus* const m_bus;
    GMainContext* const m_context = g_main_context_new();
    std::string m_address;
    std::atomic<bool> m_isReady = false;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

} // namespace

TEST(HostnameServiceBusTest, theServicesNameIsTheAnswer) {
    const HostnameBus bus("Anna's Büro");
    EXPECT_EQ(prettyHostname(bus.address(), Seconds(10)), "Anna's Büro");
}

TEST(HostnameServiceBusTest, anEmptyNameIsNone) {
    const HostnameBus bus("");
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
