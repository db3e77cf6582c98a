// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiObject.h"

#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/AvahiDaemonLife.h"

#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr auto interfaces = "org.freedesktop.Avahi.";
constexpr auto server = "org.freedesktop.Avahi.Server";
constexpr int mostUnanswered = 64; // the bus refuses a client more, the strictest twice as many

AvahiObject::Refusal refusalOf(const GError* error) {
    const GlibPointer<gchar> name(g_dbus_error_get_remote_error(error));
    if (name && std::string_view(name.get()).ends_with(".TooManyObjectsError"))
        return AvahiObject::Refusal::Full;
    const bool isFromNobody = !name
        || (error->domain == G_DBUS_ERROR
            && (error->code == G_DBUS_ERROR_NO_REPLY || error->code == G_DBUS_ERROR_SERVICE_UNKNOWN
                || error->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER || error->code == G_DBUS_ERROR_DISCONNECTED));
    return isFromNobody ? AvahiObject::Refusal::Lost : AvahiObject::Refusal::Other;
}

void freeAtDaemon(const AvahiDaemonLife& daemon, const std::string& kind, const std::string& path) {
    if (!daemon.isOver)
        g_dbus_connection_call(daemon.bus.get(), daemon.owner.c_str(), path.c_str(), (interfaces + kind).c_str(),
            "Free", nullptr, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
}

} // namespace

struct AvahiObject::Callbacks final {
    struct Question final {
        std::shared_ptr<AvahiDaemonLife> daemon;
        std::string kind;
        std::weak_ptr<AvahiObject*> object;
    };

    static void askWhatWaits(const std::shared_ptr<AvahiDaemonLife>& daemon) {
        while (daemon->unanswered < mostUnanswered && !daemon->unasked.empty()) {
            const auto next = std::move(daemon->unasked.extract(daemon->unasked.begin()).mapped());
            ++daemon->unanswered;
            // Without a limit: a daemon that stands still answers when it goes on, and one that ends is an answer too.
            g_dbus_connection_call(daemon->bus.get(), daemon->owner.c_str(), "/", server, (next.kind + "New").c_str(),
                next.parameters.get(), G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, G_MAXINT, nullptr,
                &answered, std::make_unique<Question>(Question { daemon, next.kind, next.object }).release());
        }
    }

    static void answered(GObject* bus, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<Question> question(static_cast<Question*>(data));
        GError* failure = nullptr;
        const GlibPointer<GVariant> reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &failure));
        const GlibPointer<GError> error(failure);
        auto& daemon = *question->daemon;
        if (daemon.isOver)
            return;
        --daemon.unanswered;
        askWhatWaits(question->daemon);
        if (reply) {
            const gchar* path = nullptr;
            g_variant_get(reply.get(), "(&o)", &path);
            if (const auto object = question->object.lock())
                (*object)->made(path);
            else
                freeAtDaemon(daemon, question->kind, path);
        } else if (const auto object = question->object.lock()) {
            const auto hearer = (*object)->m_hearer; // outlives the object
            const auto refusal = refusalOf(error.get());
            g_dbus_error_strip_remote_error(error.get());
            hearer->refused(refusal, error->message);
        }
        if (daemon.isOver)
            return;
        if (daemon.unanswered == 0)
            daemon.early.clear();
        if (const auto then = daemon.answered)
            then();
    }
};

AvahiObject::AvahiObject(AvahiConnection& connection, const std::string& kind, GVariant* parameters, Hearer hearer)
    : m_daemon(connection.daemon())
    , m_kind(kind)
    , m_hearer(std::make_shared<const Hearer>(std::move(hearer)))
    , m_self(std::make_shared<AvahiObject*>(this))
    , m_turn(++m_daemon->lastTurn) {
    m_daemon->unasked.emplace(
        m_turn, AvahiDaemonLife::Question { kind, GlibPointer<GVariant>(g_variant_ref_sink(parameters)), m_self });
    Callbacks::askWhatWaits(m_daemon);
}

AvahiObject::~AvahiObject() {
    if (m_path.empty()) {
        m_daemon->unasked.erase(m_turn);
        return; // what has been asked for is freed when its path is known
    }
    m_daemon->objects.erase(m_path);
    freeAtDaemon(*m_daemon, m_kind, m_path);
}

void AvahiObject::made(const std::string& path) {
    m_path = path;
    m_daemon->objects.emplace(path, this);
    const std::weak_ptr self = m_self;
    const auto daemon = m_daemon;
    // One by one, since whoever hears of them may end this object, or the daemon end.
    while (!self.expired()) {
        const auto next = daemon->early.find(path);
        if (next == daemon->early.end())
            return;
        const auto signal = std::move(next->second);
        daemon->early.erase(next);
        tell(signal.name, signal.parameters.get());
    }
}

void AvahiObject::tell(const std::string& signal, GVariant* parameters) const {
    const auto hearer = m_hearer; // outlives this
    hearer->told(signal, parameters);
}

} // namespace quorrel
