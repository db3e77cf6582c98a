// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Observable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace quorrel {

/// An observable list that several threads touch. Readers work on a snapshot, so that a list may change under a walk.
///
/// Any thread. Every change notifies as `Property` does, under the list's key.
template <typename T>
class ObservableList final {
public:
    ObservableList(const Observable& object, const char* key)
        : m_object(object)
        , m_key(key) { }
    ObservableList(const ObservableList&) = delete;
    ObservableList& operator=(const ObservableList&) = delete;

    [[nodiscard]] std::vector<T> snapshot() const {
        const MutexLock lock(m_object.valueMutex());
        return m_items;
    }

    [[nodiscard]] std::size_t count() const {
        const MutexLock lock(m_object.valueMutex());
        return m_items.size();
    }

    /// The item at that place of the list as it is now; absent behind its end.
    [[nodiscard]] std::optional<T> itemAt(std::size_t place) const {
        const MutexLock lock(m_object.valueMutex());
        return place < m_items.size() ? std::optional(m_items[place]) : std::nullopt;
    }

    /// Grows with every change, announced or not.
    [[nodiscard]] std::uint64_t changes() const {
        const MutexLock lock(m_object.valueMutex());
        return m_changes;
    }

    void append(T item) {
        change([&](std::vector<T>& items) { items.push_back(std::move(item)); });
    }

    /// Removes every item that is equal; the list is announced as changed in any case.
    void remove(const T& item) {
        std::vector<T> removed; // destroyed after the lock is gone
        change([&](std::vector<T>& items) {
            const auto end
                = std::stable_partition(items.begin(), items.end(), [&](const T& each) { return !(each == item); });
            removed.assign(std::make_move_iterator(end), std::make_move_iterator(items.end()));
            items.erase(end, items.end());
        });
    }

    void removeAll() { replace({}); }

    /// Puts a whole new content in place, with one announcement.
    void replace(std::vector<T> items) {
        change([&](std::vector<T>& current) { std::swap(current, items); });
    }

    /// Puts a new content in place without an announcement, for an owner that announces a larger change itself.
    void replaceUnannounced(std::vector<T> items) {
        const MutexLock lock(m_object.valueMutex());
        std::swap(m_items, items);
        ++m_changes;
    }

private:
    template <typename Edit>
    void change(Edit edit) {
        m_object.willChangeValueForKey(m_key);
        {
            const MutexLock lock(m_object.valueMutex());
            edit(m_items);
            ++m_changes;
        }
        m_object.didChangeValueForKey(m_key);
    }

    const Observable& m_object;
    const char* m_key;
    std::vector<T> m_items GUARDED_BY(m_object.valueMutex());
    std::uint64_t m_changes GUARDED_BY(m_object.valueMutex()) = 0;
};

} // namespace quorrel
