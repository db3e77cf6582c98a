// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountTracker.h"

#include "Platform/Linux/GvfsMountList.h"

namespace quorrel {

namespace {

using GvfsMountList::daemonName;
using GvfsMountList::trackerInterface;
using GvfsMountList::trackerPath;
constexpr auto mountInterface = "org.gtk.vfs.Mount";
constexpr Seconds shortCall { 5 };

} // namespace

bool TrackerReply::isFromNobody() const {
    if (!error || error->domain != G_DBUS_ERROR)
        return false;
    return error->code == G_DBUS_ERROR_SERVICE_UNKNOWN || error->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER
        || error->code == G_DBUS_ERROR_NO_REPLY || error->code == G_DBUS_ERROR_DISCONNECTED
        || error->code == G_DBUS_ERROR_UNKNOWN_METHOD || error->code == G_DBUS_ERROR_UNKNOWN_OBJECT;
}

std::string TrackerReply::reason() const {
    return error ? std::string(error->message) : std::string("no answer in time");
}

bool MountTracker::connect(std::string& reason) {
    m_connection = m_mirror.connection();
    if (m_connection)
        return true;
    const auto result = m_loop.await([](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
        g_bus_get(G_BUS_TYPE_SESSION, cancellable, callback, data);
    });
    if (!result) {
        reason = "the session bus does not answer";
        return false;
    }
    GError* error = nullptr;
    m_connection.reset(g_bus_get_finish(result.get(), &error));
    const GlibPointer<GError> owned(error);
    if (!m_connection) {
        reason = error->message;
        return false;
    }
    // The shared connection would end the whole process together with the bus.
    g_dbus_connection_set_exit_on_close(m_connection.get(), FALSE);
    m_isGioCutOff = g_dbus_connection_is_closed(m_connection.get());
    if (m_isGioCutOff)
        return connectToSuccessor(reason);
    m_mirror.follow(m_connection.get());
    return true;
}

bool MountTracker::connectToSuccessor(std::string& reason) {
    GError* error = nullptr;
    const GlibPointer<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    const auto result = !address ? nullptr : m_loop.await([&](auto* cancellable, auto callback, auto* data) {
        constexpr auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        g_dbus_connection_new_for_address(address.get(), flags, nullptr, cancellable, callback, data);
    });
    m_connection.reset(result ? g_dbus_connection_new_for_address_finish(result.get(), &error) : nullptr);
    const GlibPointer<GError> owned(error);
    if (!m_connection)
        reason = error ? error->message : "the session bus does not answer";
    return m_connection != nullptr;
}

TrackerReply MountTracker::call(const char* busName, const char* path, const char* interface, const char* method,
    GVariant* parameters, Seconds limit) {
    TrackerReply reply;
    const GlibPointer<GVariant> owned(parameters ? g_variant_ref_sink(parameters) : nullptr);
    if (!m_connection)
        return reply;
    const auto result = m_loop.await(
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            g_dbus_connection_call(m_connection.get(), busName, path, interface, method, parameters, nullptr,
                G_DBUS_CALL_FLAGS_NONE, G_MAXINT, cancellable, callback, data);
        },
        limit);
    if (!result)
        return reply;
    GError* error = nullptr;
    reply.value.reset(g_dbus_connection_call_finish(m_connection.get(), result.get(), &error));
    if (error)
        g_dbus_error_strip_remote_error(error);
    reply.error.reset(error);
    return reply;
}

std::optional<std::vector<GvfsMount>> MountTracker::mounts() {
    if (!m_connection)
        return std::nullopt;
    MountListMirror::Listing listing(m_mirror);
    const GObjectPointer<GDBusMessage> question(
        g_dbus_message_new_method_call(daemonName, trackerPath, trackerInterface, "ListMounts"));
    const auto result = m_loop.await(
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            g_dbus_connection_send_message_with_reply(m_connection.get(), question.get(),
                G_DBUS_SEND_MESSAGE_FLAGS_NONE, G_MAXINT, nullptr, cancellable, callback, data);
        },
        shortCall);
    // The message, and not its contents alone, says who answers.
    const GObjectPointer<GDBusMessage> answer(
        result ? g_dbus_connection_send_message_with_reply_finish(m_connection.get(), result.get(), nullptr) : nullptr);
    auto* const body = answer ? g_dbus_message_get_body(answer.get()) : nullptr;
    auto mounts = body ? GvfsMountList::read(body) : std::nullopt;
    if (const auto* const sender = mounts ? g_dbus_message_get_sender(answer.get()) : nullptr; sender && !m_isGioCutOff)
        listing.told(sender, *mounts);
    return mounts;
}

std::optional<std::vector<GvfsMount>> MountTracker::announcedMounts() {
    auto announced = m_isGioCutOff ? std::nullopt : m_mirror.mounts();
    return announced ? std::move(announced) : mounts();
}

bool MountTracker::supports(const GvfsLocation& location) {
    const auto reply = call(daemonName, trackerPath, trackerInterface, "ListMountTypes", nullptr, shortCall);
    if (!reply.value || !g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(as)")))
        return true;
    const std::string wanted = location.scheme == "smb" ? "smb-share"
        : location.scheme == "afp"                      ? "afp-volume"
        : location.scheme == "ftp"                      ? "ftp"
                                                        : "dav";
    const GlibPointer<GVariant> list(g_variant_get_child_value(reply.value.get(), 0));
    for (gsize index = 0; index < g_variant_n_children(list.get()); ++index)
        if (g_variant_get_string(GlibPointer<GVariant>(g_variant_get_child_value(list.get(), index)).get(), nullptr)
            == wanted)
            return true;
    return false;
}

TrackerReply MountTracker::queryInfo(const GvfsMount& mount, const std::string& relativePath, Seconds limit) {
    const auto path = "/" + relativePath; // back ends put the mount's prefix in front themselves
    return call(mount.busName.c_str(), mount.objectPath.c_str(), mountInterface, "QueryInfo",
        g_variant_new("(^aysus)", path.c_str(), "standard::type", 0U, ""), limit);
}

TrackerReply MountTracker::unmount(const GvfsMount& mount, Seconds limit) {
    return call(mount.busName.c_str(), mount.objectPath.c_str(), mountInterface, "Unmount",
        g_variant_new("(sou)", "", "/", 0U), limit);
}

std::optional<pid_t> MountTracker::processOf(const std::string& busName) {
    const auto reply = call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "GetConnectionUnixProcessID", g_variant_new("(s)", busName.c_str()), shortCall);
    if (!reply.value)
        return std::nullopt;
    guint32 process = 0;
    g_variant_get(reply.value.get(), "(u)", &process);
    return static_cast<pid_t>(process);
}

std::optional<pid_t> MountTracker::daemonProcess() {
    return processOf(daemonName);
}

} // namespace quorrel
