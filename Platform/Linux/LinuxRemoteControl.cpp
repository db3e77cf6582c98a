// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxRemoteControl.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/PasswordReader.h"
#include "Platform/Linux/RemoteInterface.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <gio/gunixfdlist.h>

namespace quorrel {

namespace {

constexpr std::size_t mostUntold = 64; // signals, before the bus is waited for
constexpr int patience = 25000; // milliseconds, as callers have

using Failure = RemoteFailure::Kind;

GDBusInterfaceInfo* interfaceInfo() {
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(RemoteInterface::introspection, nullptr);
    return node ? g_dbus_node_info_lookup_interface(node, RemoteInterface::name) : nullptr;
}

GVariant* propertyNamed(const std::string& name, const RemoteProgram& program) {
    if (name == "InterfaceVersion")
        return g_variant_new_uint32(RemoteInterface::version);
    if (name == "ProgramVersion")
        return g_variant_new_string(program.version.c_str());
    // A path may be any bytes.
    const auto valid = GlibPointer<gchar>(
        g_utf8_make_valid(program.catalogue.data(), static_cast<gssize>(program.catalogue.size())));
    return name == "Catalogue" ? g_variant_new_string(valid.get()) : nullptr;
}

void answerProperties(GDBusMethodInvocation* invocation, const RemoteProgram& program) {
    auto* parameters = g_dbus_method_invocation_get_parameters(invocation);
    const std::string method = g_dbus_method_invocation_get_method_name(invocation);
    if (method == "Get") {
        const gchar* property = nullptr;
        g_variant_get(parameters, "(&s&s)", nullptr, &property);
        if (auto* value = propertyNamed(property, program)) {
            g_dbus_method_invocation_return_value(invocation, g_variant_new("(v)", value));
            return;
        }
    } else if (method == "GetAll") {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
        for (const char* name : { "InterfaceVersion", "ProgramVersion", "Catalogue" })
            g_variant_builder_add(&builder, "{sv}", name, propertyNamed(name, program));
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(a{sv})", &builder));
        return;
    }
    g_dbus_method_invocation_return_error_literal(
        invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS, "There is no such property to be read.");
}

} // namespace

/// One call of another program, until it is answered.
struct LinuxRemoteControl::Call final {
    explicit Call(GDBusMethodInvocation* toAnswer)
        : invocation(toAnswer) { }

    void fail(const RemoteFailure& failure) {
        const GlibPointer<gchar> message(g_utf8_make_valid(failure.message.c_str(), -1));
        g_dbus_method_invocation_return_dbus_error(
            invocation.release(), RemoteInterface::errorName(failure.kind).c_str(), message.get());
    }
    void succeed(GVariant* result) { g_dbus_method_invocation_return_value(invocation.release(), result); }

    GObjectPointer<GDBusMethodInvocation> invocation; // answering takes it
    RemoteCommand command {};
    std::unique_ptr<PasswordReader> reader;
};

struct LinuxRemoteControl::Callbacks final {
    struct Asked final {
        std::weak_ptr<LinuxRemoteControl*> control;
        std::unique_ptr<Call> call;
    };

    static void called(GDBusConnection* connection, const gchar* sender, const gchar*, const gchar*, const gchar*,
        GVariant*, GDBusMethodInvocation* invocation, gpointer data) noexcept {
        auto* const control = static_cast<LinuxRemoteControl*>(data);
        auto asked = std::make_unique<Asked>(Asked { control->m_self, std::make_unique<Call>(invocation) });
        // Each time: a name on the bus is cheap to ask for and never wrong, and callers come and go.
        g_dbus_connection_call(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetConnectionUnixUser", g_variant_new("(s)", sender ? sender : ""), G_VARIANT_TYPE("(u)"),
            G_DBUS_CALL_FLAGS_NONE, patience, nullptr, &Callbacks::userKnown, asked.release());
    }

    static void userKnown(GObject* connection, GAsyncResult* result, gpointer data) noexcept {
        std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
        const GlibPointer<GVariant> reply(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, nullptr));
        guint32 user = 0;
        if (reply)
            g_variant_get(reply.get(), "(u)", &user);
        const auto control = asked->control.lock();
        if (!control)
            asked->call->fail({ Failure::ShuttingDown, "Quorrel is ending." });
        else if (!reply || user != (*control)->m_settings.user)
            asked->call->fail({ Failure::AccessDenied, "Only programs of the same user are answered." });
        else
            (*control)->answer(std::move(asked->call));
    }

    static void flushed(GObject* connection, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<std::weak_ptr<LinuxRemoteControl*>> weak(
            static_cast<std::weak_ptr<LinuxRemoteControl*>*>(data));
        g_dbus_connection_flush_finish(G_DBUS_CONNECTION(connection), result, nullptr);
        if (const auto control = weak->lock())
            (*control)->flushed();
    }
};

LinuxRemoteControl::LinuxRemoteControl(Settings settings)
    : m_settings(std::move(settings)) { }

LinuxRemoteControl::~LinuxRemoteControl() {
    stop();
}

void LinuxRemoteControl::start(RemoteControlTarget& target) {
    m_target = &target;
    m_bus.emplace(m_settings.bus, [this](GDBusConnection* connection) { busChanged(connection); });
}

void LinuxRemoteControl::stop() {
    leave();
    m_bus.reset();
    m_target = nullptr;
}

void LinuxRemoteControl::busChanged(GDBusConnection* connection) {
    leave();
    auto* const interface = connection ? interfaceInfo() : nullptr;
    if (!interface)
        return;
    m_connection = connection;
    m_self = std::make_shared<LinuxRemoteControl*>(this);
    // Without a getter: properties are asked for by the same way as all else, and from nobody else's program either.
    static const GDBusInterfaceVTable table { &Callbacks::called, nullptr, nullptr, {} };
    // Before the name, so that nobody who sees the name finds nothing behind it.
    m_object = g_dbus_connection_register_object(
        connection, RemoteInterface::path, interface, &table, this, nullptr, nullptr);
    m_name = g_bus_own_name_on_connection(
        connection, RemoteInterface::name, G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr, nullptr, nullptr);
}

void LinuxRemoteControl::leave() {
    m_self.reset();
    m_held.clear();
    m_heldPlaces.clear();
    m_isListHeld = m_isFlushing = false;
    m_untold = 0;
    if (!m_connection)
        return;
    g_bus_unown_name(m_name);
    g_dbus_connection_unregister_object(m_connection, m_object);
    m_connection = nullptr;
}

void LinuxRemoteControl::tellShareChanged(const RemoteShare& share) {
    if (!m_connection)
        return;
    if (m_untold < mostUntold) {
        send(share);
        flush();
        return;
    }
    // GLib would keep all of them for a bus that takes none.
    const auto [place, isNew] = m_heldPlaces.try_emplace(share.id, m_held.size());
    if (isNew)
        m_held.push_back(share);
    else
        m_held[place->second] = share;
}

void LinuxRemoteControl::tellSharesChanged() {
    if (!m_connection)
        return;
    m_isListHeld = m_untold >= mostUntold;
    if (m_isListHeld)
        return;
    ++m_untold;
    g_dbus_connection_emit_signal(
        m_connection, nullptr, RemoteInterface::path, RemoteInterface::name, "SharesChanged", nullptr, nullptr);
    flush();
}

void LinuxRemoteControl::send(const RemoteShare& share) {
    ++m_untold;
    const GlibPointer<gchar> identity(g_utf8_make_valid(share.id.c_str(), -1));
    g_dbus_connection_emit_signal(m_connection, nullptr, RemoteInterface::path, RemoteInterface::name, "ShareChanged",
        g_variant_new("(s@a{sv})", identity.get(), RemoteInterface::toVariant(share)), nullptr);
}

void LinuxRemoteControl::flush() {
    if (std::exchange(m_isFlushing, true))
        return;
    g_dbus_connection_flush(m_connection, nullptr, &Callbacks::flushed,
        std::make_unique<std::weak_ptr<LinuxRemoteControl*>>(m_self).release());
}

void LinuxRemoteControl::flushed() {
    m_isFlushing = false;
    m_untold = 0;
    m_heldPlaces.clear();
    for (const auto& share : std::exchange(m_held, {}))
        tellShareChanged(share);
    if (std::exchange(m_isListHeld, false))
        tellSharesChanged();
}

void LinuxRemoteControl::answer(std::unique_ptr<Call> call) {
    auto* const invocation = call->invocation.get();
    const std::string method = g_dbus_method_invocation_get_method_name(invocation);
    if (method == "ListHosts") {
        call->succeed(g_variant_new("(@aa{sv})", RemoteInterface::toVariant(m_target->hosts())));
    } else if (method == "ListShares") {
        call->succeed(g_variant_new("(@aa{sv})", RemoteInterface::toVariant(m_target->shares())));
    } else if (const auto kind = RemoteInterface::commandNamed(method)) {
        call->command.kind = *kind;
        readPassword(std::move(call));
    } else {
        answerProperties(call->invocation.release(), m_target->program());
    }
}

void LinuxRemoteControl::readPassword(std::unique_ptr<Call> call) {
    auto* const invocation = call->invocation.get();
    auto* const parameters = g_dbus_method_invocation_get_parameters(invocation);
    const bool isNamed = RemoteInterface::takesName(call->command.kind);
    if (isNamed) {
        const gchar* name = nullptr;
        g_variant_get_child(parameters, 0, "&s", &name);
        call->command.name = name;
    }
    const GlibPointer<GVariant> options(g_variant_get_child_value(parameters, isNamed ? 1 : 0));
    const GlibPointer<GVariant> password(
        g_variant_lookup_value(options.get(), RemoteInterface::passwordOption, nullptr));
    if (!password) {
        perform(std::move(call));
        return;
    }
    auto* const descriptors = g_dbus_message_get_unix_fd_list(g_dbus_method_invocation_get_message(invocation));
    FileDescriptor source;
    if (descriptors && g_variant_is_of_type(password.get(), G_VARIANT_TYPE_HANDLE))
        source = FileDescriptor(g_unix_fd_list_get(descriptors, g_variant_get_handle(password.get()), nullptr));
    if (!source.isOpen()) {
        // Not even by mistake: every program that watches the bus could read it.
        call->fail({ Failure::BadPassword, "A password is handed over as a file descriptor to read it from." });
        return;
    }
    const auto shared = std::make_shared<std::unique_ptr<Call>>(std::move(call));
    (*shared)->reader = std::make_unique<PasswordReader>(
        std::move(source), [weak = std::weak_ptr(m_self), shared](std::optional<std::string> read) {
            auto waiting = std::move(*shared);
            const auto reader = std::move(waiting->reader); // it is the one that calls
            const auto control = weak.lock();
            if (!control) {
                waiting->fail({ Failure::ShuttingDown, "Quorrel is ending." });
            } else if (!read) {
                waiting->fail({ Failure::BadPassword, "The password could not be read from its file descriptor." });
            } else {
                waiting->command.password = std::move(*read);
                (*control)->perform(std::move(waiting));
            }
        });
}

void LinuxRemoteControl::perform(std::unique_ptr<Call> call) {
    const auto command = std::exchange(call->command, {});
    const std::shared_ptr<Call> waiting = std::move(call);
    m_target->perform(command, [waiting, kind = command.kind](RemoteOutcome outcome) {
        if (const auto* failure = std::get_if<RemoteFailure>(&outcome))
            waiting->fail(*failure);
        else if (RemoteInterface::returnsShares(kind))
            waiting->succeed(
                g_variant_new("(@aa{sv})", RemoteInterface::toVariant(std::get<std::vector<RemoteShare>>(outcome))));
        else
            waiting->succeed(nullptr);
    });
}

} // namespace quorrel
