// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObserverList.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace quorrel {

/// What changed in a list that a window shows: the objects or their order, or which of them are selected.
enum class ListChange { Arrangement, Selection };

enum class SortOrder { Ascending, Descending };

struct SortDescriptor final {
    std::string key;
    SortOrder order = SortOrder::Ascending;

    friend bool operator==(const SortDescriptor&, const SortDescriptor&) = default;
};

/// A list as a window shows it: sorted, with a selection that survives changes of the content. Main thread. What is in
/// it can be hashed.
template <typename T>
class ListController final {
public:
    /// How the value under a sort key reads, and how two such values compare (less than).
    using KeyReader = std::function<std::string(const T& item, std::string_view key)>;
    using Comparison = std::function<bool(const std::string& left, const std::string& right)>;

    explicit ListController(KeyReader keyReader, Comparison comparison = std::less<>())
        : m_keyReader(std::move(keyReader))
        , m_comparison(std::move(comparison)) { }

    void setSortDescriptors(std::vector<SortDescriptor> descriptors) {
        m_descriptors = std::move(descriptors);
        rearrange();
    }

    /// Shows another content; what is selected and still there stays selected.
    void setContent(std::vector<T> content) {
        m_arranged = std::move(content);
        rearrange();
    }

    /// Sorts again, for when what the sort keys read has changed.
    void rearrange() {
        arrange();
        // Whoever hears of the arrangement may ask for the selection.
        auto left = selectable(m_selected);
        const bool isChanged = left != m_selected;
        m_selected = left;
        m_observers.notify(ListChange::Arrangement);
        // An observer that selected something else has announced that.
        if (isChanged && m_selected == left)
            m_observers.notify(ListChange::Selection);
    }

    [[nodiscard]] const std::vector<T>& arrangedObjects() const { return m_arranged; }

    /// Selects those of the items that are in the content, in the order of the list.
    void setSelectedObjects(const std::vector<T>& items) {
        auto selected = selectable(items);
        if (selected == m_selected)
            return;
        m_selected = std::move(selected);
        m_observers.notify(ListChange::Selection);
    }

    [[nodiscard]] const std::vector<T>& selectedObjects() const { return m_selected; }

    /// Called after each new arrangement, and after each change of the selection, a new arrangement's included. What a
    /// new arrangement lacks is no longer selected when that is announced.
    Subscription observe(std::function<void(ListChange change)> callback) {
        return m_observers.add(std::move(callback));
    }

private:
    void arrange() {
        // Each item's keys are read once, not once per comparison: reading takes a record's lock.
        std::vector<std::pair<std::vector<std::string>, T>> keyed;
        keyed.reserve(m_arranged.size());
        for (auto& item : m_arranged) {
            std::vector<std::string> keys;
            for (const auto& descriptor : m_descriptors)
                keys.push_back(m_keyReader(item, descriptor.key));
            keyed.emplace_back(std::move(keys), std::move(item));
        }
        std::stable_sort(keyed.begin(), keyed.end(),
            [&](const auto& left, const auto& right) { return comesBefore(left.first, right.first); });
        for (std::size_t index = 0; index < keyed.size(); ++index)
            m_arranged[index] = std::move(keyed[index].second);
    }

    [[nodiscard]] std::vector<T> selectable(const std::vector<T>& items) const {
        std::vector<T> found;
        if (items.empty())
            return found;
        const std::unordered_set<T> wanted(items.begin(), items.end());
        std::copy_if(m_arranged.begin(), m_arranged.end(), std::back_inserter(found),
            [&](const T& item) { return wanted.contains(item); });
        return found;
    }

    [[nodiscard]] bool comesBefore(const std::vector<std::string>& left, const std::vector<std::string>& right) const {
        for (std::size_t index = 0; index < m_descriptors.size(); ++index) {
            const bool ascending = m_descriptors[index].order == SortOrder::Ascending;
            const auto& first = ascending ? left[index] : right[index];
            const auto& second = ascending ? right[index] : left[index];
            if (m_comparison(first, second))
                return true;
            if (m_comparison(second, first))
                return false;
        }
        return false;
    }

    const KeyReader m_keyReader;
    const Comparison m_comparison;
    std::vector<SortDescriptor> m_descriptors;
    std::vector<T> m_arranged;
    std::vector<T> m_selected;
    ObserverList<ListChange> m_observers;
};

} // namespace quorrel
