#pragma once

#include <QColor>
#include <QObject>
#include <QPalette>

#include "platform/registry/Registry.h"

namespace kr {

enum class ThemeMode { System, Light, Dark };

/// Colours that the palette has no role for, light and dark.
struct ThemeColors {
    QColor ghosted;
    QColor red;
    static ThemeColors of(const QPalette& palette);
};
bool IsDark(const QPalette& palette);

/// The application's palette: light, dark, or as the desktop wants it.
class Theme {
public:
    static ThemeMode Read(Registry& registry);
    static void Write(Registry& registry, ThemeMode mode);
    static void Apply(ThemeMode mode);
    static QPalette PaletteOf(bool dark);
    /// What the desktop portal's setting `org.freedesktop.appearance color-scheme` says.
    static bool DesktopWantsDark();
};

} // namespace kr
