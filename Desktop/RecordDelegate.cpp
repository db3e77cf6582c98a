// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/RecordDelegate.h"

#include "Desktop/RecordListModel.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace quorrel {

void RecordDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    auto row = option;
    initStyleOption(&row, index);
    const auto* style = row.widget ? row.widget->style() : QApplication::style();
    painter->save();
    painter->setFont(row.font);
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &row, painter, row.widget);

    // Laid out from left to right, then mirrored where the language wants it.
    const auto at = [&](const QRect& place) { return QStyle::visualRect(row.direction, row.rect, place); };
    const int blank = spacing(row);
    const auto inner = row.rect.adjusted(blank, 0, -blank, 0);
    const QRect icon(inner.left(), inner.center().y() - iconSize / 2, iconSize, iconSize);
    row.icon.paint(painter, at(icon), Qt::AlignCenter, QIcon::Normal);

    const int trailing = trailingWidth(row);
    const int line = row.fontMetrics.lineSpacing();
    const QRect name(icon.right() + blank, inner.center().y() - line, 0, line);
    const auto text = name.adjusted(0, 0, std::max(inner.right() - trailing - name.left(), 0), 0);
    paintLine(*painter, row, at(text), row.text, textColor(row));
    paintLine(*painter, row, at(text.translated(0, line)), index.data(RecordRole::details).toString(), faintColor(row));
    if (trailing > 0)
        paintTrailing(*painter, row, inner.adjusted(inner.width() - trailing, 0, 0, 0), index);

    if (row.state & QStyle::State_HasFocus) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(row);
        focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
        focus.backgroundColor
            = row.palette.color(row.state & QStyle::State_Selected ? QPalette::Highlight : QPalette::Base);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, row.widget);
    }
    painter->restore();
}

QSize RecordDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    const int blank = spacing(option);
    const int height = std::max(iconSize, 2 * option.fontMetrics.lineSpacing()) + blank;
    return { iconSize + 4 * blank + trailingWidth(option), height };
}

int RecordDelegate::spacing(const QStyleOptionViewItem& option) {
    return std::max(option.fontMetrics.lineSpacing() / 2, 4);
}

QColor RecordDelegate::textColor(const QStyleOptionViewItem& option) {
    const auto group = option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
    return option.palette.color(
        group, option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text);
}

QColor RecordDelegate::faintColor(const QStyleOptionViewItem& option) {
    auto color = textColor(option);
    color.setAlphaF(option.state & QStyle::State_Selected ? 0.85F : 0.65F);
    return color;
}

void RecordDelegate::paintLine(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
    const QString& text, const QColor& color) {
    painter.setPen(color);
    // Names and paths read as they are written, whichever way the window is laid out.
    painter.setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    painter.drawText(place,
        static_cast<int>(
            QStyle::visualAlignment(option.direction, Qt::AlignLeft) | Qt::AlignVCenter | Qt::TextSingleLine),
        option.fontMetrics.elidedText(text, Qt::ElideRight, place.width()));
}

int RecordDelegate::trailingWidth(const QStyleOptionViewItem&) const {
    return 0;
}

void RecordDelegate::paintTrailing(QPainter&, const QStyleOptionViewItem&, const QRect&, const QModelIndex&) const { }

} // namespace quorrel
