#include "console/forms/Theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFile>

#include "core/Settings.h"

namespace kr {

namespace {

constexpr std::string_view kTheme = "Theme";
constexpr int kPortalWait = 300; // milliseconds

struct Role {
    QPalette::ColorRole role;
    QRgb light;
    QRgb dark;
};
constexpr Role kRoles[] = {
    {QPalette::Window, 0xffefefef, 0xff2b2d30},
    {QPalette::WindowText, 0xff1a1a1a, 0xffe8e8e8},
    {QPalette::Base, 0xffffffff, 0xff1e1f22},
    {QPalette::AlternateBase, 0xfff5f7fa, 0xff25272b},
    {QPalette::Text, 0xff1a1a1a, 0xffe8e8e8},
    {QPalette::Button, 0xffefefef, 0xff3a3d41},
    {QPalette::ButtonText, 0xff1a1a1a, 0xffe8e8e8},
    {QPalette::BrightText, 0xffffffff, 0xffffffff},
    {QPalette::ToolTipBase, 0xffffffe1, 0xff3a3d41},
    {QPalette::ToolTipText, 0xff1a1a1a, 0xffe8e8e8},
    {QPalette::PlaceholderText, 0xff767676, 0xff9a9a9a},
    {QPalette::Highlight, 0xff2a6fb8, 0xff2f65a0},
    {QPalette::HighlightedText, 0xffffffff, 0xffffffff},
    {QPalette::Link, 0xff0b57b0, 0xff7db4f0},
    {QPalette::LinkVisited, 0xff6b3fa0, 0xffb99be0},
};

/// Nobody is to be waited for on a computer without a session bus.
bool hasSessionBus() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus");
}

} // namespace

bool IsDark(const QPalette& palette) { return palette.color(QPalette::Base).lightness() < 128; }

ThemeColors ThemeColors::of(const QPalette& palette) {
    // contrast on the base: 4.5:1 and 6.5:1 light, 7:1 and 6.9:1 dark
    return IsDark(palette) ? ThemeColors{QColor(0xa0, 0xa0, 0xa0), QColor(0xff, 0x80, 0x80)}
                           : ThemeColors{QColor(0x76, 0x76, 0x76), QColor(0xc0, 0x00, 0x00)};
}

ThemeMode Theme::Read(Registry& registry) {
    const auto value = registry.Read(Hive::CurrentUser, kSettingsKey, kTheme);
    return value && value->number <= 2 ? static_cast<ThemeMode>(value->number) : ThemeMode::System;
}

void Theme::Write(Registry& registry, ThemeMode mode) {
    RegValue value;
    value.type = RegType::Dword;
    value.number = static_cast<uint64_t>(mode);
    registry.Write(Hive::CurrentUser, kSettingsKey, kTheme, value);
}

QPalette Theme::PaletteOf(bool dark) {
    QPalette palette;
    for (const Role& role : kRoles)
        palette.setColor(role.role, QColor(dark ? role.dark : role.light));
    const QColor disabled(0x8a, 0x8a, 0x8a);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    return palette;
}

void Theme::Apply(ThemeMode mode) {
    const bool dark = mode == ThemeMode::System ? DesktopWantsDark() : mode == ThemeMode::Dark;
    QApplication::setPalette(PaletteOf(dark));
}

bool Theme::DesktopWantsDark() {
    if (!hasSessionBus())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop",
                                                       "/org/freedesktop/portal/desktop",
                                                       "org.freedesktop.portal.Settings", "Read");
    call << "org.freedesktop.appearance"
         << "color-scheme";
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, kPortalWait);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    // a variant within a variant
    QVariant value = reply.arguments().constFirst().value<QDBusVariant>().variant();
    if (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt() == 1;
}

} // namespace kr
