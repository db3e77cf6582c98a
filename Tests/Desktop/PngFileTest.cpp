// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PngFile.h"

#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QFile>
#include <QImage>

#include <string>

namespace quorrel {

namespace {

QImage sample(QImage::Format format) {
    QImage image(9, 5, format);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, QColor(25 * x, 50 * y, 100, 255 - 20 * x));
    return image;
}

class PngFileTest : public testing::Test {
protected:
    QString save(const QImage& image, const char* format = "PNG") const {
        auto path = QString::fromStdString(folder.path("picture.png"));
        EXPECT_TRUE(image.save(path, format));
        return path;
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(PngFileTest, everyPixelIsAsStored) {
    for (const auto format : { QImage::Format_ARGB32, QImage::Format_RGB888, QImage::Format_Grayscale8 }) {
        const auto stored = sample(format);
        const auto image = PngFile::read(save(stored));
        EXPECT_EQ(image.convertToFormat(QImage::Format_ARGB32), stored.convertToFormat(QImage::Format_ARGB32))
            << format;
    }
}

TEST_F(PngFileTest, aPaletteIsLookedUp) {
    const auto stored = sample(QImage::Format_RGB888).convertToFormat(QImage::Format_Indexed8);
    EXPECT_EQ(PngFile::read(save(stored)).convertToFormat(QImage::Format_ARGB32),
        stored.convertToFormat(QImage::Format_ARGB32));
}

TEST_F(PngFileTest, aPictureOfAnotherFormatIsNone) {
    EXPECT_TRUE(PngFile::read(save(sample(QImage::Format_RGB888), "BMP")).isNull());
}

TEST_F(PngFileTest, aPictureThatBreaksOffIsNone) {
    const auto path = save(sample(QImage::Format_ARGB32));
    QFile file(path);
    for (auto size = file.size() - 20; size >= 0; size -= 7) {
        ASSERT_TRUE(file.resize(size));
        EXPECT_TRUE(PngFile::read(path).isNull()) << size;
    }
}

TEST_F(PngFileTest, aFileThatIsNotThereIsNone) {
    EXPECT_TRUE(PngFile::read(QString::fromStdString(folder.path("nothing.png"))).isNull());
    EXPECT_TRUE(PngFile::read(QString::fromStdString(folder.path(""))).isNull());
}

TEST_F(PngFileTest, aPictureLargerThanAnyIconIsNone) {
    EXPECT_FALSE(PngFile::read(save(QImage(4096, 1, QImage::Format_RGB888))).isNull());
    EXPECT_TRUE(PngFile::read(save(QImage(4097, 1, QImage::Format_RGB888))).isNull());
}

} // namespace quorrel
