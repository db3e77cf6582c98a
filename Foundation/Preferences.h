// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Foundation/ObserverList.h"
#include "Foundation/PreferencesStore.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// The user's preferences: values by key, with a callback per key.
///
/// Any thread reads and writes; callbacks run on the thread that made the change, with no lock held. A key that was
/// never set is absent, which differs from false.
class Preferences final {
public:
    using Callback = std::function<void(const std::optional<PreferenceValue>& newValue)>;

    /// Reads everything from the store; without one, the values live as long as this object.
    explicit Preferences(std::shared_ptr<PreferencesStore> store = nullptr);
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    [[nodiscard]] std::optional<PreferenceValue> value(std::string_view key) const;
    /// Absent and of another kind read as false, as empty.
    [[nodiscard]] bool boolean(std::string_view key) const;
    [[nodiscard]] std::string text(std::string_view key) const;
    [[nodiscard]] std::vector<std::string> texts(std::string_view key) const;

    /// Sets, or removes with an absent value, and writes the store. False when that failed; the value then holds for
    /// this run. Observers of the key are told also of an equal value.
    bool set(const std::string& key, std::optional<PreferenceValue> value);

    /// Reads the store again and tells the observers of what changed: for changes made by another process.
    void reload();

    Subscription observe(std::string key, Callback callback);

private:
    const std::shared_ptr<PreferencesStore> m_store;
    Mutex m_storeMutex; ///< held from a change of the values until the store has it: saves must not overtake
    mutable Mutex m_mutex;
    PreferenceValues m_values GUARDED_BY(m_mutex);
    ObserverList<const std::string&, const std::optional<PreferenceValue>&> m_observers;
};

} // namespace quorrel
