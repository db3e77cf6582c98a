// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PngFile.h"

#include <QByteArray>
#include <QFile>

#include <memory>
#include <png.h>

namespace quorrel {

namespace {

constexpr png_uint_32 longestSide = 4096; // no icon has more

} // namespace

QImage PngFile::read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto bytes = file.readAll();
    png_image header {};
    header.version = PNG_IMAGE_VERSION;
    const std::unique_ptr<png_image, decltype(&png_image_free)> end(&header, png_image_free);
    if (png_image_begin_read_from_memory(&header, bytes.constData(), static_cast<std::size_t>(bytes.size())) == 0)
        return {};
    if (header.width > longestSide || header.height > longestSide)
        return {};
    header.format = PNG_FORMAT_RGBA;
    QImage image(static_cast<int>(header.width), static_cast<int>(header.height), QImage::Format_RGBA8888);
    if (image.isNull()
        || png_image_finish_read(&header, nullptr, image.bits(), static_cast<png_int_32>(image.bytesPerLine()), nullptr)
            == 0)
        return {};
    return image;
}

} // namespace quorrel
