// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeReferences.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace quorrel {

std::optional<std::int16_t> VolumeReferences::enter(
    const std::string& identity, const std::string& mountIdentity, MountedVolume description) {
    const MutexLock lock(m_mutex);
    if (m_leaving.contains(mountIdentity))
        return std::nullopt;
    for (auto& entry : m_entries)
        if (entry.identity == identity) {
            description.volumeReference = entry.description.volumeReference;
            entry.description = std::move(description);
            return entry.description.volumeReference;
        }
    // A number that stood for a volume comes back as late as possible, since somebody may still hold it.
    do
        m_last = m_last == std::numeric_limits<std::int16_t>::max() ? std::int16_t { 1 }
                                                                    : static_cast<std::int16_t>(m_last + 1);
    while (isInUse(m_last));
    description.volumeReference = m_last;
    m_entries.push_back({ identity, std::move(description) });
    return m_last;
}

std::optional<VolumeReferences::Entry> VolumeReferences::find(std::int16_t volumeReference) const {
    const MutexLock lock(m_mutex);
    for (const auto& entry : m_entries)
        if (entry.description.volumeReference == volumeReference)
            return entry;
    return std::nullopt;
}

std::optional<VolumeReferences::Entry> VolumeReferences::find(const std::string& identity) const {
    const MutexLock lock(m_mutex);
    for (const auto& entry : m_entries)
        if (entry.identity == identity)
            return entry;
    return std::nullopt;
}

std::vector<VolumeReferences::Entry> VolumeReferences::entries() const {
    const MutexLock lock(m_mutex);
    return m_entries;
}

void VolumeReferences::forget(std::int16_t volumeReference) {
    const MutexLock lock(m_mutex);
    std::erase_if(m_entries, [&](const Entry& entry) { return entry.description.volumeReference == volumeReference; });
}

bool VolumeReferences::beginRemoval(std::int16_t volumeReference, const std::string& mountIdentity) {
    const MutexLock lock(m_mutex);
    const auto sharesIt = [&](const Entry& entry) {
        return entry.description.volumeReference != volumeReference
            && (entry.identity == mountIdentity || entry.identity.starts_with(mountIdentity + "/"));
    };
    if (m_leaving.contains(mountIdentity) || std::any_of(m_entries.begin(), m_entries.end(), sharesIt))
        return false;
    m_leaving.insert(mountIdentity);
    return true;
}

void VolumeReferences::endRemoval(const std::string& mountIdentity) {
    const MutexLock lock(m_mutex);
    m_leaving.erase(mountIdentity);
}

bool VolumeReferences::isInUse(std::int16_t volumeReference) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
        [&](const Entry& entry) { return entry.description.volumeReference == volumeReference; });
}

} // namespace quorrel
