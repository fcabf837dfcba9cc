#include <unicode/ucnv.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Delimited.h"
#include "platform/database/local/Numbers.h"
#include "platform/database/local/Schema.h"
#include "platform/database/local/TableSource.h"

namespace kr {

namespace {

namespace fs = std::filesystem;

/// Bytes of the largest file that is read.
constexpr uintmax_t kMostText = 1U << 30U;

[[noreturn]] void tooLarge(const fs::path& path) {
    throw PlatformError(DB_E_FAIL, "The file '" + path.string() + "' is too large.", "Text");
}

std::string readFile(const fs::path& path) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    std::ifstream in(path, std::ios::binary);
    if (!in || error)
        throw PlatformError(DB_E_FAIL, "Could not find file '" + path.string() + "'.", "Text");
    if (size > kMostText)
        tooLarge(path);
    std::string text(static_cast<size_t>(size), '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(in.gcount()));
    return text;
}

/// Schema.ini, in any case of its name.
Schema readSchema(const fs::path& folder) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (entry.is_regular_file(ignored) &&
            EqualNoCase(entry.path().filename().string(), "schema.ini"))
            return Schema(readFile(entry.path()));
    return {};
}

/// First byte at or behind `at` that isn't ASCII.
size_t asciiEnd(std::string_view text, size_t at) {
    uint64_t eight = 0;
    for (; at + sizeof eight <= text.size(); at += sizeof eight) {
        std::memcpy(&eight, text.data() + at, sizeof eight);
        if (eight & 0x8080808080808080U)
            break;
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80)
        ++at;
    return at;
}

bool isUtf8(std::string_view text) {
    for (size_t i = asciiEnd(text, 0); i < text.size(); i = asciiEnd(text, i)) {
        const auto c = static_cast<unsigned char>(text[i]);
        const size_t n = c >= 0xC2 && c < 0xE0 ? 2 : c >= 0xE0 && c < 0xF0 ? 3 : 4;
        if (c < 0xC2 || c > 0xF4 || i + n > text.size())
            return false;
        for (size_t k = 1; k < n; ++k)
            if ((text[i + k] & 0xC0) != 0x80)
                return false;
        i += n;
    }
    return true;
}

/// The file's text as UTF-8. Without a character set: a mark at its beginning, else UTF-8 when it
/// is valid, else the code page 1252.
std::string decode(std::string text, std::string charset, const fs::path& path) {
    if (text.starts_with("\xEF\xBB\xBF"))
        return text.substr(3);
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
        charset = "UTF-16";
    if (charset.empty())
        charset = isUtf8(text) ? "UTF-8" : "windows-1252";
    if (charset == "UTF-8")
        return text;
    if (text.size() > static_cast<size_t>(INT32_MAX) / 4 - 16)
        tooLarge(path);
    UErrorCode status = U_ZERO_ERROR;
    std::string out(text.size() * 4 + 16, '\0');
    const int32_t size =
        ucnv_convert("UTF-8", charset.c_str(), out.data(), static_cast<int32_t>(out.size()),
                     text.data(), static_cast<int32_t>(text.size()), &status);
    if (U_FAILURE(status))
        throw PlatformError(DB_E_FAIL, "The character set " + charset + " is not known.", "Text");
    out.resize(static_cast<size_t>(size));
    return out.starts_with("\xEF\xBB\xBF") ? out.substr(3) : out;
}

/// Nothing else can begin a number; spares most cells a closer look.
bool mayBeNumber(std::string_view text) {
    const char c = text.front();
    // a leading zero or plus is a telephone number or a post code, not a number
    if (c == '0')
        return text.size() == 1 || !std::isdigit(static_cast<unsigned char>(text[1]));
    return std::isdigit(static_cast<unsigned char>(c)) || c == '-' || c == '.' || c == ',';
}

/// A number when the whole cell is one, else the text; empty and not quoted is null.
Value cellOf(std::string_view text, bool quoted, const TextLayout& layout,
             const TextColumn* column) {
    if (text.empty() && !quoted)
        return {};
    if (quoted || (column && column->isText()) || !mayBeNumber(text))
        return text;
    double value = 0;
    bool read = false;
    if (layout.decimal == '.') {
        read = ReadNumber(text, value);
    } else if (text.find('.') == std::string_view::npos) {
        std::string number(text);
        std::replace(number.begin(), number.end(), layout.decimal, '.');
        read = ReadNumber(number, value);
    }
    if (!read)
        return text;
    const bool whole = text.find_first_of(".,eE") == std::string_view::npos;
    if (whole && std::abs(value) < 2147483647)
        return static_cast<int32_t>(value);
    return value;
}

/// The first characters of a line, which are taken off it.
std::string_view takeCharacters(std::string_view& line, size_t count) {
    size_t at = 0;
    for (; at < line.size(); ++at)
        if ((line[at] & 0xC0) != 0x80 && count-- == 0)
            break;
    const std::string_view taken = line.substr(0, at);
    line.remove_prefix(at);
    return taken;
}

class TextFolder : public TableSource {
public:
    TextFolder(const std::string& folder, bool header, std::string format)
        : m_folder(folder), m_header(header), m_format(std::move(format)) {
        std::error_code error;
        if (!fs::is_directory(m_folder, error))
            throw PlatformError(DB_E_FAIL, "'" + folder + "' is not a valid path.", "Text");
        m_schema = readSchema(m_folder);
    }

    bool Read(std::string_view table, TableSink& sink) override {
        const fs::path path = find(table);
        if (path.empty())
            return false;
        const TextLayout layout = m_schema.LayoutOf(path.filename().string(), m_header, m_format);
        const std::string text = decode(readFile(path), layout.charset, path);
        if (layout.fixed)
            readFixed(text, layout, sink);
        else
            readDelimited(text, layout, sink);
        return true;
    }

private:
    /// The file of that name, in any case; "#" stands for "." as the old driver has it.
    fs::path find(std::string_view table) const {
        const std::string wanted = ReplaceAll(table, "#", ".");
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(m_folder, ignored))
            if (entry.is_regular_file(ignored) &&
                EqualNoCase(entry.path().filename().string(), wanted))
                return entry.path();
        return {};
    }

    static std::vector<std::string> namesOf(const TextLayout& layout,
                                            const std::vector<std::string>& heading) {
        std::vector<std::string> names = heading;
        for (size_t i = 0; i < layout.columns.size(); ++i) {
            if (i >= names.size())
                names.emplace_back();
            names[i] = layout.columns[i].name;
        }
        return HeadingNames(names);
    }

    static void readDelimited(std::string_view text, const TextLayout& layout, TableSink& sink) {
        Delimited records(text, layout.delimiter, layout.quote);
        std::vector<Delimited::Field> fields;
        bool more = records.Next(fields);
        std::vector<std::string> heading(fields.size());
        for (size_t i = 0; layout.header && i < fields.size(); ++i)
            heading[i] = fields[i].text;
        const auto names = namesOf(layout, heading);
        sink.Columns(names);
        if (layout.header && more)
            more = records.Next(fields);
        std::vector<Value> row;
        for (; more; more = records.Next(fields)) {
            row.assign(names.size(), {});
            for (size_t i = 0; i < names.size() && i < fields.size(); ++i)
                row[i] = cellOf(fields[i].text, fields[i].quoted, layout,
                                i < layout.columns.size() ? &layout.columns[i] : nullptr);
            if (!sink.Row(row))
                return;
        }
    }

    static void readFixed(std::string_view text, const TextLayout& layout, TableSink& sink) {
        sink.Columns(namesOf(layout, {}));
        bool skip = layout.header;
        std::vector<Value> row;
        while (!text.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            std::string_view line = text.substr(0, end);
            text.remove_prefix(std::min(end + 1, text.size()));
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            if (line.empty() || std::exchange(skip, false))
                continue;
            row.clear();
            for (const TextColumn& column : layout.columns)
                row.push_back(
                    cellOf(Trim(takeCharacters(line, column.width)), false, layout, &column));
            if (!sink.Row(row))
                return;
        }
    }

    fs::path m_folder;
    bool m_header;
    std::string m_format;
    Schema m_schema;
};

} // namespace

std::unique_ptr<TableSource> OpenTextFolder(const std::string& folder, bool header,
                                            const std::string& format) {
    return std::make_unique<TextFolder>(folder, header, format);
}

} // namespace kr
