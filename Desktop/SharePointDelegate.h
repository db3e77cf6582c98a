// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/RecordDelegate.h"

#include <QStringList>

namespace quorrel {

class ImageLoader;
class StringTable;

/// Draws a share point with its status, and a star that tells whether it is a favourite and can be clicked.
class SharePointDelegate final : public RecordDelegate {
public:
    /// The loader must outlive the delegate.
    SharePointDelegate(const StringTable& strings, const ImageLoader& images, QObject* parent = nullptr);

    /// Where the star is in a row, in the view's coordinates, for clicks.
    [[nodiscard]] QRect starPlace(const QStyleOptionViewItem& option) const;

protected:
    [[nodiscard]] int trailingWidth(const QStyleOptionViewItem& option) const override;
    void paintTrailing(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
        const QModelIndex& index) const override;

private:
    static constexpr int starSize = 16;

    /// That of the widest status: a column, whatever each row shows.
    [[nodiscard]] int statusWidth(const QStyleOptionViewItem& option) const;

    const ImageLoader& m_images;
    const QStringList m_statusTexts;
    mutable QString m_measuredFont;
    mutable int m_measuredWidth = 0;
};

} // namespace quorrel
