// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Platform/VolumeService.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {

/// Which number stands for which volume, and which gvfs mounts are about to go. Any thread.
class VolumeReferences final {
public:
    struct Entry final {
        std::string identity; ///< the readable path below gvfs; the URI where there is none
        MountedVolume description;
    };

    /// The number of that volume, a new one if it has none. Absent while the gvfs mount it lies in is being taken away.
    [[nodiscard]] std::optional<std::int16_t> enter(
        const std::string& identity, const std::string& mountIdentity, MountedVolume description);
    [[nodiscard]] std::optional<Entry> find(std::int16_t volumeReference) const;
    [[nodiscard]] std::optional<Entry> find(const std::string& identity) const;
    [[nodiscard]] std::vector<Entry> entries() const;
    void forget(std::int16_t volumeReference);

    /// Declares that the mount is about to go, unless an entry besides that one lies in it; whether it may go. What
    /// lies in it cannot be entered until `endRemoval`.
    [[nodiscard]] bool beginRemoval(std::int16_t volumeReference, const std::string& mountIdentity);
    void endRemoval(const std::string& mountIdentity);

private:
    [[nodiscard]] bool isInUse(std::int16_t volumeReference) const REQUIRES(m_mutex);

    mutable Mutex m_mutex;
    std::vector<Entry> m_entries GUARDED_BY(m_mutex);
    std::set<std::string> m_leaving GUARDED_BY(m_mutex);
    std::int16_t m_last GUARDED_BY(m_mutex) = 0;
};

} // namespace quorrel
