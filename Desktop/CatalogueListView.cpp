// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/CatalogueListView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace quorrel {

CatalogueListView::CatalogueListView(QWidget* parent)
    : QListView(parent) {
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // what is too long ends in dots
    setUniformItemSizes(true);
    setTabKeyNavigation(false);
}

QStyleOptionViewItem CatalogueListView::rowOption(const QModelIndex& index) const {
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    return option;
}

void CatalogueListView::mousePressEvent(QMouseEvent* event) {
    m_pressed = event->pos();
    QListView::mousePressEvent(event);
}

void CatalogueListView::mouseReleaseEvent(QMouseEvent* event) {
    QListView::mouseReleaseEvent(event);
    const auto dragged = (event->pos() - m_pressed).manhattanLength();
    if (event->button() != Qt::LeftButton || dragged >= QApplication::startDragDistance())
        return;
    if (const auto index = indexAt(event->pos()); index.isValid() && index == currentIndex())
        emit rowClicked(index, event->pos());
}

void CatalogueListView::mouseDoubleClickEvent(QMouseEvent* event) {
    QListView::mouseDoubleClickEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    if (const auto index = indexAt(event->pos()); index.isValid())
        emit rowDoubleClicked(index, event->pos());
}

void CatalogueListView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        emit returnPressed();
    else
        QListView::keyPressEvent(event);
}

void CatalogueListView::contextMenuEvent(QContextMenuEvent* event) {
    const auto row = visualRect(currentIndex());
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard && row.isValid();
    emit menuWanted(isByKey ? viewport()->mapToGlobal(row.center()) : event->globalPos());
    event->accept();
}

void CatalogueListView::focusInEvent(QFocusEvent* event) {
    QListView::focusInEvent(event);
    // A first row that is only focused could not be selected by the arrow keys where it is the last one, too.
    const bool isByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason
        || event->reason() == Qt::ShortcutFocusReason;
    if (isByKey && !selectionModel()->hasSelection())
        selectionModel()->select(currentIndex(), QItemSelectionModel::ClearAndSelect);
}

} // namespace quorrel
