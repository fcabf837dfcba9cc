#pragma once

#include <QProxyStyle>

namespace kr {

/// Fusion everywhere, so that the program looks the same on every desktop; buttons of dialogs show
/// no icons, as no icon theme is to be relied upon; icons of selected rows keep their colours.
class AppStyle : public QProxyStyle {
public:
    AppStyle();
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returnData) const override;
    /// On a dark window Fusion's outlines of boxes to tick all but vanish: they are drawn lighter.
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    QPixmap generatedIconPixmap(QIcon::Mode mode, const QPixmap& pixmap,
                                const QStyleOption* option) const override;
};

} // namespace kr
