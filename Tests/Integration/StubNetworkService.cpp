// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/StubNetworkService.h"

#include <chrono>
#include <cstdlib>
#include <string>

namespace quorrel {

namespace {

constexpr auto service = "org.freedesktop.NetworkManager";
constexpr auto path = "/org/freedesktop/NetworkManager";

} // namespace

StubNetworkService::StubNetworkService(Connectivity connectivity)
    : m_bus(g_test_dbus_new(G_TEST_DBUS_NONE))
    , m_connectivity(connectivity) {
    g_test_dbus_up(m_bus);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", g_test_dbus_get_bus_address(m_bus), 1);
    m_thread = std::thread([this] { serve(); });
    while (!m_connection)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

StubNetworkService::~StubNetworkService() {
    m_isOver = true;
    g_main_context_wakeup(m_context);
    m_thread.join();
    g_main_context_unref(m_context);
    g_test_dbus_stop(m_bus);
    g_object_unref(m_bus);
}

void StubNetworkService::setConnectivity(Connectivity connectivity) {
    m_connectivity = connectivity;
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", "Connectivity", g_variant_new_uint32(connectivity));
    g_dbus_connection_emit_signal(m_connection, nullptr, path, "org.freedesktop.DBus.Properties", "PropertiesChanged",
        g_variant_new("(sa{sv}as)", service, &changed, nullptr), nullptr);
}

void StubNetworkService::serve() {
    g_main_context_push_thread_default(m_context);
    constexpr auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    auto* connection
        = g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(m_bus), flags, nullptr, nullptr, nullptr);
    auto* node = g_dbus_node_info_new_for_xml("<node><interface name='org.freedesktop.NetworkManager'>"
                                              "<property name='Connectivity' type='u' access='read'/>"
                                              "<property name='State' type='u' access='read'/>"
                                              "<property name='Metered' type='u' access='read'/>"
                                              "<property name='Version' type='s' access='read'/></interface></node>",
        nullptr);
    static const GDBusInterfaceVTable table { nullptr, &StubNetworkService::property, nullptr, {} };
    g_dbus_connection_register_object(connection, path, node->interfaces[0], &table, this, nullptr, nullptr);
    auto* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", service, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    g_variant_unref(reply);
    m_connection = connection;
    while (!m_isOver)
        g_main_context_iteration(m_context, true);
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    g_dbus_node_info_unref(node);
    g_main_context_pop_thread_default(m_context);
}

GVariant* StubNetworkService::property(
    GDBusConnection*, const char*, const char*, const char*, const char* name, GError**, void* self) {
    const std::string which = name;
    if (which == "Version")
        return g_variant_new_string("1.42.4");
    if (which == "State")
        return g_variant_new_uint32(70);
    return g_variant_new_uint32(
        which == "Connectivity" ? static_cast<StubNetworkService*>(self)->m_connectivity.load() : 0);
}

} // namespace quorrel
