#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// Where applications and their associations are described, most important first.
struct MimeFolders {
    std::vector<std::string> config;   // folders with mimeapps.list
    std::vector<std::string> data;     // folders with applications/
    std::vector<std::string> desktops; // lower-case names of the desktop, for <name>-mimeapps.list

    /// As XDG_CONFIG_HOME, XDG_CONFIG_DIRS, XDG_DATA_HOME, XDG_DATA_DIRS and XDG_CURRENT_DESKTOP
    /// say.
    static MimeFolders FromEnvironment();
};

/// The desktop file of the application that opens this type by default, such as
/// "libreoffice-calc.desktop"; "" when there is none ("Association between MIME types and
/// applications", freedesktop.org, version 1.0).
std::string DefaultApplication(const MimeFolders& folders, std::string_view mimeType);

} // namespace kr
