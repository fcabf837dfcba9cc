#include "console/forms/PngImage.h"

#include <QBuffer>
#include <QImageReader>

namespace kr {

namespace {

constexpr int kLargestSide = 2048; // pixels; what claims more is no icon

} // namespace

QImage ReadPng(const Bytes& png, QString& reason) {
    QByteArray bytes(reinterpret_cast<const char*>(png.data()), static_cast<qsizetype>(png.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    const QSize size = reader.size();
    if (size.width() > kLargestSide || size.height() > kLargestSide) {
        reason = QStringLiteral("The picture is too large for an icon.");
        return {};
    }
    QImage image = reader.read();
    if (image.isNull())
        reason = reader.errorString();
    return image;
}

} // namespace kr
