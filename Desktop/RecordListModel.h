// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ListController.h"
#include "Foundation/RecordWatch.h"
#include "Foundation/Subscription.h"

#include <QAbstractListModel>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace quorrel {

/// What the rows of both lists have besides an icon and a name.
namespace RecordRole {
inline constexpr int details = Qt::UserRole; ///< text: the second line
inline constexpr int status = Qt::UserRole + 1; ///< text
inline constexpr int mark = Qt::UserRole + 2; ///< the number of a StatusMark
inline constexpr int isFavorite = Qt::UserRole + 3; ///< bool
inline constexpr int explanation = Qt::UserRole + 4; ///< text: why a share fails, or where it is
} // namespace RecordRole

/// The rows of a list controller's records. Main thread, while the records change on any: changed fields arrive once a
/// turn, and a new arrangement takes away, moves and adds rows, so that views keep their place and their selection.
template <typename Record>
class RecordListModel : public QAbstractListModel {
public:
    using RecordPointer = std::shared_ptr<Record>;
    using Controller = ListController<RecordPointer>;

    /// The queue must outlive the model.
    RecordListModel(MainThreadQueue& queue, QObject* parent)
        : QAbstractListModel(parent)
        , m_watch(queue, [this](const RecordWatch::Changed& changed) { announce(changed); }) { }

    /// Shows the list from now on; null: nothing. The list is borrowed until the next call.
    void setController(Controller* controller) {
        m_subscription = {};
        m_controller = controller;
        if (m_controller)
            m_subscription = m_controller->observe([this](ListChange change) {
                if (change == ListChange::Arrangement)
                    arrange(m_controller->arrangedObjects());
            });
        arrange(m_controller ? m_controller->arrangedObjects() : std::vector<RecordPointer>());
    }

    [[nodiscard]] Controller* controller() const { return m_controller; }
    /// True while rows come and go, when a view's selection changes without its user.
    [[nodiscard]] bool isArranging() const { return m_isArranging; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_records.size());
    }

    /// Null for an index of no row.
    [[nodiscard]] RecordPointer record(const QModelIndex& index) const {
        return index.isValid() && index.row() < rowCount() ? m_records[static_cast<std::size_t>(index.row())] : nullptr;
    }

    /// Invalid for what is not in the list.
    [[nodiscard]] QModelIndex indexOf(const RecordPointer& record) const {
        const auto found = m_rows.find(record.get());
        return found == m_rows.end() ? QModelIndex() : index(found->second);
    }

private:
    using Rows = std::unordered_map<const Observable*, int>;

    /// Beyond so many pieces, one by one takes longer than to show the list anew.
    static constexpr int mostPieces = 64;

    static Rows rowsOf(const std::vector<RecordPointer>& records) {
        Rows rows;
        rows.reserve(records.size());
        for (std::size_t row = 0; row < records.size(); ++row)
            rows.emplace(records[row].get(), static_cast<int>(row));
        return rows;
    }

    /// How many runs of records are in one list and not in the other.
    static int pieces(const std::vector<RecordPointer>& records, const Rows& others) {
        int count = 0;
        bool wasOutside = false;
        for (const auto& record : records) {
            const bool isOutside = !others.contains(record.get());
            count += isOutside && !wasOutside;
            wasOutside = isOutside;
        }
        return count;
    }

    void arrange(std::vector<RecordPointer> wanted) {
        if (wanted == m_records)
            return;
        m_isArranging = true;
        auto rows = rowsOf(wanted);
        const bool keepsNone = std::none_of(
            wanted.begin(), wanted.end(), [this](const auto& record) { return m_rows.contains(record.get()); });
        if (keepsNone || pieces(m_records, rows) + pieces(wanted, m_rows) > mostPieces) {
            beginResetModel();
            m_records = wanted;
            m_rows = rows;
            endResetModel();
        } else {
            removeAllBut(rows);
            sortLike(rows);
            insertMissing(wanted);
        }
        m_rows = std::move(rows);
        m_watch.setRecords(rawPointers());
        m_isArranging = false;
    }

    void removeAllBut(const Rows& wanted) {
        for (int last = rowCount() - 1; last >= 0; --last) {
            int first = last + 1;
            while (first > 0 && !wanted.contains(at(first - 1)))
                --first;
            if (first > last)
                continue;
            beginRemoveRows({}, first, last);
            m_records.erase(m_records.begin() + first, m_records.begin() + last + 1);
            endRemoveRows();
            last = first;
        }
    }

    void sortLike(const Rows& wanted) {
        const auto comesBefore = [&](const RecordPointer& left, const RecordPointer& right) {
            return wanted.at(left.get()) < wanted.at(right.get());
        };
        if (std::is_sorted(m_records.begin(), m_records.end(), comesBefore))
            return;
        emit layoutAboutToBeChanged();
        const auto before = persistentIndexList();
        std::vector<RecordPointer> kept;
        for (const auto& each : before)
            kept.push_back(record(each));
        std::sort(m_records.begin(), m_records.end(), comesBefore);
        const auto rows = rowsOf(m_records);
        QModelIndexList after;
        for (const auto& each : kept)
            after.push_back(index(rows.at(each.get())));
        changePersistentIndexList(before, after);
        emit layoutChanged();
    }

    /// REQUIRES: the rows are some of the wanted ones, in their order.
    void insertMissing(const std::vector<RecordPointer>& wanted) {
        const int count = static_cast<int>(wanted.size());
        for (int first = 0; first < count; ++first) {
            int end = first;
            while (end < count && (first >= rowCount() || wanted[static_cast<std::size_t>(end)].get() != at(first)))
                ++end;
            if (end == first)
                continue;
            beginInsertRows({}, first, end - 1);
            m_records.insert(m_records.begin() + first, wanted.begin() + first, wanted.begin() + end);
            endInsertRows();
            first = end;
        }
    }

    void announce(const RecordWatch::Changed& changed) {
        std::vector<int> rows;
        for (const auto* record : changed)
            if (const auto found = m_rows.find(record); found != m_rows.end())
                rows.push_back(found->second);
        std::sort(rows.begin(), rows.end());
        for (std::size_t first = 0, end = 0; first < rows.size(); first = end) {
            while (end < rows.size() && rows[end] - rows[first] == static_cast<int>(end - first))
                ++end;
            emit dataChanged(index(rows[first]), index(rows[end - 1]));
        }
    }

    [[nodiscard]] const Observable* at(int row) const { return m_records[static_cast<std::size_t>(row)].get(); }

    [[nodiscard]] std::vector<Observable*> rawPointers() const {
        std::vector<Observable*> pointers;
        pointers.reserve(m_records.size());
        for (const auto& record : m_records)
            pointers.push_back(record.get());
        return pointers;
    }

    Controller* m_controller = nullptr;
    std::vector<RecordPointer> m_records;
    Rows m_rows;
    bool m_isArranging = false;
    RecordWatch m_watch;
    Subscription m_subscription;
};

} // namespace quorrel
