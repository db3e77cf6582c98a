// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiRecordWatches.h"

#include "Platform/Linux/GlibPointers.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace quorrel {

namespace {

constexpr int mostUnanswered = 32; // the strictest of buses allows four times as many
constexpr std::size_t mostLinks = 16;
constexpr int anywhere = -1;
constexpr guint16 internetClass = 1;
constexpr guint16 textType = 16;

std::optional<AvahiRecord> recordIn(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(iisqqayu)")))
        return std::nullopt;
    AvahiRecord record {};
    g_variant_get_child(parameters, 0, "i", &record.interface);
    g_variant_get_child(parameters, 1, "i", &record.protocol);
    const GlibPointer<GVariant> data(g_variant_get_child_value(parameters, 5));
    gsize size = 0;
    const auto* bytes = static_cast<const guint8*>(g_variant_get_fixed_array(data.get(), &size, sizeof(guint8)));
    record.data.assign(bytes, bytes + size);
    return record;
}

} // namespace

struct AvahiRecordWatches::Link final {
    AvahiConnection connection;
    Subscription changes;
    bool isFull = false;
    int ended = 0; ///< watches, each of which makes room
};

struct AvahiRecordWatches::Entry final {
    std::string recordName;
    std::uint64_t number; ///< who came first is served first
    AvahiRecordWatcher* watcher;
    std::list<Entry>* home;
    Link* link = nullptr;
    std::unique_ptr<AvahiObject> browser {};
};

AvahiRecordWatches::AvahiRecordWatches() = default;

// What is left with the daemon goes with the clients.
AvahiRecordWatches::~AvahiRecordWatches() = default;

AvahiRecordWatches::Watch AvahiRecordWatches::add(std::string recordName, AvahiRecordWatcher& watcher) {
    m_waiting.push_back({ std::move(recordName), m_added++, &watcher, &m_waiting });
    wake();
    return std::prev(m_waiting.end());
}

void AvahiRecordWatches::remove(Watch watch) {
    if (auto* link = watch->link) {
        link->isFull = false;
        ++link->ended;
        wake();
    }
    watch->home->erase(watch);
}

void AvahiRecordWatches::move(Watch watch, std::list<Entry>& home) {
    home.splice(home.end(), *watch->home, watch);
    watch->home = &home;
}

void AvahiRecordWatches::wake() {
    m_timer.start(Seconds(0), [this] { work(); });
}

void AvahiRecordWatches::work() {
    while (startOne()) { }
}

bool AvahiRecordWatches::startOne() {
    if (m_waiting.empty())
        return false;
    auto* link = linkWithRoom();
    if (!link || link->connection.state() != AvahiConnection::State::Running)
        return false; // its coming will be told
    const auto watch = m_waiting.begin();
    const auto told = [watch](const std::string& signal, GVariant* parameters) {
        const auto record = recordIn(parameters);
        if (record && signal == "ItemNew")
            watch->watcher->recordAppeared(*record); // may remove the watch
        else if (record && signal == "ItemRemove")
            watch->watcher->recordWent(*record); // likewise
    };
    const auto ended = link->ended;
    watch->link = link;
    watch->browser = std::make_unique<AvahiObject>(link->connection, "RecordBrowser",
        g_variant_new("(iisqqu)", anywhere, anywhere, watch->recordName.c_str(), internetClass, textType, 0U),
        AvahiObject::Hearer { told, [this, watch, ended](AvahiObject::Refusal refusal, const std::string& reason) {
                                 refused(watch, refusal, reason, ended);
                             } });
    move(watch, m_running);
    return true;
}

void AvahiRecordWatches::refused(
    Watch watch, AvahiObject::Refusal refusal, const std::string& reason, int endedBefore) {
    if (refusal == AvahiObject::Refusal::Lost)
        return; // the daemon goes this very moment, which is about to be told
    auto& link = *std::exchange(watch->link, nullptr);
    watch->browser.reset();
    if (refusal == AvahiObject::Refusal::Full) {
        const auto place = std::find_if(
            m_waiting.begin(), m_waiting.end(), [&](const Entry& each) { return each.number > watch->number; });
        m_waiting.splice(place, *watch->home, watch);
        watch->home = &m_waiting;
        link.isFull = link.ended == endedBefore; // or there is room by now
        if (!link.isFull || &link != m_links.back().get() || m_links.size() < mostLinks)
            return;
    } else {
        move(watch, m_refused);
    }
    if (!std::exchange(m_toldOfRefusal, true))
        g_message("Avahi does not watch the record %s: %s", watch->recordName.c_str(), reason.c_str());
}

AvahiRecordWatches::Link* AvahiRecordWatches::linkWithRoom() {
    for (const auto& link : m_links)
        if (!link->isFull)
            return link->connection.unanswered() < mostUnanswered ? link.get() : nullptr;
    if (m_links.size() >= mostLinks)
        return nullptr;
    auto& link = *m_links.emplace_back(std::make_unique<Link>());
    link.connection.setAnswered([this] { work(); });
    link.changes
        = link.connection.observe([this, &link](AvahiConnection::State state) { connectionChanged(link, state); });
    return &link;
}

void AvahiRecordWatches::connectionChanged(Link& link, AvahiConnection::State state) {
    link.isFull = false;
    while (!m_refused.empty())
        move(m_refused.begin(), m_waiting);
    if (state == AvahiConnection::State::Running) {
        wake();
        return;
    }
    for (auto each = m_running.begin(); each != m_running.end();) {
        const auto entry = each++;
        if (entry->link != &link)
            continue;
        entry->browser.reset();
        entry->link = nullptr;
        move(entry, m_waiting);
        entry->watcher->recordsWereLost();
    }
}

} // namespace quorrel
