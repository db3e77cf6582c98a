// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/PreferencesStore.h"

#include <mutex>

namespace quorrel {

/// Preferences in memory, with scripted failure. Any thread.
class FakePreferencesStore final : public PreferencesStore {
public:
    explicit FakePreferencesStore(PreferenceValues values = {});

    [[nodiscard]] PreferenceValues load() override;
    [[nodiscard]] bool save(const PreferenceValues& values) override;

    /// Changes what is stored behind the program's back, as another process does.
    void setValues(PreferenceValues values);
    void failSaves(bool fails);

    [[nodiscard]] PreferenceValues values() const;
    /// Saves that succeeded.
    [[nodiscard]] int saveCount() const;

private:
    mutable std::mutex m_mutex;
    PreferenceValues m_values;
    PreferenceValues m_known; // as last loaded or saved
    bool m_savesFail = false;
    int m_saves = 0;
};

} // namespace quorrel
