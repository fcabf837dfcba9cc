#include "push/forms/PngPicture.h"

#include <QBuffer>
#include <QImageReader>

#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr int kLargestSide = 2048; // pixels; what claims more is no icon

} // namespace

std::string ShowPng(QLabel& label, const Bytes& png) {
    QByteArray bytes(reinterpret_cast<const char*>(png.data()), static_cast<qsizetype>(png.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    const QSize size = reader.size();
    if (size.width() > kLargestSide || size.height() > kLargestSide)
        return "The picture is too large for an icon.";
    const QImage image = reader.read();
    if (image.isNull())
        return ToUtf8(reader.errorString());
    QPixmap pixmap = QPixmap::fromImage(image);
    const QSize room = label.contentsRect().size();
    if (pixmap.width() > room.width() || pixmap.height() > room.height()) {
        const qreal ratio = label.devicePixelRatioF();
        pixmap = pixmap.scaled((QSizeF(room) * ratio).toSize(), Qt::KeepAspectRatio,
                               Qt::SmoothTransformation);
        pixmap.setDevicePixelRatio(ratio);
    }
    label.setPixmap(pixmap);
    return {};
}

} // namespace kr
