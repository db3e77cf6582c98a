// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

struct AvahiRecordBrowser;

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
/// To start or to end a watch costs the daemon's answer, which libavahi waits for; so they are started and ended in
/// short spells, between which the main loop goes on. The daemon allows each client but so many objects, 1024 if nobody
/// changed that. Therefore they have clients of their own, and a further one when the last is full, up to a limit.
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
    struct Callbacks;
    struct Link;

    void work();
    /// Each does a little of the work, which one call of the daemon is; false when there is none to do.
    [[nodiscard]] bool endOne();
    [[nodiscard]] bool startOne();
    [[nodiscard]] Link* linkWithRoom();
    /// Whether to go on with others.
    [[nodiscard]] bool refused(Link& link, Watch watch, int error, Seconds took);
    void connectionChanged(Link& link, AvahiClient* client);
    void move(Watch watch, std::list<Entry>& home);
    void free(Entry& entry);
    void wake();

    std::vector<std::unique_ptr<Link>> m_links;
    std::list<Entry> m_waiting; ///< for the daemon, or for room
    std::list<Entry> m_running;
    std::list<Entry> m_refused; ///< until there is another connection
    std::list<Entry> m_ending; ///< that nobody wants any more
    bool m_toldOfRefusal = false;
    MainLoopTimer m_timer;
};

} // namespace quorrel
