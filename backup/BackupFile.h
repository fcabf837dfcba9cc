#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"
#include "platform/xml/Xml.h"

/// Backup files on the administrator's disk.
namespace kr {

/// Writes the document without a declaration; the file is there whole or as it was before. Throws
/// PlatformError with the system's reason.
void SaveBackupFile(const XmlDocument& document, const std::string& path);

/// What is behind the last separator, also one of Windows.
std::string ShortName(std::string_view path);

/// What a restore says of a file that it can't read. The path goes behind the two texts of the log.
struct LoadWords {
    std::string unreadable;
    std::string empty;
    std::string box;
};
/// Nothing, after log and box, for a file that can't be read or holds nothing.
std::optional<XmlDocument> LoadBackupFile(AgentSession& session, const std::string& path,
                                          const LoadWords& words);

} // namespace kr
