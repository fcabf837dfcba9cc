#include "push/forms/PngPicture.h"

#include "console/forms/PngImage.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

std::string ShowPng(QLabel& label, const Bytes& png) {
    QString reason;
    const QImage image = ReadPng(png, reason);
    if (image.isNull())
        return ToUtf8(reason);
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
