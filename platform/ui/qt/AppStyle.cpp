#include "platform/ui/qt/AppStyle.h"

#include <QStyleOptionButton>

namespace kr {

namespace {

constexpr int kDark = 128; // lightness below which a window counts as dark

} // namespace

AppStyle::AppStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

int AppStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                        QStyleHintReturn* returnData) const {
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, returnData);
}

void AppStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                             QPainter* painter, const QWidget* widget) const {
    const auto* box = qstyleoption_cast<const QStyleOptionButton*>(option);
    const bool ticks = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
    if (!ticks || !box || box->palette.color(QPalette::Window).lightness() > kDark) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    QStyleOptionButton lighter(*box);
    // the outline is made from the window's colour, darker
    lighter.palette.setColor(QPalette::Window, QColor(0xc0, 0xc0, 0xc0));
    QProxyStyle::drawPrimitive(element, &lighter, painter, widget);
}

QPixmap AppStyle::generatedIconPixmap(QIcon::Mode mode, const QPixmap& pixmap,
                                      const QStyleOption* option) const {
    return mode == QIcon::Selected ? pixmap
                                   : QProxyStyle::generatedIconPixmap(mode, pixmap, option);
}

} // namespace kr
