// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/HostIndex.h"

#include "Sources/HostDefinition.h"

#include <utility>

namespace quorrel {

HostIndex::HostIndex(const ObservableList<HostPointer>& hosts, const ChangeCount& names)
    : m_hosts(hosts)
    , m_names(names) { }

HostIndex::HostPointer HostIndex::firstNamed(const std::string& displayName) {
    if (m_read != state())
        readAll();
    const auto found = m_places.find(displayName);
    return found == m_places.end() ? nullptr : m_hosts.itemAt(found->second).value_or(nullptr);
}

HostIndex::State HostIndex::state() const {
    return { m_hosts.changes(), m_names.load() };
}

void HostIndex::readAll() {
    // Before the names: one that changes meanwhile is read again.
    m_read = state();
    m_places.clear();
    const auto all = m_hosts.snapshot();
    m_places.reserve(all.size());
    for (std::size_t place = 0; place < all.size(); ++place)
        if (auto name = all[place]->displayName.get())
            m_places.emplace(std::move(*name), place);
}

} // namespace quorrel
