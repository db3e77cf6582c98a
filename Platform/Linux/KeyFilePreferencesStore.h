// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Foundation/PreferencesStore.h"

#include <optional>
#include <string>

namespace quorrel {

/// Preferences in a key file that people can edit. Any thread.
///
/// A group per kind keeps the text "true" apart from the flag. What the file has besides - comments, other groups,
/// values of another kind - survives a save. A file that cannot be parsed is kept under another name before a save
/// replaces it. In texts, bytes that are not UTF-8 and zero bytes become U+FFFD.
class KeyFilePreferencesStore final : public PreferencesStore {
public:
    explicit KeyFilePreferencesStore(std::string path);

    /// A file that is missing or cannot be parsed gives the values that were known: none at first, and later it is one
    /// that somebody is editing.
    [[nodiscard]] PreferenceValues load() override;
    /// Creates the folder, for the owner alone. Fails also for a key that a key file cannot hold.
    [[nodiscard]] bool save(const PreferenceValues& values) override;

private:
    const std::string m_path;
    Mutex m_mutex;
    PreferenceValues m_known GUARDED_BY(
        m_mutex); ///< as last read or written; what differs from it is this program's own change
};

} // namespace quorrel
