#include "platform/ui/qt/AppStyle.h"

namespace kr {

AppStyle::AppStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

int AppStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                        QStyleHintReturn* returnData) const {
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, returnData);
}

QPixmap AppStyle::generatedIconPixmap(QIcon::Mode mode, const QPixmap& pixmap,
                                      const QStyleOption* option) const {
    return mode == QIcon::Selected ? pixmap
                                   : QProxyStyle::generatedIconPixmap(mode, pixmap, option);
}

} // namespace kr
