// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxRemoteClient.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/RemoteInterface.h"

#include <cstddef>
#include <utility>

#include <gio/gunixfdlist.h>
#include <sys/mman.h>
#include <unistd.h>

namespace quorrel {

namespace {

using Failure = RemoteFailure::Kind;

const RemoteFailure nobodyThere { Failure::NoAnswer, "Quorrel is not running." };

/// What the other side reads the password from, and nobody else can; closed where there is none to be had.
FileDescriptor sealed(const std::string& password) {
    FileDescriptor file(memfd_create("password", MFD_CLOEXEC));
    const auto line = password + '\n';
    const bool isWritten = file.isOpen()
        && ::write(file.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size())
        && ::lseek(file.get(), 0, SEEK_SET) == 0;
    return isWritten ? std::move(file) : FileDescriptor();
}

} // namespace

/// One life of the program that is asked. Answers that come after its end find it gone.
struct LinuxRemoteClient::Link final {
    std::string owner; ///< its name on the bus
};

struct LinuxRemoteClient::Callbacks final {
    using Handler = std::function<void(GVariant* reply, const GError* error)>;

    static void appeared(GDBusConnection*, const gchar*, const gchar* owner, gpointer client) noexcept {
        static_cast<LinuxRemoteClient*>(client)->appeared(owner);
    }

    static void vanished(GDBusConnection*, const gchar*, gpointer client) noexcept {
        static_cast<LinuxRemoteClient*>(client)->vanished();
    }

    static void told(GDBusConnection*, const gchar* sender, const gchar*, const gchar*, const gchar* signal,
        GVariant* parameters, gpointer data) noexcept {
        auto* const client = static_cast<LinuxRemoteClient*>(data);
        if (client->m_link && sender == client->m_link->owner)
            client->told(signal, parameters);
    }

    static void answered(GObject* connection, GAsyncResult* result, gpointer data) noexcept {
        const std::unique_ptr<Handler> handler(static_cast<Handler*>(data));
        GError* failure = nullptr;
        const GlibPointer<GVariant> reply(
            g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(connection), nullptr, result, &failure));
        const GlibPointer<GError> error(failure);
        (*handler)(reply.get(), error.get());
    }

    /// Takes the parameters. The handler is called while the client is there alone.
    static void call(LinuxRemoteClient& client, const char* interface, const std::string& method, GVariant* parameters,
        const GVariantType* type, int timeout, GUnixFDList* descriptors, Handler handler) {
        auto guarded = [weak = std::weak_ptr(client.m_self), handler = std::move(handler)](
                           GVariant* reply, const GError* error) {
            if (!weak.expired())
                handler(reply, error);
        };
        // To the one that is there now: whoever takes its place is told nothing that was meant for it.
        g_dbus_connection_call_with_unix_fd_list(client.m_connection, client.m_link->owner.c_str(),
            RemoteInterface::path, interface, method.c_str(), parameters, type, G_DBUS_CALL_FLAGS_NO_AUTO_START,
            timeout, descriptors, nullptr, &Callbacks::answered,
            std::make_unique<Handler>(std::move(guarded)).release());
    }

    template <typename T>
    static void list(
        LinuxRemoteClient& client, const char* method, std::vector<T> (*from)(GVariant*), Answer<T> answer) {
        if (!client.m_link) {
            answer(nobodyThere);
            return;
        }
        call(client, RemoteInterface::name, method, nullptr, G_VARIANT_TYPE("(aa{sv})"), client.milliseconds(), nullptr,
            [from, answer = std::move(answer)](GVariant* reply, const GError* error) {
                if (!reply) {
                    answer(RemoteInterface::failureFrom(*error));
                    return;
                }
                const GlibPointer<GVariant> list(g_variant_get_child_value(reply, 0));
                answer(from(list.get()));
            });
    }
};

LinuxRemoteClient::LinuxRemoteClient(std::string bus, Seconds patience)
    : m_address(std::move(bus))
    , m_patience(patience) { }

LinuxRemoteClient::~LinuxRemoteClient() {
    stop();
}

int LinuxRemoteClient::milliseconds() const {
    return static_cast<int>(m_patience.count() * 1000);
}

void LinuxRemoteClient::start(Observer observer) {
    m_observer = std::move(observer);
    m_self = std::make_shared<LinuxRemoteClient*>(this);
    // A bus that hangs tells nothing at all; without one, nothing ever would.
    m_timer.start(m_address.empty() ? Seconds(0) : m_patience, [this] { tell(Presence::Absent); });
    m_bus.emplace(m_address, [this](GDBusConnection* connection) { busChanged(connection); });
}

void LinuxRemoteClient::stop() {
    leave();
    m_bus.reset();
    m_self.reset();
    m_observer.reset();
    m_timer.stop();
}

void LinuxRemoteClient::busChanged(GDBusConnection* connection) {
    const bool wasThere = m_link != nullptr;
    leave();
    m_connection = connection;
    if (!connection) {
        if (wasThere || m_timer.isRunning())
            tell(Presence::Absent);
        return;
    }
    // Before the name is looked at, so that nothing falls in between.
    m_signals = g_dbus_connection_signal_subscribe(connection, RemoteInterface::name, RemoteInterface::name, nullptr,
        RemoteInterface::path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &Callbacks::told, this, nullptr);
    m_nameWatch = g_bus_watch_name_on_connection(connection, RemoteInterface::name, G_BUS_NAME_WATCHER_FLAGS_NONE,
        &Callbacks::appeared, &Callbacks::vanished, this, nullptr);
}

void LinuxRemoteClient::leave() {
    m_link.reset();
    if (!m_connection)
        return;
    g_bus_unwatch_name(m_nameWatch);
    g_dbus_connection_signal_unsubscribe(m_connection, m_signals);
    m_connection = nullptr;
}

void LinuxRemoteClient::appeared(const std::string& owner) {
    m_timer.stop();
    m_link = std::make_shared<Link>(Link { owner });
    Callbacks::call(*this, RemoteInterface::propertiesInterface, "GetAll", g_variant_new("(s)", RemoteInterface::name),
        G_VARIANT_TYPE("(a{sv})"), milliseconds(), nullptr,
        [this, weak = std::weak_ptr(m_link)](GVariant* reply, const GError*) {
            if (weak.expired())
                return;
            if (!reply) {
                tell(Presence::Silent);
                return;
            }
            const GlibPointer<GVariant> properties(g_variant_get_child_value(reply, 0));
            const gchar* catalogue = "";
            const gchar* version = "";
            g_variant_lookup(properties.get(), "Catalogue", "&s", &catalogue);
            g_variant_lookup(properties.get(), "ProgramVersion", "&s", &version);
            tell(Presence::There, { catalogue, version });
        });
}

void LinuxRemoteClient::vanished() {
    m_link.reset();
    tell(Presence::Absent);
}

void LinuxRemoteClient::told(const std::string& signal, GVariant* parameters) {
    const auto observer = m_observer; // outlives this
    if (!observer)
        return;
    if (signal == "SharesChanged") {
        observer->sharesChanged();
    } else if (signal == "ShareChanged" && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv})"))) {
        const GlibPointer<GVariant> share(g_variant_get_child_value(parameters, 1));
        observer->shareChanged(RemoteInterface::shareFrom(share.get()));
    }
}

void LinuxRemoteClient::tell(Presence presence, const RemoteProgram& program) {
    m_timer.stop();
    if (const auto observer = m_observer)
        observer->presence(presence, program);
}

void LinuxRemoteClient::listHosts(Answer<RemoteHost> answer) {
    Callbacks::list<RemoteHost>(*this, "ListHosts", &RemoteInterface::hostsFrom, std::move(answer));
}

void LinuxRemoteClient::listShares(Answer<RemoteShare> answer) {
    Callbacks::list<RemoteShare>(*this, "ListShares", &RemoteInterface::sharesFrom, std::move(answer));
}

void LinuxRemoteClient::perform(const RemoteCommand& command, RemoteReply reply) {
    if (!m_link) {
        reply(nobodyThere);
        return;
    }
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    const GObjectPointer<GUnixFDList> descriptors(g_unix_fd_list_new());
    if (command.password) {
        const auto file = sealed(*command.password);
        const int handle = file.isOpen() ? g_unix_fd_list_append(descriptors.get(), file.get(), nullptr) : -1;
        if (handle < 0) {
            g_variant_builder_clear(&options);
            reply(RemoteFailure { Failure::BadPassword, "The password could not be handed over." });
            return;
        }
        g_variant_builder_add(&options, "{sv}", RemoteInterface::passwordOption, g_variant_new_handle(handle));
    }
    const auto kind = command.kind;
    auto* const parameters = RemoteInterface::takesName(kind)
        ? g_variant_new("(sa{sv})", command.name.c_str(), &options)
        : g_variant_new("(a{sv})", &options);
    // A mount takes its time, and a program that ends is an answer too.
    Callbacks::call(*this, RemoteInterface::name, std::string(RemoteInterface::methodName(kind)), parameters, nullptr,
        G_MAXINT, descriptors.get(), [reply = std::move(reply), kind](GVariant* answer, const GError* error) {
            if (!answer) {
                reply(RemoteInterface::failureFrom(*error));
                return;
            }
            std::vector<RemoteShare> shares;
            if (RemoteInterface::returnsShares(kind) && g_variant_is_of_type(answer, G_VARIANT_TYPE("(aa{sv})"))) {
                const GlibPointer<GVariant> list(g_variant_get_child_value(answer, 0));
                shares = RemoteInterface::sharesFrom(list.get());
            }
            reply(std::move(shares));
        });
}

} // namespace quorrel
