// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ImageLoader.h"

#include "Platform/Linux/LinuxWorkspace.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QFile>
#include <QImage>

#include <optional>
#include <string>
#include <vector>

namespace quorrel {

namespace {

struct NamedPicture final {
    const char* name;
    int size;
};

constexpr NamedPicture pictures[] {
    { "menubarIcon.png", 22 },
    { "menubarIcon-neg.png", 22 },
    { "connect.png", 16 },
    { "disconnect.png", 16 },
    { "drive.png", 16 },
    { "etoile_menu.png", 16 },
    { "mount.png", 24 },
    { "unmount.png", 24 },
    { "mount-all.png", 24 },
    { "unmount-all.png", 24 },
    { "add.png", 24 },
    { "edit.png", 24 },
    { "delete.png", 24 },
    { "open-folder.png", 24 },
    { "preferences.png", 24 },
    { "help.png", 24 },
    { "star.png", 24 },
    { "star-outline.png", 24 },
    { "quorrel.png", 64 },
};

int inkIn(const QImage& image) {
    int ink = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += image.pixelColor(x, y).alpha() > 127 ? 1 : 0;
    return ink;
}

QColor middleOf(const QPixmap& pixmap) {
    return pixmap.toImage().pixelColor(pixmap.width() / 2, pixmap.height() / 2);
}

} // namespace

class ImageLoaderTest : public testing::Test {
protected:
    /// A picture of one colour, so that a test sees which file was taken.
    std::string put(const std::string& name, int size, const QColor& colour) const {
        QImage image(size, size, QImage::Format_ARGB32);
        image.fill(colour);
        const auto path = folder.path(name);
        EXPECT_TRUE(image.save(QString::fromStdString(path), "PNG"));
        return path;
    }

    TemporaryFolder folder;
    ImageLoader loader;
};

TEST_F(ImageLoaderTest, everyPictureOfTheProgramIsThereForBothDensities) {
    for (const auto& picture : pictures) {
        for (const int density : { 1, 2 }) {
            const auto pixmap = loader.pixmap({ picture.name, picture.size }, 0, density);
            EXPECT_EQ(pixmap.size(), QSize(picture.size, picture.size) * density) << picture.name;
            EXPECT_EQ(pixmap.devicePixelRatio(), density) << picture.name;
            EXPECT_GT(inkIn(pixmap.toImage()), pixmap.width() * pixmap.height() / 20) << picture.name;
        }
        const auto base = QString(":/images/%1").arg(QString(picture.name).section('.', 0, 0));
        EXPECT_EQ(QImage(base + ".png").width(), picture.size) << picture.name;
        EXPECT_EQ(QImage(base + "@2x.png").width(), 2 * picture.size) << picture.name;
    }
}

TEST_F(ImageLoaderTest, everyKindOfHostHasItsPicture) {
    const LinuxWorkspace workspace(
        { folder.path("data"), folder.path("tmp"), QUORREL_ICONS, "unix:path=/nonexistent" });
    std::vector<std::optional<Image>> icons;
    for (const auto icon : { SystemIcon::GenericServer, SystemIcon::MusicPlayer, SystemIcon::Phone })
        icons.push_back(workspace.systemIcon(icon));
    for (const char* kind : { "public.generic-pc", "public.server", "public.storage", "public.phone", "com.apple.mac",
             "com.apple.mac.laptop", "com.apple.mac.all-in-one" }) {
        const auto type = workspace.typeDeclaration(kind);
        ASSERT_TRUE(type && type->iconFile) << kind;
        icons.push_back(workspace.imageAtPath(type->bundlePath + "/Contents/Resources/" + *type->iconFile));
    }
    for (const auto& icon : icons) {
        ASSERT_TRUE(icon);
        const auto available = loader.icon({ icon->name, 16 }).availableSizes();
        for (const int size : { 16, 24, 32, 48, 64 })
            EXPECT_TRUE(available.contains(QSize(size, size))) << icon->name << size;
        EXPECT_GT(inkIn(loader.pixmap(*icon, 16, 1).toImage()), 50) << icon->name;
    }
}

TEST_F(ImageLoaderTest, theTraysPicturesFitEveryPanel) {
    for (const char* name : { "menubarIcon.png", "menubarIcon-neg.png" }) {
        const auto available = loader.icon({ name }).availableSizes();
        for (const int size : { 16, 22, 24, 32, 44, 48 })
            EXPECT_TRUE(available.contains(QSize(size, size))) << name << size;
    }
}

TEST_F(ImageLoaderTest, aPictureOfThatVeryNumberOfPixelsIsPreferredToAScaledOne) {
    const auto path = put("box.png", 16, Qt::red);
    put("box@2x.png", 32, Qt::green);
    put("box-48.png", 48, Qt::blue);
    EXPECT_EQ(middleOf(loader.pixmap({ path }, 16, 1)), QColor(Qt::red));
    EXPECT_EQ(middleOf(loader.pixmap({ path }, 16, 2)), QColor(Qt::green));
    EXPECT_EQ(middleOf(loader.pixmap({ path }, 16, 3)), QColor(Qt::blue));
    EXPECT_EQ(middleOf(loader.pixmap({ path }, 48, 1)), QColor(Qt::blue));
    EXPECT_EQ(middleOf(loader.pixmap({ path }, 24, 1)), QColor(Qt::green));
}

TEST_F(ImageLoaderTest, aSizeOfZeroMeansAsStored) {
    const auto path = put("box.png", 20, Qt::red);
    put("box@2x.png", 40, Qt::green);
    EXPECT_EQ(loader.pixmap({ path }, 0, 1).size(), QSize(20, 20));
    EXPECT_EQ(loader.pixmap({ path }, 0, 2).size(), QSize(40, 40));
}

TEST_F(ImageLoaderTest, sizesThatAreNeverShownAreNotKept) {
    const auto path = put("box.png", 16, Qt::red);
    put("box-256.png", 256, Qt::blue);
    EXPECT_EQ(loader.icon({ path, 16 }).availableSizes(), QList<QSize>({ QSize(16, 16) }));
    EXPECT_EQ(loader.icon({ path, 0 }).availableSizes().size(), 2);
}

TEST_F(ImageLoaderTest, whatIsNoPictureIsANullIcon) {
    folder.put("text.png", "text");
    for (const auto& name : { std::string(), std::string("nothing.png"), folder.path("nothing.png"),
             folder.path("text.png"), std::string("/"), std::string("drive") }) {
        EXPECT_TRUE(loader.icon({ name }).isNull()) << name;
        EXPECT_TRUE(loader.pixmap({ name }, 16, 1).isNull()) << name;
    }
}

TEST_F(ImageLoaderTest, aFileIsReadOnce) {
    const auto path = put("box.png", 16, Qt::red);
    const auto first = loader.icon({ path });
    ASSERT_FALSE(first.isNull());
    ASSERT_TRUE(QFile::remove(QString::fromStdString(path)));
    EXPECT_EQ(loader.icon({ path }).cacheKey(), first.cacheKey());
    EXPECT_TRUE(ImageLoader().icon({ path }).isNull());
}

TEST_F(ImageLoaderTest, manyPicturesDoNotStayForEver) {
    const auto path = put("box.png", 16, Qt::red);
    ASSERT_FALSE(loader.icon({ path }).isNull());
    ASSERT_TRUE(QFile::remove(QString::fromStdString(path)));
    for (int i = 0; i < 1000; ++i)
        static_cast<void>(loader.icon({ "nothing" + std::to_string(i) }));
    EXPECT_TRUE(loader.icon({ path }).isNull());
}

} // namespace quorrel
