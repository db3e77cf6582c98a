// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObserverList.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <functional>
#include <memory>
#include <string>

struct AvahiClient;
struct AvahiGLibPoll;

namespace quorrel {

/// The program's link to the Avahi daemon, on the main GLib context, shared by all that resolves, browses and watches.
///
/// Main thread only; nothing may destroy it from a callback of Avahi's. A daemon or a bus that goes is waited for and
/// taken up again. What was made with a client is lost with it and must be freed when its end is announced.
class AvahiConnection final {
public:
    using Observer = std::function<void(AvahiClient* client)>;

    AvahiConnection();
    AvahiConnection(const AvahiConnection&) = delete;
    AvahiConnection& operator=(const AvahiConnection&) = delete;
    ~AvahiConnection();

    /// The client of a running daemon, or null while there is none. Makes the link if there was none to wait for.
    [[nodiscard]] AvahiClient* client();
    /// Why there is no client.
    [[nodiscard]] const std::string& failure() const { return m_failure; }

    /// How long to leave alone a daemon or a bus that took so long to fail. libavahi waits for each answer, and the
    /// main loop with it; one that hangs must not take up all of its time.
    [[nodiscard]] static Seconds pauseAfter(Seconds took);

    /// Tells of each daemon that is found, and with null of each that is lost, while its client still stands.
    Subscription observe(Observer observer);

private:
    struct Callbacks;
    struct Deleter final {
        void operator()(AvahiClient* client) const;
        void operator()(AvahiGLibPoll* poll) const;
    };

    void connect();
    void stateChanged(int state);
    void lose(const std::string& reason);

    const std::unique_ptr<AvahiGLibPoll, Deleter> m_poll;
    std::unique_ptr<AvahiClient, Deleter> m_client; // there, but not of use while the daemon is away
    bool m_isMakingClient = false;
    bool m_isConnected = false;
    std::string m_failure;
    MainLoopTimer m_retry;
    ObserverList<AvahiClient*> m_observers;
};

} // namespace quorrel
