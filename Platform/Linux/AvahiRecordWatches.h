// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/AvahiObject.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// A record as it is seen in one place.
struct AvahiRecord final {
    int interface;
    int protocol;
    std::vector<std::uint8_t> data;

    bool operator==(const AvahiRecord&) const = default;
};

/// Hears of the records of one name, on the main thread.
class AvahiRecordWatcher {
public:
    virtual ~AvahiRecordWatcher() = default;

    virtual void recordAppeared(const AvahiRecord& record) = 0;
    virtual void recordWent(const AvahiRecord& record) = 0;
    /// The daemon went, and its records with it.
    virtual void recordsWereLost() = 0;
};

/// Watches TXT records: there may be as many as there are hosts in the catalogue. Main thread only.
///
/// The bus allows each client but so many unanswered questions; so the watches are started a few at a time. The daemon
/// allows each client but so many objects, 1024 if nobody changed that. Therefore they have clients of their own, and a
/// further one when the last is full, up to a limit.
class AvahiRecordWatches final {
    struct Entry;

public:
    using Watch = std::list<Entry>::iterator;

    AvahiRecordWatches();
    AvahiRecordWatches(const AvahiRecordWatches&) = delete;
    AvahiRecordWatches& operator=(const AvahiRecordWatches&) = delete;
    ~AvahiRecordWatches();

    /// The watcher hears of nothing before this returns, and must stand until its watch is removed.
    [[nodiscard]] Watch add(std::string recordName, AvahiRecordWatcher& watcher);
    void remove(Watch watch);

private:
    struct Link;

    void work();
    /// False when there is none to start, or nowhere to start it now.
    [[nodiscard]] bool startOne();
    [[nodiscard]] Link* linkWithRoom();
    void refused(Watch watch, AvahiObject::Refusal refusal, const std::string& reason, int endedBefore);
    void connectionChanged(Link& link, AvahiConnection::State state);
    void move(Watch watch, std::list<Entry>& home);
    void wake();

    std::vector<std::unique_ptr<Link>> m_links;
    std::list<Entry> m_waiting; ///< for the daemon, or for room
    std::list<Entry> m_running;
    std::list<Entry> m_refused; ///< until there is another connection
    std::uint64_t m_added = 0;
    bool m_toldOfRefusal = false;
    MainLoopTimer m_timer;
};

} // namespace quorrel
