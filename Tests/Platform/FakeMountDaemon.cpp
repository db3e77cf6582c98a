// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/FakeMountDaemon.h"

#include <utility>

namespace quorrel {

namespace {

constexpr auto name = "org.gtk.vfs.Daemon";
constexpr auto path = "/org/gtk/vfs/mounttracker";
constexpr auto interface = "org.gtk.vfs.MountTracker";
constexpr auto listType = "a(sossssssbay(aya{sv})ay)";
constexpr auto introspection = "<node><interface name='org.gtk.vfs.MountTracker'><method name='ListMounts'>"
                               "<arg type='a(sossssssbay(aya{sv})ay)' direction='out'/></method>"
                               "</interface></node>";

} // namespace

struct FakeMountDaemon::Callbacks final {
    static void called(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
        GDBusMethodInvocation* question, gpointer daemon) {
        static_cast<FakeMountDaemon*>(daemon)->answer(question);
    }
};

FakeMountDaemon::FakeMountDaemon(const std::string& busAddress) {
    constexpr auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    m_connection.reset(g_dbus_connection_new_for_address_sync(busAddress.c_str(), flags, nullptr, nullptr, nullptr));
    static const GDBusInterfaceVTable table { &Callbacks::called, nullptr, nullptr, {} };
    auto* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
    m_object = g_dbus_connection_register_object(
        m_connection.get(), path, node->interfaces[0], &table, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
}

FakeMountDaemon::~FakeMountDaemon() {
    for (auto* question : std::exchange(m_waiting, {}))
        g_dbus_method_invocation_return_dbus_error(question, "org.freedesktop.DBus.Error.Failed", "the end");
    g_dbus_connection_unregister_object(m_connection.get(), m_object);
    g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr);
}

GlibPointer<GVariant> FakeMountDaemon::ask(const char* method, GVariant* parameters) const {
    return GlibPointer<GVariant>(
        g_dbus_connection_call_sync(m_connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr));
}

bool FakeMountDaemon::takeName() {
    return ask("RequestName", g_variant_new("(su)", name, 0U)) != nullptr;
}

void FakeMountDaemon::giveUpName() {
    static_cast<void>(ask("ReleaseName", g_variant_new("(s)", name)));
}

bool FakeMountDaemon::hasSomebodyTheName() const {
    gboolean result = FALSE;
    if (const auto reply = ask("NameHasOwner", g_variant_new("(s)", name)))
        g_variant_get(reply.get(), "(b)", &result);
    return result != FALSE;
}

void FakeMountDaemon::setManner(Manner manner) {
    m_manner = manner;
    if (manner != Manner::Silent)
        for (auto* question : std::exchange(m_waiting, {})) {
            --m_questions;
            answer(question);
        }
}

void FakeMountDaemon::mount(const std::string& share) {
    m_mounts.push_back({ share, {} });
    emit("Mounted", m_mounts.back());
}

void FakeMountDaemon::unmount(const std::string& share) {
    std::erase_if(m_mounts, [&](const Mount& mount) { return mount.share == share; });
    emit("Unmounted", { share, {} });
}

void FakeMountDaemon::showFiles(const std::string& share, const std::string& filesPath) {
    for (auto& mount : m_mounts)
        if (mount.share == share)
            mount.path = filesPath;
}

GVariant* FakeMountDaemon::describe(const Mount& mount) {
    GVariantBuilder items;
    g_variant_builder_init(&items, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&items, "{sv}", "type", g_variant_new_bytestring("smb-share"));
    g_variant_builder_add(&items, "{sv}", "server", g_variant_new_bytestring("files"));
    g_variant_builder_add(&items, "{sv}", "share", g_variant_new_bytestring(mount.share.c_str()));
    return g_variant_new("(sossssssb^ay(^aya{sv})^ay)", (":1.7-" + mount.share).c_str(), "/org/gtk/vfs/mount/1",
        mount.share.c_str(), "", "", "", "", "", TRUE, mount.path.c_str(), "/", &items, "");
}

void FakeMountDaemon::answer(GDBusMethodInvocation* question) {
    ++m_questions;
    if (m_manner == Manner::Silent) {
        m_waiting.push_back(question);
        return;
    }
    if (m_manner == Manner::Confused) {
        g_dbus_method_invocation_return_dbus_error(question, "org.gtk.vfs.Error.Confused", "not now");
        return;
    }
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE(listType));
    for (const auto& mount : m_mounts)
        g_variant_builder_add_value(&list, describe(mount));
    g_dbus_method_invocation_return_value(question, g_variant_new((std::string("(") + listType + ")").c_str(), &list));
}

void FakeMountDaemon::emit(const char* signal, const Mount& mount) {
    g_dbus_connection_emit_signal(m_connection.get(), nullptr, path, interface, signal,
        g_variant_new("(@(sossssssbay(aya{sv})ay))", describe(mount)), nullptr);
    g_dbus_connection_flush_sync(m_connection.get(), nullptr, nullptr);
}

} // namespace quorrel
