#pragma once

#include <QProxyStyle>

namespace kr {

/// Fusion everywhere, so that the program looks the same on every desktop; buttons of dialogs show
/// no icons, as no icon theme is to be relied upon.
class AppStyle : public QProxyStyle {
public:
    AppStyle();
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returnData) const override;
};

} // namespace kr
