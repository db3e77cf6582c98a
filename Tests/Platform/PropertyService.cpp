// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/PropertyService.h"

#include <utility>

namespace quorrel {

PropertyService::PropertyService(Object object)
    : m_object(std::move(object))
    , m_bus(g_test_dbus_new(G_TEST_DBUS_NONE)) {
    g_test_dbus_up(m_bus);
    std::promise<GDBusConnection*> ready;
    auto connection = ready.get_future();
    m_thread = std::thread(&PropertyService::serve, this, std::move(ready));
    m_connection = connection.get();
}

PropertyService::~PropertyService() {
    m_isOver = true;
    g_main_context_wakeup(m_context);
    m_thread.join();
    g_main_context_unref(m_context);
    g_test_dbus_stop(m_bus);
    g_object_unref(m_bus);
}

void PropertyService::tellChange(const char* property, GVariant* value) const {
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", property, value);
    g_dbus_connection_emit_signal(m_connection, nullptr, m_object.path.c_str(), "org.freedesktop.DBus.Properties",
        "PropertiesChanged", g_variant_new("(sa{sv}as)", m_object.interface.c_str(), &changed, nullptr), nullptr);
}

void PropertyService::serve(std::promise<GDBusConnection*> ready) {
    g_main_context_push_thread_default(m_context);
    constexpr auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    auto* connection = g_dbus_connection_new_for_address_sync(address().c_str(), flags, nullptr, nullptr, nullptr);
    auto* node = g_dbus_node_info_new_for_xml(m_object.introspection.c_str(), nullptr);
    static const GDBusInterfaceVTable table { nullptr, &PropertyService::answer, nullptr, {} };
    g_dbus_connection_register_object(
        connection, m_object.path.c_str(), node->interfaces[0], &table, this, nullptr, nullptr);
    auto* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", m_object.interface.c_str(), 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
        nullptr, nullptr);
    g_variant_unref(reply);
    ready.set_value(connection);
    while (!m_isOver)
        g_main_context_iteration(m_context, true);
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    g_dbus_node_info_unref(node);
    g_main_context_pop_thread_default(m_context);
}

GVariant* PropertyService::answer(
    GDBusConnection*, const char*, const char*, const char*, const char* property, GError**, void* self) {
    return static_cast<const PropertyService*>(self)->m_object.value(property);
}

} // namespace quorrel
