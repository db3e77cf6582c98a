// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MountListMirror.h"

#include "Foundation/Mutex.h"
#include "Platform/Linux/GvfsMountList.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

using GvfsMountList::daemonName;
using GvfsMountList::trackerInterface;
using GvfsMountList::trackerPath;
constexpr auto busName = "org.freedesktop.DBus";
constexpr auto busPath = "/org/freedesktop/DBus";

constexpr std::array rules {
    "type='signal',sender='org.gtk.vfs.Daemon',path='/org/gtk/vfs/mounttracker',interface='org.gtk.vfs.MountTracker'",
    "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
    "arg0='org.gtk.vfs.Daemon'",
};

/// Sent ahead of all questions that follow, so the bus heeds it before them.
void tellBus(GDBusConnection* connection, const char* method) {
    for (const auto* const rule : rules)
        g_dbus_connection_call(connection, busName, busPath, busName, method, g_variant_new("(s)", rule), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

void apply(bool isMounted, const GvfsMount& mount, std::vector<GvfsMount>& mounts) {
    std::erase_if(mounts,
        [&](const GvfsMount& one) { return one.busName == mount.busName && one.objectPath == mount.objectPath; });
    if (isMounted)
        mounts.push_back(mount);
}

/// GLib hands a state from thread to thread in a way that ThreadSanitizer does not see. This orders what they do with
/// it, and has to be there before any of them.
void takeOver() {
    static Mutex order;
    const MutexLock lock(order);
}

} // namespace

struct MountListMirror::State final {
    struct Change final {
        std::string sender;
        bool isMounted;
        GvfsMount mount;
    };

    Mutex mutex;
    GObjectPointer<GDBusConnection> connection GUARDED_BY(mutex);
    unsigned filter GUARDED_BY(mutex) = 0;
    std::optional<std::string> daemon GUARDED_BY(mutex); ///< its own name on the bus; empty when there is none
    std::optional<std::vector<GvfsMount>> mounts GUARDED_BY(mutex);
    int listings GUARDED_BY(mutex) = 0; ///< under way
    std::vector<Change> changes GUARDED_BY(mutex); ///< while there are listings
    std::uint64_t firstChange GUARDED_BY(mutex) = 0; ///< the number of the first of them
    std::vector<Watch*> watches GUARDED_BY(mutex);
    /// GLib's thread may be with us while the mirror ends: a connection that we listen to keeps us until it ends.
    std::shared_ptr<State> self GUARDED_BY(mutex);
    int keepers GUARDED_BY(mutex) = 0;

    void keep(const std::shared_ptr<State>& state) {
        const MutexLock lock(mutex);
        self = state;
        ++keepers;
    }

    void letGo() {
        takeOver();
        std::shared_ptr<State> last;
        const MutexLock lock(mutex);
        if (--keepers == 0)
            last = std::move(self);
    }

    void forgetChanges() REQUIRES(mutex) {
        firstChange += changes.size();
        changes.clear();
    }

    /// Between two connections something may go unheard: a list that was asked for before is none to follow.
    void beginAnew() REQUIRES(mutex) {
        daemon.reset();
        mounts.reset();
        forgetChanges();
        ++firstChange;
    }

    /// Those of the daemon since then. What the list has already comes to the same once more.
    void repeatChanges(std::uint64_t begin, std::vector<GvfsMount>& list) const REQUIRES(mutex) {
        for (auto index = static_cast<std::size_t>(begin - firstChange); index < changes.size(); ++index)
            if (changes[index].sender == daemon)
                apply(changes[index].isMounted, changes[index].mount, list);
    }

    void daemonChanged(std::string owner) {
        const MutexLock lock(mutex);
        daemon = std::move(owner);
        mounts.reset();
    }

    void mountChanged(std::string_view sender, bool isMounted, const GvfsMount& mount) {
        std::vector<GlibPointer<GMainContext>> contexts;
        {
            const MutexLock lock(mutex);
            if (mounts && daemon == sender)
                apply(isMounted, mount, *mounts);
            if (listings > 0)
                changes.push_back({ std::string(sender), isMounted, mount });
            for (auto* const watch : watches) {
                watch->m_hasHeard = true;
                contexts.emplace_back(g_main_context_ref(watch->m_context.get()));
            }
        }
        for (const auto& context : contexts)
            g_main_context_wakeup(context.get());
    }
};

MountListMirror::MountListMirror()
    : m_state(std::make_shared<State>()) { }

MountListMirror::~MountListMirror() {
    unfollow();
}

void MountListMirror::follow(GDBusConnection* connection) {
    {
        const MutexLock lock(m_state->mutex);
        if (m_state->connection.get() == connection)
            return;
    }
    unfollow();
    m_state->keep(m_state);
    // A filter could let go itself, but only where somebody runs the context of the thread that came by first.
    g_object_weak_ref(
        G_OBJECT(connection), [](gpointer state, GObject*) { static_cast<State*>(state)->letGo(); }, m_state.get());
    takeOver();
    auto filter = g_dbus_connection_add_filter(connection, &MountListMirror::heard, m_state.get(), nullptr);
    tellBus(connection, "AddMatch");
    GObjectPointer<GDBusConnection> followed(G_DBUS_CONNECTION(g_object_ref(connection)));
    {
        const MutexLock lock(m_state->mutex);
        // Only now, since from here on others rely on it. Of two that come at once, one takes the other's place.
        std::swap(m_state->connection, followed);
        std::swap(m_state->filter, filter);
        m_state->beginAnew();
    }
    release(followed.get(), filter);
}

void MountListMirror::unfollow() {
    GObjectPointer<GDBusConnection> former;
    unsigned filter = 0;
    {
        const MutexLock lock(m_state->mutex);
        former = std::move(m_state->connection);
        filter = std::exchange(m_state->filter, 0);
        m_state->beginAnew();
    }
    release(former.get(), filter);
}

void MountListMirror::release(GDBusConnection* connection, unsigned filter) {
    if (!connection)
        return;
    g_dbus_connection_remove_filter(connection, filter);
    if (!g_dbus_connection_is_closed(connection))
        tellBus(connection, "RemoveMatch");
}

GObjectPointer<GDBusConnection> MountListMirror::connection() const {
    GObjectPointer<GDBusConnection> connection;
    {
        const MutexLock lock(m_state->mutex);
        if (m_state->connection)
            connection.reset(G_DBUS_CONNECTION(g_object_ref(m_state->connection.get())));
    }
    return connection && !g_dbus_connection_is_closed(connection.get()) ? std::move(connection) : nullptr;
}

std::optional<std::vector<GvfsMount>> MountListMirror::mounts() const {
    const MutexLock lock(m_state->mutex);
    return m_state->mounts;
}

GDBusMessage* MountListMirror::heard(
    GDBusConnection* /*connection*/, GDBusMessage* message, gboolean isIncoming, gpointer data) noexcept {
    auto& state = *static_cast<State*>(data);
    takeOver();
    if (!isIncoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_SIGNAL)
        return message;
    const auto text = [](const gchar* field) { return field ? std::string_view(field) : std::string_view(); };
    const auto sender = text(g_dbus_message_get_sender(message));
    const auto interface = text(g_dbus_message_get_interface(message));
    const auto member = text(g_dbus_message_get_member(message));
    auto* const body = g_dbus_message_get_body(message);
    if (!body)
        return message;
    if (interface == trackerInterface && text(g_dbus_message_get_path(message)) == trackerPath
        && (member == "Mounted" || member == "Unmounted")) {
        if (const auto mount = GvfsMountList::readSignal(body))
            state.mountChanged(sender, member == "Mounted", *mount);
    } else if (sender == busName && interface == busName && member == "NameOwnerChanged"
        && g_variant_is_of_type(body, G_VARIANT_TYPE("(sss)"))) {
        const gchar* name = nullptr;
        const gchar* owner = nullptr;
        g_variant_get(body, "(&s&s&s)", &name, nullptr, &owner);
        if (text(name) == daemonName)
            state.daemonChanged(owner);
    }
    return message;
}

MountListMirror::Watch::Watch(MountListMirror& mirror)
    : m_state(mirror.m_state)
    , m_context(g_main_context_ref_thread_default()) {
    const MutexLock lock(m_state->mutex);
    m_state->watches.push_back(this);
}

MountListMirror::Watch::~Watch() {
    const MutexLock lock(m_state->mutex);
    std::erase(m_state->watches, this);
}

bool MountListMirror::Watch::hasHeard() {
    const MutexLock lock(m_state->mutex);
    return std::exchange(m_hasHeard, false);
}

MountListMirror::Listing::Listing(MountListMirror& mirror)
    : m_state(mirror.m_state) {
    const MutexLock lock(m_state->mutex);
    ++m_state->listings;
    m_begin = m_state->firstChange + m_state->changes.size();
}

MountListMirror::Listing::~Listing() {
    const MutexLock lock(m_state->mutex);
    if (--m_state->listings == 0)
        m_state->forgetChanges();
}

void MountListMirror::Listing::told(const std::string& sender, std::vector<GvfsMount> mounts) {
    const MutexLock lock(m_state->mutex);
    if (!m_state->connection || m_begin < m_state->firstChange || m_state->daemon.value_or(sender) != sender)
        return; // nobody is followed, or somebody else by now
    m_state->daemon = sender;
    m_state->repeatChanges(m_begin, mounts);
    m_state->mounts = std::move(mounts);
}

} // namespace quorrel
