// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QListView>

namespace quorrel {

/// A list of the main window: one column of rows of one height, one of which is selected. It tells of keys and clicks
/// apart, which the desktop's own settings for "activated" mix.
class CatalogueListView final : public QListView {
    Q_OBJECT

public:
    explicit CatalogueListView(QWidget* parent = nullptr);

    /// How the delegate is to draw the row; for finding out what was clicked.
    [[nodiscard]] QStyleOptionViewItem rowOption(const QModelIndex& index) const;

signals:
    /// Not for a press that was dragged elsewhere before its release.
    void rowClicked(const QModelIndex& index, const QPoint& position);
    void rowDoubleClicked(const QModelIndex& index, const QPoint& position);
    void returnPressed();
    /// Where a menu for the selected row is to open; by mouse or by key.
    void menuWanted(const QPoint& globalPosition);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    QPoint m_pressed;
};

} // namespace quorrel
