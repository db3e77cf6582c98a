// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiRecordWatches.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/defs.h>
#include <avahi-common/error.h>

#include <glib.h>

#include <chrono>
#include <utility>

namespace quorrel {

namespace {

constexpr std::chrono::milliseconds spell { 4 };
constexpr std::size_t mostLinks = 16;

} // namespace

struct AvahiRecordWatches::Link final {
    AvahiConnection connection;
    Subscription changes;
    bool isFull = false;
};

struct AvahiRecordWatches::Entry final {
    std::string recordName;
    AvahiRecordWatcher* watcher; ///< null once the watch is removed
    std::list<Entry>* home;
    Link* link = nullptr;
    AvahiRecordBrowser* browser = nullptr;
};

struct AvahiRecordWatches::Callbacks final {
    static void sawRecord(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
        const char*, std::uint16_t, std::uint16_t, const void* data, std::size_t size, AvahiLookupResultFlags,
        void* entry) noexcept {
        auto* watcher = static_cast<Entry*>(entry)->watcher;
        if (!watcher || (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE))
            return;
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        const AvahiRecord record { interface, protocol, { bytes, bytes + size } };
        if (event == AVAHI_BROWSER_NEW)
            watcher->recordAppeared(record); // may remove the watch
        else
            watcher->recordWent(record); // likewise
    }
};

AvahiRecordWatches::AvahiRecordWatches() = default;

// What is left with the daemon goes with the clients.
AvahiRecordWatches::~AvahiRecordWatches() = default;

AvahiRecordWatches::Watch AvahiRecordWatches::add(std::string recordName, AvahiRecordWatcher& watcher) {
    m_waiting.push_back({ std::move(recordName), &watcher, &m_waiting });
    wake();
    return std::prev(m_waiting.end());
}

void AvahiRecordWatches::remove(Watch watch) {
    if (!watch->browser) {
        watch->home->erase(watch);
        return;
    }
    watch->watcher = nullptr;
    move(watch, m_ending);
    wake();
}

void AvahiRecordWatches::move(Watch watch, std::list<Entry>& home) {
    home.splice(home.end(), *watch->home, watch);
    watch->home = &home;
}

void AvahiRecordWatches::wake() {
    m_timer.start(Seconds(0), [this] { work(); });
}

void AvahiRecordWatches::work() {
    const auto end = std::chrono::steady_clock::now() + spell;
    while (endOne() || startOne())
        if (std::chrono::steady_clock::now() >= end) {
            wake();
            return;
        }
}

bool AvahiRecordWatches::endOne() {
    if (m_ending.empty())
        return false;
    auto& entry = m_ending.front();
    entry.link->isFull = false;
    free(entry);
    m_ending.pop_front();
    return true;
}

bool AvahiRecordWatches::startOne() {
    if (m_waiting.empty())
        return false;
    auto* link = linkWithRoom();
    auto* client = link ? link->connection.client() : nullptr;
    if (!client)
        return false; // its coming will be told
    const auto watch = m_waiting.begin();
    const auto start = std::chrono::steady_clock::now();
    watch->browser = avahi_record_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, watch->recordName.c_str(),
        AVAHI_DNS_CLASS_IN, AVAHI_DNS_TYPE_TXT, AvahiLookupFlags {}, &Callbacks::sawRecord, &*watch);
    if (watch->browser) {
        watch->link = link;
        move(watch, m_running);
        return true;
    }
    return refused(*link, watch, avahi_client_errno(client), std::chrono::steady_clock::now() - start);
}

bool AvahiRecordWatches::refused(Link& link, Watch watch, int error, Seconds took) {
    switch (error) {
    case AVAHI_ERR_DISCONNECTED:
    case AVAHI_ERR_NO_DAEMON:
    case AVAHI_ERR_DBUS_ERROR:
        // As if the daemon went this very moment, which is about to be told.
        m_timer.start(AvahiConnection::pauseAfter(took), [this] { work(); });
        return false;
    case AVAHI_ERR_TOO_MANY_OBJECTS:
        link.isFull = true;
        if (&link != m_links.back().get() || m_links.size() < mostLinks)
            return true;
        break;
    default:
        move(watch, m_refused);
        break;
    }
    if (!std::exchange(m_toldOfRefusal, true))
        g_message("Avahi does not watch the record %s: %s", watch->recordName.c_str(), avahi_strerror(error));
    return true;
}

AvahiRecordWatches::Link* AvahiRecordWatches::linkWithRoom() {
    for (const auto& link : m_links)
        if (!link->isFull)
            return link.get();
    if (m_links.size() >= mostLinks)
        return nullptr;
    auto& link = *m_links.emplace_back(std::make_unique<Link>());
    link.changes = link.connection.observe([this, &link](AvahiClient* client) { connectionChanged(link, client); });
    return &link;
}

void AvahiRecordWatches::connectionChanged(Link& link, AvahiClient* client) {
    link.isFull = false;
    while (!m_refused.empty())
        move(m_refused.begin(), m_waiting);
    if (client) {
        wake();
        return;
    }
    for (auto each = m_ending.begin(); each != m_ending.end();) {
        const auto entry = each++;
        if (entry->link != &link)
            continue;
        free(*entry);
        m_ending.erase(entry);
    }
    for (auto each = m_running.begin(); each != m_running.end();) {
        const auto entry = each++;
        if (entry->link != &link)
            continue;
        free(*entry);
        move(entry, m_waiting);
        entry->watcher->recordsWereLost();
    }
}

void AvahiRecordWatches::free(Entry& entry) {
    avahi_record_browser_free(entry.browser);
    entry.browser = nullptr;
    entry.link = nullptr;
}

} // namespace quorrel
