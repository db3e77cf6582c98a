// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace quorrel {

/// Draws a record in two lines beside its icon: the name, and fainter its details. All rows are of one height, so that
/// long lists stay fast.
class RecordDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    static constexpr int iconSize = 32;

    /// The blank around and between what a row shows.
    [[nodiscard]] static int spacing(const QStyleOptionViewItem& option);
    [[nodiscard]] static QColor textColor(const QStyleOptionViewItem& option);
    [[nodiscard]] static QColor faintColor(const QStyleOptionViewItem& option);
    static void paintLine(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
        const QString& text, const QColor& color);

    /// The width that `paintTrailing` takes at the end of the row.
    [[nodiscard]] virtual int trailingWidth(const QStyleOptionViewItem& option) const;
    virtual void paintTrailing(
        QPainter& painter, const QStyleOptionViewItem& option, const QRect& place, const QModelIndex& index) const;
};

} // namespace quorrel
