// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiTXTRecordMonitor.h"

#include <algorithm>
#include <utility>

namespace quorrel {

AvahiTXTRecordMonitor::AvahiTXTRecordMonitor(
    AvahiRecordWatches& watches, const std::string& recordName, std::function<void(const Bytes& data)> changed)
    : m_watches(watches)
    , m_changed(std::move(changed))
    , m_watch(watches.add(recordName, *this)) { }

AvahiTXTRecordMonitor::~AvahiTXTRecordMonitor() {
    m_watches.remove(m_watch);
}

void AvahiTXTRecordMonitor::recordAppeared(const AvahiRecord& record) {
    m_records.push_back(record);
    show(record.data);
}

void AvahiTXTRecordMonitor::recordWent(const AvahiRecord& record) {
    const auto found = std::find(m_records.begin(), m_records.end(), record);
    if (found == m_records.end())
        return;
    m_records.erase(found);
    show(m_records.empty() ? Bytes() : Bytes(m_records.back().data));
}

void AvahiTXTRecordMonitor::show(const Bytes& data) {
    if (data == m_shown)
        return;
    m_shown = data;
    const auto changed = m_changed; // which may destroy this
    changed(data);
}

} // namespace quorrel
