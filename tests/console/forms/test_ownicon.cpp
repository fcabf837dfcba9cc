#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QPixmap>

#include "console/OwnImage.h"
#include "console/forms/Icons.h"

namespace {

using namespace kr;

std::string nameOf(const QImage& picture) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    return ImageName("imgGlobe", Bytes(bytes.begin(), bytes.end()));
}

QImage plain(int side, Qt::GlobalColor colour) {
    QImage picture(side, side, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QImage shown(const std::string& name, bool dimmed = false) {
    return IconOf(name, dimmed).pixmap(16, 16).toImage();
}

TEST(OwnIconTest, ARowShowsThePictureOfItsRecord) {
    const QImage icon = shown(nameOf(plain(32, Qt::red)));
    EXPECT_EQ(icon.pixelColor(8, 8), QColor(Qt::red));
    EXPECT_EQ(icon.size(), QSize(16, 16));
    EXPECT_EQ(shown(nameOf(plain(32, Qt::blue))).pixelColor(8, 8), QColor(Qt::blue));
}

TEST(OwnIconTest, AnInactiveOneIsDimmed) {
    const QImage icon = shown(nameOf(plain(32, Qt::red)), true);
    EXPECT_GT(icon.pixelColor(8, 8).alpha(), 0);
    EXPECT_LT(icon.pixelColor(8, 8).alpha(), 255);
}

TEST(OwnIconTest, ALargeOneIsKeptSmall) {
    const QList<QSize> sizes = IconOf(nameOf(plain(1000, Qt::green))).availableSizes();
    ASSERT_EQ(sizes.size(), 1);
    EXPECT_LE(sizes[0].width(), 64);
}

TEST(OwnIconTest, WhatIsNoPictureShowsTheNamedOne) {
    const QImage globe = shown("imgGlobe");
    EXPECT_EQ(shown(ImageName("imgGlobe", Bytes{1, 2, 3})), globe);
    EXPECT_EQ(shown("imgGlobe|"), globe);
    EXPECT_EQ(shown(ImageName("imgGlobe", Bytes{1, 2, 3}), true), shown("imgGlobe", true));
    EXPECT_EQ(shown(nameOf(plain(3000, Qt::red))), globe) << "what claims to be that large";
}

} // namespace
