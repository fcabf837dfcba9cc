#include "backup/BackupFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/AtomicFile.h"
#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::string_view kSource = "BackupFile";

[[noreturn]] void refuse(const std::string& why) {
    throw PlatformError(MAPI_E_CALL_FAILED, why, std::string(kSource));
}

std::string readFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        refuse("The file is not there.");
    // a pipe or a device has no end
    if (!std::filesystem::is_regular_file(status))
        refuse("That is not a file.");
    if (std::filesystem::file_size(path, error) > XmlDocument::kLongest)
        refuse("The file is too large.");
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad())
        refuse("The file can't be read.");
    return text;
}

} // namespace

void SaveBackupFile(const XmlDocument& document, const std::string& path) {
    const std::string text = document.Save();
    const std::string_view root = std::string_view(text).substr(text.find('\n') + 1);
    std::string error;
    if (!WriteFileAtomically(path, root, error))
        refuse(error);
}

std::string ShortName(std::string_view path) {
    const size_t separator = path.find_last_of("/\\");
    return std::string(separator == std::string_view::npos ? path : path.substr(separator + 1));
}

std::optional<XmlDocument> LoadBackupFile(AgentSession& session, const std::string& path,
                                          const LoadWords& words) {
    const auto refused = [&](std::string_view said, const std::string& reason) {
        session.log(std::string(said) + path + (reason.empty() ? "" : ": " + reason));
        session.ui().MsgBox(words.box, BoxIcon::Stop);
    };
    std::string reason;
    const auto text = Trap([&] { return std::optional<std::string>(readFile(path)); },
                           [&](const Trapped& error) { reason = error.description; });
    if (text && Trim(*text).empty()) {
        refused(words.empty, "");
        return std::nullopt;
    }
    auto document = text ? XmlDocument::Parse(*text, &reason) : std::nullopt;
    if (!document)
        refused(words.unreadable, reason);
    return document;
}

} // namespace kr
