#include "console/forms/FormTools.h"

#include <QStyle>
#include <algorithm>

#include "console/forms/Icons.h"

namespace kr {

QSize TextRoom(const QWidget& widget, int columns, int lines) {
    const QFontMetrics metrics = widget.fontMetrics();
    return {columns * metrics.averageCharWidth(), lines * metrics.lineSpacing()};
}

void FitText(QLabel& label, int columns) {
    const int most = TextRoom(label, columns, 1).width();
    const int width = std::min(most, label.fontMetrics().size(0, label.text()).width());
    label.setMinimumSize(width, label.heightForWidth(width));
}

void SetImage(QLabel& label, std::string_view image) {
    const int size = label.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &label);
    label.setPixmap(IconOf(image).pixmap(QSize(size, size), label.devicePixelRatioF()));
}

bool IsEnterIn(const QAbstractItemView& view, const QKeyEvent& event) {
    return view.hasFocus() && (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter);
}

} // namespace kr
