// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiConnection.h"

#include <avahi-client/client.h>
#include <avahi-common/error.h>
#include <avahi-glib/glib-watch.h>

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds shortestPause { 5 };
constexpr Seconds retryAfterFailure { 0.2 }; // a client must not be freed from its own callback

} // namespace

struct AvahiConnection::Callbacks final {
    static void clientChanged(AvahiClient*, AvahiClientState state, void* connection) noexcept {
        static_cast<AvahiConnection*>(connection)->stateChanged(state);
    }
};

void AvahiConnection::Deleter::operator()(AvahiClient* client) const {
    avahi_client_free(client);
}

void AvahiConnection::Deleter::operator()(AvahiGLibPoll* poll) const {
    avahi_glib_poll_free(poll);
}

AvahiConnection::AvahiConnection()
    : m_poll(avahi_glib_poll_new(nullptr, G_PRIORITY_DEFAULT)) { }

AvahiConnection::~AvahiConnection() = default;

AvahiClient* AvahiConnection::client() {
    if (!m_client && !m_isMakingClient)
        connect();
    return m_isConnected ? m_client.get() : nullptr;
}

Subscription AvahiConnection::observe(Observer observer) {
    return m_observers.add(std::move(observer));
}

Seconds AvahiConnection::pauseAfter(Seconds took) {
    return std::max(shortestPause, took * 10);
}

void AvahiConnection::connect() {
    m_retry.stop();
    int error = 0;
    const auto start = std::chrono::steady_clock::now();
    m_isMakingClient = true; // its first states are told before there is a client to go with them
    m_client.reset(avahi_client_new(
        avahi_glib_poll_get(m_poll.get()), AVAHI_CLIENT_NO_FAIL, &Callbacks::clientChanged, this, &error));
    m_isMakingClient = false;
    if (m_client) {
        stateChanged(avahi_client_get_state(m_client.get()));
    } else {
        m_failure = avahi_strerror(error);
        m_retry.start(pauseAfter(std::chrono::steady_clock::now() - start), [this] { connect(); });
    }
}

void AvahiConnection::stateChanged(int state) {
    if (m_isMakingClient)
        return;
    switch (state) {
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_RUNNING:
    case AVAHI_CLIENT_S_COLLISION:
        if (!std::exchange(m_isConnected, true))
            m_observers.notify(m_client.get());
        break;
    case AVAHI_CLIENT_CONNECTING:
        lose(avahi_strerror(AVAHI_ERR_NO_DAEMON));
        break;
    case AVAHI_CLIENT_FAILURE:
    default:
        m_retry.start(retryAfterFailure, [this] {
            m_client.reset();
            connect();
        });
        lose(avahi_strerror(avahi_client_errno(m_client.get())));
        break;
    }
}

void AvahiConnection::lose(const std::string& reason) {
    m_failure = reason;
    if (std::exchange(m_isConnected, false))
        m_observers.notify(nullptr);
}

} // namespace quorrel
