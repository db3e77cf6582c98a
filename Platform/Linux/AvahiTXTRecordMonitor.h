// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/AvahiRecordWatches.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorrel {

/// Tells what a TXT record holds, each time that this changes; nothing at all means that the record is gone. Main
/// thread only; the watches must outlive it. Destroying it, also from its own call, stops it.
///
/// A new record is seen before the old one is taken away, and one that stands on several interfaces is seen several
/// times. So what counts is the youngest of those that are there. While the daemon is away the last one stands.
class AvahiTXTRecordMonitor final : public AvahiRecordWatcher {
public:
    using Bytes = std::vector<std::uint8_t>;

    AvahiTXTRecordMonitor(
        AvahiRecordWatches& watches, const std::string& recordName, std::function<void(const Bytes& data)> changed);
    ~AvahiTXTRecordMonitor() override;
    AvahiTXTRecordMonitor(const AvahiTXTRecordMonitor&) = delete;
    AvahiTXTRecordMonitor& operator=(const AvahiTXTRecordMonitor&) = delete;

    void recordAppeared(const AvahiRecord& record) override;
    void recordWent(const AvahiRecord& record) override;
    void recordsWereLost() override { m_records.clear(); }

private:
    void show(const Bytes& data);

    AvahiRecordWatches& m_watches;
    const std::function<void(const Bytes& data)> m_changed;
    std::vector<AvahiRecord> m_records; ///< the youngest is the last
    Bytes m_shown;
    AvahiRecordWatches::Watch m_watch;
};

} // namespace quorrel
