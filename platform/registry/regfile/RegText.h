#pragma once

#include <string>
#include <string_view>

#include "platform/registry/Registry.h"

namespace kr {

/// The text form of registry exports, "Windows Registry Editor Version 5.00". Paths here begin
/// with the hive's long name, such as "HKEY_CURRENT_USER\Software".
inline constexpr std::string_view kRegHeader = "Windows Registry Editor Version 5.00";
inline constexpr size_t kRegMaxText = 64U << 20; // bytes; a longer file is refused
inline constexpr size_t kRegMaxDepth = 512;      // levels of keys

/// Hears what a registry text holds, in the text's order. OnValue and OnDeleteValue belong to the
/// last OnKey; what stands below a deleted key is left out by the reader.
class RegSink {
public:
    virtual ~RegSink() = default;
    virtual void OnKey(const std::string& path) = 0;
    virtual void OnDeleteKey(const std::string& path) = 0;
    virtual void OnValue(const std::string& name, RegValue value) = 0;
    virtual void OnDeleteValue(const std::string& name) = 0;
};

/// Reads UTF-8 with or without a byte order mark, or UTF-16 with one; lines end with LF or CRLF.
/// Throws PlatformError with the line's number; the sink has then heard what stood before it.
void ParseRegText(std::string_view content, RegSink& sink);

/// The long name of the hive that a path begins with: "HKLM" becomes "HKEY_LOCAL_MACHINE", and
/// HKEY_CLASSES_ROOT becomes the machine's Software\Classes, where it lives. Empty parts go.
std::string CanonicalRegPath(std::string_view path);

/// "[path]" and a value line, with LF; the latter in the form that keeps its type.
void AppendRegKey(std::string& out, std::string_view path);
void AppendRegValue(std::string& out, std::string_view name, const RegValue& value);

/// A value made from a type number and its bytes, as "hex(n):" gives them.
RegValue RegValueFromBytes(uint32_t type, const Bytes& bytes);

/// The form that other systems import: UTF-16 with byte order mark and CRLF.
std::string RegTextForWindows(std::string_view text);

} // namespace kr
