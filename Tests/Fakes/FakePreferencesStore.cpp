// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakePreferencesStore.h"

#include <utility>

namespace quorrel {

FakePreferencesStore::FakePreferencesStore(PreferenceValues values)
    : m_values(std::move(values)) { }

PreferenceValues FakePreferencesStore::load() {
    const std::lock_guard lock(m_mutex);
    m_known = m_values;
    return m_values;
}

bool FakePreferencesStore::save(const PreferenceValues& values) {
    const std::lock_guard lock(m_mutex);
    if (m_savesFail)
        return false;
    for (const auto& [key, value] : values)
        if (const auto old = m_known.find(key); old == m_known.end() || old->second != value)
            m_values[key] = value;
    for (const auto& [key, value] : m_known)
        if (!values.contains(key))
            m_values.erase(key);
    m_known = values;
    ++m_saves;
    return true;
}

void FakePreferencesStore::setValues(PreferenceValues values) {
    const std::lock_guard lock(m_mutex);
    m_values = std::move(values);
}

void FakePreferencesStore::failSaves(bool fails) {
    const std::lock_guard lock(m_mutex);
    m_savesFail = fails;
}

PreferenceValues FakePreferencesStore::values() const {
    const std::lock_guard lock(m_mutex);
    return m_values;
}

int FakePreferencesStore::saveCount() const {
    const std::lock_guard lock(m_mutex);
    return m_saves;
}

} // namespace quorrel
