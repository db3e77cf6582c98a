// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SharePointDelegate.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/RecordListModel.h"
#include "Desktop/StatusMark.h"
#include "Foundation/StringTable.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPixmap>
#include <QStyle>

#include <algorithm>
#include <array>
#include <cmath>

namespace quorrel {

namespace {

constexpr std::array statusKeys {
    localizable("Resolved"),
    localizable("Resolve Failed"),
    localizable("Resolving"),
    localizable("Mounting"),
    localizable("Online"),
    localizable("Offline"),
    localizable("Unmounting"),
};

QStringList statusTexts(const StringTable& strings) {
    QStringList texts;
    for (const auto* key : statusKeys)
        texts.push_back(QString::fromStdString(strings.text(key)));
    return texts;
}

int markSize(const QStyleOptionViewItem& option) {
    return option.fontMetrics.ascent();
}

/// Its own colour would be lost on that of a selection.
void tint(QPixmap& picture, const QColor& color) {
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), color);
}

} // namespace

SharePointDelegate::SharePointDelegate(const StringTable& strings, const ImageLoader& images, QObject* parent)
    : RecordDelegate(parent)
    , m_images(images)
    , m_statusTexts(statusTexts(strings)) { }

QRect SharePointDelegate::starPlace(const QStyleOptionViewItem& option) const {
    const int width = starSize + 2 * spacing(option);
    const QRect place(option.rect.right() + 1 - width, option.rect.top(), width, option.rect.height());
    return QStyle::visualRect(option.direction, option.rect, place);
}

int SharePointDelegate::statusWidth(const QStyleOptionViewItem& option) const {
    if (const auto font = option.font.key(); font != m_measuredFont) {
        m_measuredFont = font;
        // Rounded up: the longest of them would otherwise end in dots for a fraction of a pixel.
        const QFontMetricsF metrics(option.font);
        m_measuredWidth = 0;
        for (const auto& text : m_statusTexts)
            m_measuredWidth = std::max(m_measuredWidth, static_cast<int>(std::ceil(metrics.horizontalAdvance(text))));
    }
    return markSize(option) + spacing(option) + m_measuredWidth;
}

int SharePointDelegate::trailingWidth(const QStyleOptionViewItem& option) const {
    return spacing(option) + statusWidth(option) + 2 * spacing(option) + starSize;
}

void SharePointDelegate::paintTrailing(
    QPainter& painter, const QStyleOptionViewItem& option, const QRect& place, const QModelIndex& index) const {
    const bool isSelected = option.state & QStyle::State_Selected;
    const int blank = spacing(option);
    const int size = markSize(option);
    const QRect mark(place.left() + blank, place.center().y() - size / 2, size, size);
    paintStatusMark(painter, QStyle::visualRect(option.direction, option.rect, mark),
        static_cast<StatusMark>(index.data(RecordRole::mark).toInt()), option.palette,
        isSelected ? MarkGround::Selection : MarkGround::Base);

    const QRect text(mark.right() + 1 + blank, place.top(), m_measuredWidth, place.height());
    paintLine(painter, option, QStyle::visualRect(option.direction, option.rect, text),
        index.data(RecordRole::status).toString(), textColor(option));

    const bool isFavorite = index.data(RecordRole::isFavorite).toBool();
    const QRect star(place.right() + 1 - starSize, place.center().y() - starSize / 2, starSize, starSize);
    auto picture = m_images.pixmap(
        { isFavorite ? "star.png" : "star-outline.png" }, starSize, painter.device()->devicePixelRatioF());
    if (isSelected)
        tint(picture, textColor(option));
    painter.drawPixmap(QStyle::visualRect(option.direction, option.rect, star), picture);
}

} // namespace quorrel
