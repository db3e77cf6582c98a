// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Dictionary.h"

#include <algorithm>

namespace quorrel {

Dictionary Dictionary::withDistinctKeys(std::vector<Entry> entries) {
    Dictionary dictionary;
    dictionary.m_entries = std::move(entries);
    return dictionary;
}

void Dictionary::set(std::string key, std::optional<PropertyValue> value) {
    const auto found
        = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) { return entry.first == key; });
    if (!value) {
        if (found != m_entries.end())
            m_entries.erase(found);
    } else if (found != m_entries.end()) {
        found->second = std::move(*value);
    } else {
        m_entries.emplace_back(std::move(key), std::move(*value));
    }
}

const PropertyValue* Dictionary::find(std::string_view key) const {
    for (const auto& [name, value] : m_entries)
        if (name == key)
            return &value;
    return nullptr;
}

std::optional<std::string> Dictionary::text(std::string_view key) const {
    const auto* value = find(key);
    const auto* text = value ? std::get_if<std::string>(&value->variant()) : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::optional<bool> Dictionary::flag(std::string_view key) const {
    const auto* value = find(key);
    if (!value)
        return std::nullopt;
    if (const auto* flag = std::get_if<bool>(&value->variant()))
        return *flag;
    if (const auto* number = std::get_if<std::int64_t>(&value->variant()))
        return *number != 0;
    return std::nullopt;
}

std::optional<double> Dictionary::number(std::string_view key) const {
    const auto* value = find(key);
    if (!value)
        return std::nullopt;
    if (const auto* integer = std::get_if<std::int64_t>(&value->variant()))
        return static_cast<double>(*integer);
    if (const auto* real = std::get_if<double>(&value->variant()))
        return *real;
    return std::nullopt;
}

const std::vector<PropertyValue>* Dictionary::array(std::string_view key) const {
    const auto* value = find(key);
    return value ? std::get_if<PropertyValue::Array>(&value->variant()) : nullptr;
}

bool Dictionary::isEmpty() const {
    return m_entries.empty();
}

bool operator==(const Dictionary& left, const Dictionary& right) {
    return left.m_entries == right.m_entries;
}

} // namespace quorrel
