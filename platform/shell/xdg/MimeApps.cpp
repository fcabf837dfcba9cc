#include "platform/shell/xdg/MimeApps.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "core/Text.h"

namespace kr {

namespace {

std::string variable(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

/// The desktop files that one list names for a type in one of its groups.
std::vector<std::string> listed(const std::string& path, std::string_view group,
                                std::string_view mimeType) {
    std::ifstream file(path);
    std::string line;
    bool inGroup = false;
    while (std::getline(file, line)) {
        const std::string text = Trim(line);
        if (!text.empty() && text.front() == '[') {
            inGroup = text == group;
            continue;
        }
        const size_t equals = text.find('=');
        if (inGroup && equals != std::string::npos &&
            EqualNoCase(Trim(text.substr(0, equals)), mimeType))
            return SplitNonEmpty(text.substr(equals + 1), ";");
    }
    return {};
}

/// "kde-foo.desktop" may lie in applications/kde/foo.desktop.
bool isInstalled(const MimeFolders& folders, const std::string& desktopFile) {
    if (desktopFile.find('/') != std::string::npos)
        return false;
    for (const auto& folder : folders.data) {
        const auto applications = std::filesystem::path(folder) / "applications";
        std::string name = desktopFile;
        for (size_t dash = 0; dash != std::string::npos; dash = name.find('-')) {
            if (dash != 0)
                name[dash] = '/';
            std::error_code ignored;
            if (std::filesystem::is_regular_file(applications / name, ignored))
                return true;
        }
    }
    return false;
}

std::vector<std::string> lists(const MimeFolders& folders) {
    std::vector<std::string> result;
    const auto add = [&](const std::filesystem::path& folder) {
        for (const auto& desktop : folders.desktops)
            result.push_back(folder / (desktop + "-mimeapps.list"));
        result.push_back(folder / "mimeapps.list");
    };
    for (const auto& folder : folders.config)
        add(folder);
    for (const auto& folder : folders.data)
        add(std::filesystem::path(folder) / "applications");
    return result;
}

} // namespace

MimeFolders MimeFolders::FromEnvironment() {
    const std::string home = variable("HOME", "/");
    MimeFolders folders;
    folders.config = SplitNonEmpty(variable("XDG_CONFIG_HOME", home + "/.config") + ":" +
                                       variable("XDG_CONFIG_DIRS", "/etc/xdg"),
                                   ":");
    folders.data = SplitNonEmpty(variable("XDG_DATA_HOME", home + "/.local/share") + ":" +
                                     variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"),
                                 ":");
    for (const auto& desktop : SplitNonEmpty(variable("XDG_CURRENT_DESKTOP", ""), ":"))
        folders.desktops.push_back(ToLower(desktop));
    return folders;
}

std::string DefaultApplication(const MimeFolders& folders, std::string_view mimeType) {
    const auto files = lists(folders);
    for (const auto& file : files)
        for (const auto& application : listed(file, "[Default Applications]", mimeType))
            if (isInstalled(folders, application))
                return application;
    // no default was chosen: the first application that says that it can
    std::set<std::string> removed;
    for (const auto& file : files) {
        for (const auto& application : listed(file, "[Added Associations]", mimeType))
            if (!removed.contains(application) && isInstalled(folders, application))
                return application;
        for (const auto& application : listed(file, "[Removed Associations]", mimeType))
            removed.insert(application);
    }
    for (const auto& folder : folders.data)
        for (const auto& application :
             listed(folder + "/applications/mimeinfo.cache", "[MIME Cache]", mimeType))
            if (!removed.contains(application) && isInstalled(folders, application))
                return application;
    return {};
}

} // namespace kr
