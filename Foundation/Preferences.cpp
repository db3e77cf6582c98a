// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Preferences.h"

#include <set>
#include <utility>

namespace quorrel {

namespace {

template <typename T>
T valueOr(const std::optional<PreferenceValue>& value, T fallback) {
    const auto* wanted = value ? std::get_if<T>(&*value) : nullptr;
    return wanted ? *wanted : std::move(fallback);
}

} // namespace

Preferences::Preferences(std::shared_ptr<PreferencesStore> store)
    : m_store(std::move(store)) {
    if (m_store)
        m_values = m_store->load();
}

std::optional<PreferenceValue> Preferences::value(std::string_view key) const {
    const MutexLock lock(m_mutex);
    const auto found = m_values.find(key);
    return found == m_values.end() ? std::nullopt : std::optional(found->second);
}

bool Preferences::boolean(std::string_view key) const {
    return valueOr(value(key), false);
}

std::string Preferences::text(std::string_view key) const {
    return valueOr(value(key), std::string());
}

std::vector<std::string> Preferences::texts(std::string_view key) const {
    return valueOr(value(key), std::vector<std::string>());
}

bool Preferences::set(const std::string& key, std::optional<PreferenceValue> value) {
    bool saved = true;
    {
        const MutexLock storeLock(m_storeMutex);
        PreferenceValues all;
        {
            const MutexLock lock(m_mutex);
            if (value)
                m_values[key] = *value;
            else
                m_values.erase(key);
            all = m_values;
        }
        saved = !m_store || m_store->save(all);
    }
    m_observers.notify(key, value);
    return saved;
}

void Preferences::reload() {
    if (!m_store)
        return;
    std::set<std::string> changed;
    {
        const MutexLock storeLock(m_storeMutex);
        auto fresh = m_store->load();
        const MutexLock lock(m_mutex);
        for (const auto& [key, value] : fresh)
            if (const auto old = m_values.find(key); old == m_values.end() || old->second != value)
                changed.insert(key);
        for (const auto& [key, value] : m_values)
            if (!fresh.contains(key))
                changed.insert(key);
        m_values = std::move(fresh);
    }
    for (const auto& key : changed)
        m_observers.notify(key, value(key));
}

Subscription Preferences::observe(std::string key, Callback callback) {
    return m_observers.add([wanted = std::move(key), call = std::move(callback)](
                               const std::string& changed, const std::optional<PreferenceValue>& value) {
        if (changed == wanted)
            call(value);
    });
}

} // namespace quorrel
