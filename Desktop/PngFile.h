// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QString>

namespace quorrel {

/// Reads pictures without Qt's own reader, which loads the plugins of all other formats even for a PNG.
class PngFile final {
public:
    /// A null image if the file cannot be read or is no PNG. The path may lead to a resource.
    [[nodiscard]] static QImage read(const QString& path);
};

} // namespace quorrel
