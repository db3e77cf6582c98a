// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObserverList.h"
#include "Platform/Linux/MessageBus.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

struct AvahiDaemonLife;

/// The program's link to the Avahi daemon over the system bus, on the main GLib context, shared by all that resolves,
/// browses and watches. Nothing here waits, so that a daemon that hangs holds up nobody.
///
/// Main thread only; nothing may destroy it from a callback of its own. A daemon or a bus that goes is waited for and
/// taken up again, without a wake-up in between. What was made at a daemon is lost with it and must be dropped when its
/// end is announced.
class AvahiConnection final {
public:
    enum class State {
        Unknown, ///< until the first look is over
        Absent,
        Running,
    };
    using Observer = std::function<void(State state)>;

    AvahiConnection();
    AvahiConnection(const AvahiConnection&) = delete;
    AvahiConnection& operator=(const AvahiConnection&) = delete;
    ~AvahiConnection();

    /// Makes the link if nobody has asked before.
    [[nodiscard]] State state();
    /// Why there is no daemon.
    [[nodiscard]] std::string failure() const;

    /// Tells of each change.
    Subscription observe(Observer observer);

    /// Objects that were asked for and not answered yet.
    [[nodiscard]] int unanswered() const;
    /// Called after each of these answers. It must not throw.
    void setAnswered(std::function<void()> answered) { m_answered = std::move(answered); }

    /// The one that runs.
    [[nodiscard]] const std::shared_ptr<AvahiDaemonLife>& daemon() const { return m_daemon; }

private:
    struct Callbacks;

    void busChanged(_GDBusConnection* connection);
    void daemonAppeared(const std::string& owner);
    void daemonVanished();
    void unwatch();
    void endDaemon();
    void become(State state);

    State m_state = State::Unknown;
    _GDBusConnection* m_bus = nullptr; ///< the link's
    unsigned m_nameWatch = 0;
    unsigned m_signals = 0;
    std::shared_ptr<AvahiDaemonLife> m_daemon;
    std::function<void()> m_answered;
    ObserverList<State> m_observers;
    std::optional<MessageBus> m_link;
};

} // namespace quorrel
