#include <cstdio>

#include "core/Text.h"
#include "platform/registry/regfile/RegText.h"
#include "platform/registry/regfile/RegWide.h"

namespace kr {

namespace {

constexpr size_t kLineWidth = 77; // lines of bytes break behind the comma before this column

std::string quotedText(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"')
            out += '\\';
        out += c;
    }
    return out + '"';
}

bool fitsInQuotes(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

void appendBytes(std::string& out, size_t column, const Bytes& bytes) {
    char digits[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        out += digits;
        if (i + 1 == bytes.size())
            break;
        out += ',';
        column += 3;
        if (column >= kLineWidth) {
            out += "\\\n  ";
            column = 2;
        }
    }
}

void appendNul(Bytes& bytes) { bytes.insert(bytes.end(), {0, 0}); }

Bytes textBytes(std::string_view text) {
    Bytes bytes = Utf16FromUtf8(text);
    appendNul(bytes);
    return bytes;
}

/// An empty entry would end the list, so it is left out.
Bytes listBytes(const Strings& lines) {
    Bytes bytes;
    for (const std::string& line : lines) {
        if (line.empty())
            continue;
        const Bytes entry = textBytes(line);
        bytes.insert(bytes.end(), entry.begin(), entry.end());
    }
    appendNul(bytes);
    return bytes;
}

Bytes littleEndian(uint64_t number, size_t size) {
    Bytes bytes;
    for (size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
    return bytes;
}

uint64_t fromLittleEndian(const Bytes& bytes, size_t size) {
    uint64_t number = 0;
    for (size_t i = 0; i < std::min(bytes.size(), size); ++i)
        number |= static_cast<uint64_t>(bytes[i]) << (8 * i);
    return number;
}

std::string textOf(const Bytes& bytes) {
    std::string text = Utf8FromUtf16({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (text.ends_with('\0'))
        text.pop_back(); // the terminator, and no more than that
    return text;
}

Strings linesOf(const Bytes& bytes) {
    Strings lines = Split(textOf(bytes), std::string_view("\0", 1));
    std::erase_if(lines, [](const std::string& line) { return line.empty(); });
    return lines;
}

Bytes bytesOf(const RegValue& value) {
    switch (value.type) {
    case RegType::Sz:
    case RegType::ExpandSz:
        return textBytes(value.text);
    case RegType::MultiSz:
        return listBytes(value.lines);
    case RegType::Dword:
        return littleEndian(value.number, 4);
    case RegType::Qword:
        return littleEndian(value.number, 8);
    case RegType::None:
    case RegType::Binary:
        break;
    }
    return value.bytes;
}

} // namespace

RegValue RegValueFromBytes(uint32_t type, const Bytes& bytes) {
    RegValue value;
    value.type = static_cast<RegType>(type);
    switch (value.type) {
    case RegType::Sz:
    case RegType::ExpandSz:
        value.text = textOf(bytes);
        break;
    case RegType::MultiSz:
        value.lines = linesOf(bytes);
        break;
    case RegType::Dword:
        value.number = fromLittleEndian(bytes, 4);
        break;
    case RegType::Qword:
        value.number = fromLittleEndian(bytes, 8);
        break;
    case RegType::None:
    case RegType::Binary:
    default:
        value.bytes = bytes;
    }
    return value;
}

void AppendRegKey(std::string& out, std::string_view path) {
    out += '[';
    out += path;
    out += "]\n";
}

void AppendRegValue(std::string& out, std::string_view name, const RegValue& value) {
    const size_t start = out.size();
    out += name.empty() ? "@" : quotedText(name);
    out += '=';
    char mark[24];
    if (value.type == RegType::Sz && fitsInQuotes(value.text)) {
        out += quotedText(value.text);
    } else if (value.type == RegType::Dword) {
        std::snprintf(mark, sizeof mark, "dword:%08x", static_cast<unsigned>(value.number));
        out += mark;
    } else {
        const auto type = static_cast<unsigned>(value.type);
        if (value.type == RegType::Binary)
            std::snprintf(mark, sizeof mark, "hex:");
        else
            std::snprintf(mark, sizeof mark, "hex(%x):", type);
        out += mark;
        appendBytes(out, out.size() - start, bytesOf(value));
    }
    out += '\n';
}

std::string RegTextForWindows(std::string_view text) {
    const Bytes bytes = Utf16FromUtf8(ReplaceAll(text, "\n", "\r\n"));
    std::string out = "\xFF\xFE";
    out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return out;
}

} // namespace kr
