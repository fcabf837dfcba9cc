#include "platform/database/local/Schema.h"

#include <algorithm>
#include <cstdlib>

#include "core/Text.h"
#include "platform/database/Database.h"

namespace kr {

namespace {

void setFormat(TextLayout& layout, std::string_view format) {
    if (StartsWithNoCase(format, "fixed"))
        layout.fixed = true;
    else if (StartsWithNoCase(format, "Delimited(") && format.size() > 10)
        layout.fixed = false, layout.delimiter = format[10];
    else if (EqualNoCase(format, "TabDelimited"))
        layout.fixed = false, layout.delimiter = '\t';
    else if (StartsWithNoCase(format, "CSVDelimited") || EqualNoCase(format, "Delimited"))
        layout.fixed = false, layout.delimiter = ',';
}

/// ColN=name type [Width n]; a name with blanks stands in quotes.
TextColumn columnOf(std::string_view text) {
    TextColumn column;
    if (text.starts_with('"')) {
        const size_t end = std::min(text.find('"', 1), text.size());
        column.name = text.substr(1, end - 1);
        text.remove_prefix(std::min(end + 1, text.size()));
    } else {
        const size_t end = std::min(text.find_first_of(" \t"), text.size());
        column.name = text.substr(0, end);
        text.remove_prefix(end);
    }
    const auto words = SplitNonEmpty(ReplaceAll(text, "\t", " "), " ");
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

} // namespace

bool TextColumn::isText() const {
    return type.starts_with("char") || type.starts_with("text") || type.starts_with("memo") ||
           type.starts_with("longchar");
}

Schema::Schema(std::string_view text) {
    Section* section = nullptr;
    for (const std::string& raw : Split(ReplaceAll(text, "\r", "\n"), "\n")) {
        const std::string line = Trim(raw);
        const size_t equals = line.find('=');
        if (line.starts_with('[') && line.ends_with(']') && line.size() > 1)
            section = &m_sections[Fold(line.substr(1, line.size() - 2))];
        else if (section && equals != std::string::npos)
            (*section)[Fold(Trim(line.substr(0, equals)))] = Trim(line.substr(equals + 1));
    }
}

void Schema::apply(TextLayout& layout, const Section& section) {
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

TextLayout Schema::LayoutOf(std::string_view file, bool header, std::string_view format) const {
    TextLayout layout;
    layout.header = header;
    setFormat(layout, format);
    if (const auto section = m_sections.find(Fold(file)); section != m_sections.end())
        apply(layout, section->second);
    const bool measured =
        !layout.columns.empty() &&
        std::ranges::all_of(layout.columns, [](const TextColumn& c) { return c.width > 0; });
    if (layout.fixed && !measured)
        throw PlatformError(DB_E_FAIL,
                            "A file of fixed width needs a section [" + std::string(file) +
                                "] in Schema.ini with the width of each column.",
                            "Text");
    return layout;
}

} // namespace kr
