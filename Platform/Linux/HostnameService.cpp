// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostnameService.h"

#include <memory>

#include <gio/gio.h>

namespace quorrel {

namespace {

struct ObjectFree final {
    void operator()(void* object) const { g_object_unref(object); }
};
using Connection = std::unique_ptr<GDBusConnection, ObjectFree>;
using Cancellable = std::unique_ptr<GCancellable, ObjectFree>;

/// One question on a context of its own, so that no callback of others runs while this thread waits.
class Question final {
public:
    explicit Question(const std::string& busAddress, Seconds deadline)
        : m_context(g_main_context_new())
        , m_cancellable(g_cancellable_new()) {
        g_main_context_push_thread_default(m_context);
        GSource* timer = g_timeout_source_new(static_cast<guint>(deadline.count() * 1000));
        g_source_set_callback(timer, &Question::timeIsOver, this, nullptr);
        g_source_attach(timer, m_context);
        constexpr auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        g_dbus_connection_new_for_address(
            busAddress.c_str(), flags, nullptr, m_cancellable.get(), &Question::connected, this);
        while (!m_isDone)
            g_main_context_iteration(m_context, true);
        g_source_destroy(timer);
        g_source_unref(timer);
        g_main_context_pop_thread_default(m_context);
        m_connection.reset();
        g_main_context_unref(m_context);
    }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    [[nodiscard]] const std::optional<std::string>& answer() const { return m_answer; }

private:
    static gboolean timeIsOver(void* self) {
        // What is under way then ends with an error, through its own callback.
        g_cancellable_cancel(static_cast<Question*>(self)->m_cancellable.get());
        return G_SOURCE_REMOVE;
    }

    static void connected(GObject*, GAsyncResult* result, void* data) {
        auto& self = *static_cast<Question*>(data);
        self.m_connection.reset(g_dbus_connection_new_for_address_finish(result, nullptr));
        if (!self.m_connection) {
            self.m_isDone = true;
            return;
        }
        g_dbus_connection_set_exit_on_close(self.m_connection.get(), false);
        g_dbus_connection_call(self.m_connection.get(), "org.freedesktop.hostname1", "/org/freedesktop/hostname1",
            "org.freedesktop.DBus.Properties", "Get",
            g_variant_new("(ss)", "org.freedesktop.hostname1", "PrettyHostname"), G_VARIANT_TYPE("(v)"),
            G_DBUS_CALL_FLAGS_NONE, -1, self.m_cancellable.get(), &Question::answered, &self);
    }

    static void answered(GObject* connection, GAsyncResult* result, void* data) {
        auto& self = *static_cast<Question*>(data);
        self.m_isDone = true;
        GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, nullptr);
        if (!reply)
            return;
        GVariant* value = nullptr;
        g_variant_get(reply, "(v)", &value);
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
            if (const char* name = g_variant_get_string(value, nullptr); *name)
                self.m_answer = name;
        g_variant_unref(value);
        g_variant_unref(reply);
    }

    GMainContext* const m_context;
    const Cancellable m_cancellable;
    Connection m_connection;
    std::optional<std::string> m_answer;
    bool m_isDone = false;
};

/// Undoes the quoting of one value; what stands behind the value's end is left out.
std::string unquoted(std::string_view text) {
    std::string value;
    char quote = '\0';
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char letter = text[index];
        if (quote == '\0' && (letter == ' ' || letter == '\t'))
            break;
        if ((letter == '"' || letter == '\'') && (quote == '\0' || quote == letter)) {
            quote = quote == '\0' ? letter : '\0';
        } else if (letter == '\\' && quote != '\'' && index + 1 < text.size()) {
            value += text[++index];
        } else {
            value += letter;
        }
    }
    return value;
}

} // namespace

std::optional<std::string> prettyHostname(const std::string& busAddress, Seconds deadline) {
    return Question(busAddress, deadline).answer();
}

std::optional<std::string> shellAssignment(std::string_view text, std::string_view key) {
    std::optional<std::string> value;
    while (!text.empty()) {
        const auto end = text.find('\n');
        auto line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.starts_with(key) && line.size() > key.size() && line[key.size()] == '=')
            value = unquoted(line.substr(key.size() + 1));
    }
    return value;
}

} // namespace quorrel
