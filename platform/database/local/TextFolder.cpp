#include <unicode/ucnv.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Delimited.h"
#include "platform/database/local/TableSource.h"

namespace kr {

namespace {

namespace fs = std::filesystem;

struct TextColumn {
    std::string name;
    std::string type;
    size_t width = 0;
};

/// How one file is laid out.
struct Layout {
    bool header = true;
    bool fixed = false;
    char delimiter = ',';
    char quote = '"';
    char decimal = '.';
    std::string charset;
    std::vector<TextColumn> columns;
};

using Section = std::map<std::string, std::string>; // keys folded

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw PlatformError(DB_E_FAIL, "Could not find file '" + path.string() + "'.", "Text");
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Schema.ini, in any case of its name; sections by folded file name.
std::map<std::string, Section> readSchema(const fs::path& folder) {
    std::map<std::string, Section> sections;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (!EqualNoCase(entry.path().filename().string(), "schema.ini"))
            continue;
        Section* section = nullptr;
        for (std::string& raw : Split(ReplaceAll(readFile(entry.path()), "\r", "\n"), "\n")) {
            const std::string line = Trim(raw);
            const size_t equals = line.find('=');
            if (line.starts_with('[') && line.ends_with(']'))
                section = &sections[Fold(line.substr(1, line.size() - 2))];
            else if (section && equals != std::string::npos)
                (*section)[Fold(Trim(line.substr(0, equals)))] = Trim(line.substr(equals + 1));
        }
    }
    return sections;
}

void setFormat(Layout& layout, const std::string& format) {
    if (StartsWithNoCase(format, "fixed"))
        layout.fixed = true;
    else if (EqualNoCase(format, "TabDelimited"))
        layout.delimiter = '\t';
    else if (StartsWithNoCase(format, "Delimited(") && format.size() > 10)
        layout.delimiter = format[10];
}

/// ColN=name type [Width n]; a name with blanks stands in quotes.
TextColumn columnOf(std::string_view text) {
    TextColumn column;
    if (text.starts_with('"')) {
        const size_t end = text.find('"', 1);
        column.name = text.substr(1, end == std::string_view::npos ? end : end - 1);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    } else {
        const size_t end = std::min(text.find(' '), text.size());
        column.name = text.substr(0, end);
        text.remove_prefix(end);
    }
    const auto words = SplitNonEmpty(text, " ");
    if (!words.empty())
        column.type = Fold(words.front());
    for (size_t i = 0; i + 1 < words.size(); ++i)
        if (EqualNoCase(words[i], "width"))
            column.width = std::strtoul(words[i + 1].c_str(), nullptr, 10);
    return column;
}

std::string charsetOf(const std::string& name) {
    if (EqualNoCase(name, "ANSI"))
        return "windows-1252";
    if (EqualNoCase(name, "OEM"))
        return "ibm-437";
    if (EqualNoCase(name, "Unicode"))
        return "UTF-16LE";
    if (name == "65001")
        return "UTF-8";
    const bool number = !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
    return number ? "cp" + name : name;
}

void applySection(Layout& layout, const Section& section) {
    for (const auto& [key, value] : section) {
        if (key == "format")
            setFormat(layout, value);
        else if (key == "colnameheader")
            layout.header = EqualNoCase(value, "true") || value == "1";
        else if (key == "characterset")
            layout.charset = charsetOf(value);
        else if (key == "decimalsymbol" && !value.empty())
            layout.decimal = value.front();
        else if (key == "textdelimiter" && !value.empty())
            layout.quote = EqualNoCase(value, "none") ? '\0' : value.front();
    }
    for (size_t n = 1;; ++n) {
        const auto column = section.find("col" + std::to_string(n));
        if (column == section.end())
            return;
        layout.columns.push_back(columnOf(column->second));
    }
}

bool isUtf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        const size_t n = c < 0x80 ? 1 : c >= 0xC2 && c < 0xE0 ? 2 : c >= 0xE0 && c < 0xF0 ? 3 : 4;
        if ((c >= 0x80 && c < 0xC2) || c > 0xF4 || i + n > text.size())
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
std::string decode(std::string text, std::string charset) {
    if (text.starts_with("\xEF\xBB\xBF"))
        return text.substr(3);
    if (text.starts_with("\xFF\xFE"))
        charset = "UTF-16LE";
    if (charset.empty())
        charset = isUtf8(text) ? "UTF-8" : "windows-1252";
    if (charset == "UTF-8")
        return text;
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

bool isTextType(std::string_view type) {
    return type.starts_with("char") || type.starts_with("text") || type.starts_with("memo") ||
           type.starts_with("longchar");
}

/// A number when the whole cell is one, else the text; empty and not quoted is null.
Value cellOf(const std::string& text, bool quoted, const Layout& layout, const TextColumn* column) {
    if (text.empty() && !quoted)
        return {};
    if (quoted || (column && isTextType(column->type)))
        return text;
    std::string number = text;
    if (layout.decimal != '.')
        std::replace(number.begin(), number.end(), layout.decimal, '.');
    const bool plain = number.find_first_not_of("0123456789+-.eE") == std::string::npos;
    // a leading zero or plus is a telephone number or a post code, not a number
    const bool code =
        number.size() > 1 && ((number[0] == '0' && number[1] != '.') || number[0] == '+');
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if (!plain || code || end != number.c_str() + number.size() || !std::isfinite(value))
        return text;
    if (number.find_first_of(".eE") == std::string::npos && std::abs(value) < 2147483647)
        return static_cast<int32_t>(value);
    return value;
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
        const Layout layout = layoutOf(path.filename().string());
        const std::string text = decode(readFile(path), layout.charset);
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

    Layout layoutOf(const std::string& file) const {
        Layout layout;
        layout.header = m_header;
        setFormat(layout, m_format);
        const auto section = m_schema.find(Fold(file));
        if (section != m_schema.end())
            applySection(layout, section->second);
        if (layout.fixed && layout.columns.empty())
            throw PlatformError(DB_E_FAIL,
                                "A file of fixed width needs a section [" + file +
                                    "] in Schema.ini with the width of each column.",
                                "Text");
        return layout;
    }

    static std::vector<std::string> namesOf(const Layout& layout,
                                            const std::vector<std::string>& heading) {
        std::vector<std::string> names = heading;
        for (size_t i = 0; i < layout.columns.size(); ++i) {
            if (i >= names.size())
                names.emplace_back();
            names[i] = layout.columns[i].name;
        }
        return HeadingNames(names);
    }

    static void readDelimited(std::string_view text, const Layout& layout, TableSink& sink) {
        Delimited records(text, layout.delimiter, layout.quote);
        std::vector<std::string> fields;
        std::vector<bool> quoted;
        bool more = records.Next(fields, quoted);
        std::vector<std::string> heading(fields.size());
        if (layout.header)
            heading = fields;
        const auto names = namesOf(layout, heading);
        sink.Columns(names);
        if (layout.header && more)
            more = records.Next(fields, quoted);
        std::vector<Value> row;
        for (; more; more = records.Next(fields, quoted)) {
            row.assign(names.size(), {});
            for (size_t i = 0; i < names.size() && i < fields.size(); ++i)
                row[i] = cellOf(fields[i], quoted[i], layout,
                                i < layout.columns.size() ? &layout.columns[i] : nullptr);
            if (!sink.Row(row))
                return;
        }
    }

    static void readFixed(std::string_view text, const Layout& layout, TableSink& sink) {
        sink.Columns(namesOf(layout, {}));
        bool skip = layout.header;
        std::vector<Value> row;
        for (const std::string& raw : Split(text, "\n")) {
            std::string_view line(raw);
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            if (line.empty() || std::exchange(skip, false))
                continue;
            row.clear();
            for (const TextColumn& column : layout.columns) {
                const std::string cell = Trim(line.substr(0, column.width));
                line.remove_prefix(std::min(column.width, line.size()));
                row.push_back(cellOf(cell, false, layout, &column));
            }
            if (!sink.Row(row))
                return;
        }
    }

    fs::path m_folder;
    bool m_header;
    std::string m_format;
    std::map<std::string, Section> m_schema;
};

} // namespace

std::vector<std::string> HeadingNames(const std::vector<std::string>& cells) {
    std::vector<std::string> names;
    const auto taken = [&](const std::string& name) {
        return std::any_of(names.begin(), names.end(),
                           [&](const std::string& other) { return EqualNoCase(other, name); });
    };
    for (size_t i = 0; i < cells.size(); ++i) {
        std::string name = ReplaceAll(Trim(cells[i]), ".", "#");
        if (name.empty())
            name = "F" + std::to_string(i + 1);
        const std::string stem = name;
        for (int n = 1; taken(name); ++n)
            name = stem + std::to_string(n);
        names.push_back(std::move(name));
    }
    return names;
}

std::unique_ptr<TableSource> OpenTextFolder(const std::string& folder, bool header,
                                            const std::string& format) {
    return std::make_unique<TextFolder>(folder, header, format);
}

} // namespace kr
