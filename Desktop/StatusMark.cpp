// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/StatusMark.h"

#include "Sources/SharePointDefinition.h"

#include <QColor>
#include <QPainter>
#include <QPalette>
#include <QPen>
#include <QPolygonF>

namespace quorrel {

namespace {

// Legible on light and on dark grounds alike.
constexpr QRgb green = 0xff2e9e4f;
constexpr QRgb amber = 0xffc98500;
constexpr QRgb red = 0xffd9483b;

QColor colorOf(StatusMark mark, const QPalette& palette, MarkGround ground) {
    if (ground == MarkGround::Selection)
        return palette.color(QPalette::HighlightedText);
    switch (mark) {
    case StatusMark::Online:
        return green;
    case StatusMark::Busy:
        return amber;
    case StatusMark::Failed:
        return red;
    case StatusMark::Offline:
        break;
    }
    auto color = palette.color(QPalette::Text);
    color.setAlphaF(0.55F);
    return color;
}

void paintDots(QPainter& painter, const QRectF& square) {
    const auto radius = square.width() / 7;
    for (const int step : { -1, 0, 1 })
        painter.drawEllipse(square.center() + QPointF(step * 2.7 * radius, 0), radius, radius);
}

void paintTriangle(QPainter& painter, const QRectF& square, const QColor& inner) {
    const auto box = square.adjusted(0, square.height() / 14, 0, -square.height() / 14);
    painter.drawPolygon(QPolygonF { { box.center().x(), box.top() }, box.bottomRight(), box.bottomLeft() });
    const auto unit = square.width() / 12;
    painter.setBrush(inner);
    painter.drawRect(QRectF(box.center().x() - 0.7 * unit, box.top() + 3.6 * unit, 1.4 * unit, 3.4 * unit));
    painter.drawRect(QRectF(box.center().x() - 0.7 * unit, box.top() + 7.9 * unit, 1.4 * unit, 1.4 * unit));
}

} // namespace

StatusMark statusMarkOf(const SharePointDefinition& sharePoint) {
    if (sharePoint.mounting.get() || sharePoint.unmounting.get() || sharePoint.resolving.get())
        return StatusMark::Busy;
    if (sharePoint.isError.get())
        return StatusMark::Failed;
    return sharePoint.mounted.get() ? StatusMark::Online : StatusMark::Offline;
}

void paintStatusMark(
    QPainter& painter, const QRectF& square, StatusMark mark, const QPalette& palette, MarkGround ground) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const auto color = colorOf(mark, palette, ground);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const auto inset = square.width() / 8;
    const auto disc = square.adjusted(inset, inset, -inset, -inset);
    switch (mark) {
    case StatusMark::Online:
        painter.drawEllipse(disc);
        break;
    case StatusMark::Busy:
        paintDots(painter, square);
        break;
    case StatusMark::Failed:
        paintTriangle(
            painter, square, palette.color(ground == MarkGround::Selection ? QPalette::Highlight : QPalette::Base));
        break;
    case StatusMark::Offline: {
        const auto width = square.width() / 8;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(color, width));
        painter.drawEllipse(disc.adjusted(width / 2, width / 2, -width / 2, -width / 2));
        break;
    }
    }
    painter.restore();
}

} // namespace quorrel
