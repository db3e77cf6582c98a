// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Image.h"

#include <QCache>
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace quorrel {

/// Turns the names that models give of pictures into the pictures. A bare name is one of the program's own, a path is a
/// file. What comes back has all sizes that lie beside NAME.png: NAME@2x.png, and NAME-N.png with sides of N pixels. A
/// picture that cannot be read is a null icon. Main thread, with an application object.
class ImageLoader final {
public:
    ImageLoader();

    [[nodiscard]] QIcon icon(const Image& image) const;
    /// In points; where the size is 0 it is the image's own, or else as stored.
    [[nodiscard]] QPixmap pixmap(const Image& image, int size, qreal devicePixelRatio) const;

private:
    mutable QCache<QString, QIcon> m_icons;
};

} // namespace quorrel
