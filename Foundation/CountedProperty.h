// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"

#include <atomic>
#include <cstdint>
#include <utility>

namespace quorrel {

/// How often something has happened; only ever grows. Any thread.
using ChangeCount = std::atomic<std::uint64_t>;

/// What a property may count.
template <typename T>
bool isOther(const T& before, const T& after) {
    return before != after;
}
inline bool isCleared(const bool& before, const bool& after) {
    return before && !after;
}

/// A property that counts some of its changes, for those that keep something about very many records and cannot observe
/// each: where the count is as it was, nothing has changed. It grows with the value, before did-change. Any thread.
template <typename T, bool (*IsCounted)(const T& before, const T& after)>
class CountedProperty final {
public:
    /// The count must outlive it.
    CountedProperty(const Observable& object, const char* key, ChangeCount& count)
        : m_property(object, key)
        , m_count(count) { }

    [[nodiscard]] T get() const { return m_property.get(); }

    void set(T value) {
        m_property.assign(std::move(value), [this](const T& before, const T& after) {
            if (IsCounted(before, after))
                ++m_count;
        });
    }

private:
    Property<T, CountedProperty> m_property;
    ChangeCount& m_count;
};

} // namespace quorrel
