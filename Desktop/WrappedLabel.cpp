// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/WrappedLabel.h"

#include <QStyle>

namespace quorrel {

WrappedLabel::WrappedLabel(int columns, const QString& text)
    : QLabel(text)
    , m_columns(columns) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) | Qt::AlignVCenter);
}

QSize WrappedLabel::minimumSizeHint() const {
    ensurePolished(); // for the font that the style gives
    const int width = fontMetrics().averageCharWidth() * m_columns;
    return { width, heightForWidth(width) };
}

} // namespace quorrel
