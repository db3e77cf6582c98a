// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Observable.h"

#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace quorrel {

/// One observable field of a record. Any thread reads and writes it.
///
/// Every set notifies under the field's key, also with an equal value: will-change, then the store, then did-change,
/// on the thread that set it, with no lock held. With an `Owner`, only that class may set it: for fields whose setter
/// does more than store.
template <typename T, typename Owner = void>
class Property final {
public:
    Property(const Observable& object, const char* key, T initial = {})
        : m_object(object)
        , m_key(key)
        , m_value(std::move(initial)) { }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;

    [[nodiscard]] T get() const {
        const MutexLock lock(m_object.valueMutex());
        return m_value;
    }

    void set(T value) requires std::is_void_v<Owner> { assign(std::move(value)); }

private:
    friend Owner;

    void assign(T value) {
        assign(std::move(value), [](const T&, const T&) {});
    }

    /// `stored` is told of the values before and after, with the lock held.
    template <typename Stored>
    void assign(T value, const Stored& stored) {
        m_object.willChangeValueForKey(m_key);
        {
            // Swapped, so that the old value is destroyed after the lock is gone.
            const MutexLock lock(m_object.valueMutex());
            std::swap(m_value, value);
            stored(value, m_value);
        }
        m_object.didChangeValueForKey(m_key);
    }

    const Observable& m_object;
    const char* m_key;
    T m_value GUARDED_BY(m_object.valueMutex());
};

using OptionalText = std::optional<std::string>;
using OptionalFlag = std::optional<bool>;

/// An absent flag reads as false, an absent text as empty.
[[nodiscard]] inline bool isSet(const OptionalFlag& flag) {
    return flag.value_or(false);
}
[[nodiscard]] inline std::string textOf(const OptionalText& text) {
    return text.value_or(std::string());
}

} // namespace quorrel
