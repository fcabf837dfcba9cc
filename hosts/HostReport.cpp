// FindReport: the diagnostics report of an agent on this computer.
#include <array>
#include <filesystem>

#include "core/CRegOp.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "hosts/HostEditor.h"

namespace kr {

namespace {

constexpr std::string_view kLibraryKey =
    "CLSID\\{01308FAE-CBF0-4FF9-830E-3901629BE17E}\\InprocServer32";
constexpr std::string_view kLibrary = "/zandrelAgent.dll";
constexpr std::array<std::string_view, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

bool isFile(const std::string& path) {
    std::error_code unreadable;
    return std::filesystem::is_regular_file(path, unreadable);
}

/// The folder of the agent's library, with the separators of this system.
std::string libraryFolder(Registry& registry) {
    CRegOp key(registry);
    key.Root = Hive::ClassesRoot;
    key.Key = kLibraryKey;
    const std::string path =
        TrapSilently([&] { return ReplaceAll(key.GetValue("").text(), "\\", "/"); });
    const size_t at = FindNoCase(path, kLibrary);
    return at == path.npos ? path : path.substr(0, at);
}

} // namespace

std::string FindReport(AgentSession& session, std::string_view host) {
    if (!EqualNoCase(host, session.platform.shell.ComputerName()))
        return {};
    const Clock& clock = session.platform.clock;
    const auto today = std::chrono::floor<std::chrono::days>(UTCToLocal(clock.now(), clock));
    const auto day = std::chrono::weekday(today).c_encoding();
    const std::string relative =
        "/Logs/" + std::string(kDays[day]) + "/KR-Report-" + std::string(host) + ".log";
    const std::string own = std::filesystem::path(session.log.path()).parent_path().string();
    for (const std::string& folder : {own, libraryFolder(session.platform.registry)})
        if (!folder.empty() && isFile(folder + relative))
            return folder + relative;
    return {};
}

} // namespace kr
