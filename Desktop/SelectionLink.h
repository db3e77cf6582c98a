// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/RecordListModel.h"

#include <QAbstractItemView>
#include <QItemSelectionModel>
#include <QObject>

#include <utility>

namespace quorrel {

/// Keeps the selected row of a view and the selection of its list controller the same. The controller's holds: where
/// rows come and go, the view follows.
template <typename Record>
class SelectionLink final {
public:
    using Model = RecordListModel<Record>;
    using Controller = typename Model::Controller;

    /// Both must outlive the link, and the view must have the model.
    SelectionLink(QAbstractItemView& view, Model& model)
        : m_view(view)
        , m_model(model)
        , m_connection(QObject::connect(
              view.selectionModel(), &QItemSelectionModel::selectionChanged, &view, [this] { tellController(); })) { }
    SelectionLink(const SelectionLink&) = delete;
    SelectionLink& operator=(const SelectionLink&) = delete;
    ~SelectionLink() { QObject::disconnect(m_connection); }

    /// Shows the list and its selection from now on; null: nothing.
    void setController(Controller* controller) {
        m_subscription = {};
        m_model.setController(controller); // hears of a new arrangement first
        if (controller)
            m_subscription = controller->observe([this](ListChange) { follow(); });
        follow();
    }

private:
    void tellController() {
        auto* controller = m_model.controller();
        if (!controller || m_isFollowing || m_model.isArranging())
            return;
        const auto selected = m_model.record(selectedRow());
        controller->setSelectedObjects(
            selected ? std::vector { selected } : std::vector<typename Model::RecordPointer>());
    }

    void follow() {
        const auto* controller = m_model.controller();
        QModelIndex wanted;
        if (controller && !controller->selectedObjects().empty())
            wanted = m_model.indexOf(controller->selectedObjects().front());
        if (wanted == selectedRow())
            return;
        const bool wasFollowing = std::exchange(m_isFollowing, true);
        if (wanted.isValid())
            m_view.selectionModel()->setCurrentIndex(wanted, QItemSelectionModel::ClearAndSelect);
        else
            m_view.selectionModel()->clearSelection();
        m_isFollowing = wasFollowing;
    }

    [[nodiscard]] QModelIndex selectedRow() const {
        const auto rows = m_view.selectionModel()->selectedRows();
        return rows.isEmpty() ? QModelIndex() : rows.front();
    }

    QAbstractItemView& m_view;
    Model& m_model;
    QMetaObject::Connection m_connection;
    bool m_isFollowing = false;
    Subscription m_subscription;
};

} // namespace quorrel
