// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ImageLoader.h"

#include "Desktop/PngFile.h"

#include <QDir>
#include <QImage>

#include <array>
#include <memory>

/// A static library's resources do not register themselves. The macro wants to stand outside every namespace.
static void registerImages() {
    Q_INIT_RESOURCE(Images);
}

namespace quorrel {

namespace {

constexpr int keptIcons = 128;
constexpr std::array sizes { 16, 22, 24, 32, 44, 48, 64, 128, 256 };
constexpr int densestScreen = 4; ///< pixels on a point's side

QString pathOf(const Image& image) {
    const auto name = QString::fromStdString(image.name);
    return QDir::isAbsolutePath(name) ? name : ":/images/" + name;
}

/// Pixels are all that counts here: the icon picks by them, so the file for twice the density is one more size.
void addFile(QIcon& icon, const QString& path, int largest) {
    auto image = PngFile::read(path);
    if (!image.isNull() && image.width() <= largest)
        icon.addPixmap(QPixmap::fromImage(std::move(image)));
}

QIcon load(const QString& path, int size) {
    const int largest = size > 0 ? densestScreen * size : sizes.back();
    const auto dot = path.lastIndexOf('.');
    const auto base = path.left(dot);
    const auto suffix = dot < 0 ? QString() : path.mid(dot);
    QIcon icon;
    addFile(icon, path, sizes.back());
    addFile(icon, base + "@2x" + suffix, largest);
    for (const int each : sizes)
        addFile(icon, QStringLiteral("%1-%2%3").arg(base).arg(each).arg(suffix), largest);
    return icon;
}

} // namespace

ImageLoader::ImageLoader()
    : m_icons(keptIcons) {
    registerImages();
}

QIcon ImageLoader::icon(const Image& image) const {
    if (image.name.empty())
        return {};
    const auto path = pathOf(image);
    const auto key = QString::number(image.size) + ' ' + path;
    if (const auto* known = m_icons.object(key))
        return *known;
    auto icon = load(path, image.size);
    m_icons.insert(key, new QIcon(icon)); // the cache owns it
    return icon;
}

QPixmap ImageLoader::pixmap(const Image& image, int size, qreal devicePixelRatio) const {
    const auto found = icon(image);
    if (size <= 0)
        size = image.size;
    if (size <= 0 && !found.isNull())
        size = PngFile::read(pathOf(image)).width();
    return found.isNull() ? QPixmap() : found.pixmap(QSize(size, size), devicePixelRatio);
}

} // namespace quorrel
