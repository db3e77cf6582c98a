// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quorrel {

class PropertyValue;

/// Text keys with values, in the order in which they were first set. A value type: one thread at a time.
class Dictionary final {
public:
    using Entry = std::pair<std::string, PropertyValue>;

    /// Takes many entries at once, in time proportional to their number. REQUIRES: no key twice.
    [[nodiscard]] static Dictionary withDistinctKeys(std::vector<Entry> entries);

    /// Storing an absent value removes the key.
    void set(std::string key, std::optional<PropertyValue> value);

    [[nodiscard]] const PropertyValue* find(std::string_view key) const;

    /// The value of that kind under the key; absent also when the value is of another kind. An integer reads
    /// as a flag too, since other tools write flags so.
    [[nodiscard]] std::optional<std::string> text(std::string_view key) const;
    [[nodiscard]] std::optional<bool> flag(std::string_view key) const;
    [[nodiscard]] std::optional<double> number(std::string_view key) const;
    /// Null when there is no array under the key.
    [[nodiscard]] const std::vector<PropertyValue>* array(std::string_view key) const;

    [[nodiscard]] const std::vector<Entry>& entries() const { return m_entries; }
    [[nodiscard]] bool isEmpty() const;

    friend bool operator==(const Dictionary& left, const Dictionary& right);

private:
    std::vector<Entry> m_entries;
};

/// One value of a property list.
class PropertyValue final {
public:
    using Array = std::vector<PropertyValue>;
    using Data = std::vector<std::uint8_t>;
    using Variant = std::variant<bool, std::int64_t, double, std::string, Data, Array, Dictionary>;

    PropertyValue(bool value)
        : m_value(value) { }
    PropertyValue(int value)
        : m_value(static_cast<std::int64_t>(value)) { }
    PropertyValue(std::int64_t value)
        : m_value(value) { }
    PropertyValue(double value)
        : m_value(value) { }
    PropertyValue(const char* value)
        : m_value(std::string(value)) { }
    PropertyValue(std::string value)
        : m_value(std::move(value)) { }
    PropertyValue(Data value)
        : m_value(std::move(value)) { }
    PropertyValue(Array value)
        : m_value(std::move(value)) { }
    PropertyValue(Dictionary value)
        : m_value(std::move(value)) { }

    [[nodiscard]] const Variant& variant() const { return m_value; }

    friend bool operator==(const PropertyValue& left, const PropertyValue& right) {
        return left.m_value == right.m_value;
    }

private:
    Variant m_value;
};

} // namespace quorrel
