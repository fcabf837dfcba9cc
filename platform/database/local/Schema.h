#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// A column that Schema.ini declares.
struct TextColumn {
    std::string name;
    std::string type; // folded
    size_t width = 0; // in characters
    bool isText() const;
};

/// How one text file is laid out.
struct TextLayout {
    bool header = true;
    bool fixed = false;
    char delimiter = ',';
    char quote = '"';
    char decimal = '.';
    std::string charset; // as ICU names it; "" to be found out
    std::vector<TextColumn> columns;
};

/// The sections of a Schema.ini by the folded names of the files that they describe.
class Schema {
public:
    Schema() = default;
    explicit Schema(std::string_view text);

    /// The layout of a file: `header` and `format` (FMT) of the connection string, overridden by
    /// the file's own section. Throws PlatformError for a file of fixed width without its columns.
    TextLayout LayoutOf(std::string_view file, bool header, std::string_view format) const;

private:
    using Section = std::map<std::string, std::string>; // values by folded keys
    static void apply(TextLayout& layout, const Section& section);
    std::map<std::string, Section> m_sections;
};

} // namespace kr
