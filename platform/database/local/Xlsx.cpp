#include <libxml/xmlreader.h>
#include <zip.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <set>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Sheet.h"

namespace kr {

namespace {

[[noreturn]] void damaged() {
    throw PlatformError(DB_E_FAIL, "External table is not in the expected format.", "Excel");
}

int readPiece(void* file, char* buffer, int size) {
    return static_cast<int>(
        zip_fread(static_cast<zip_file_t*>(file), buffer, static_cast<zip_uint64_t>(size)));
}
int closePiece(void* file) { return zip_fclose(static_cast<zip_file_t*>(file)); }

/// One part of the package, read node after node.
class Part {
public:
    Part(zip_t* package, const std::string& name) {
        zip_file_t* file = zip_fopen(package, name.c_str(), ZIP_FL_NOCASE);
        if (file)
            m_reader = xmlReaderForIO(readPiece, closePiece, file, nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    }
    ~Part() {
        if (m_reader)
            xmlFreeTextReader(m_reader);
    }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

    bool Exists() const { return m_reader != nullptr; }
    bool Next() {
        const int rc = xmlTextReaderRead(m_reader);
        if (rc < 0)
            damaged();
        return rc == 1;
    }
    bool Starts(const char* name) const { return is(name, XML_READER_TYPE_ELEMENT); }
    /// Also for an element without contents.
    bool Ends(const char* name) const {
        return is(name, XML_READER_TYPE_END_ELEMENT) ||
               (Starts(name) && xmlTextReaderIsEmptyElement(m_reader) == 1);
    }
    std::string Text() const {
        const int type = xmlTextReaderNodeType(m_reader);
        if (type != XML_READER_TYPE_TEXT && type != XML_READER_TYPE_SIGNIFICANT_WHITESPACE &&
            type != XML_READER_TYPE_WHITESPACE && type != XML_READER_TYPE_CDATA)
            return {};
        const auto* text = reinterpret_cast<const char*>(xmlTextReaderConstValue(m_reader));
        return text ? text : "";
    }
    std::string Attribute(const char* name) const {
        xmlChar* text = xmlTextReaderGetAttribute(m_reader, reinterpret_cast<const xmlChar*>(name));
        std::string out = text ? reinterpret_cast<const char*>(text) : "";
        xmlFree(text);
        return out;
    }

private:
    bool is(const char* name, int type) const {
        if (xmlTextReaderNodeType(m_reader) != type)
            return false;
        const auto* local = reinterpret_cast<const char*>(xmlTextReaderConstLocalName(m_reader));
        return local && std::string_view(local) == name;
    }
    xmlTextReaderPtr m_reader = nullptr;
};

/// d, m, y, h or s outside quotes, escapes and brackets make a date of a number.
bool isDateFormat(std::string_view code) {
    for (size_t i = 0; i < code.size(); ++i) {
        const char c = code[i];
        if (c == '"' || c == '[')
            i = std::min(code.find(c == '"' ? '"' : ']', i + 1), code.size());
        else if (c == '\\' || c == '_')
            ++i;
        else if (std::string_view("dmyhsDMYHS").find(c) != std::string_view::npos)
            return true;
    }
    return false;
}

class XlsxFile : public Sheets {
public:
    explicit XlsxFile(const std::string& path) {
        int error = 0;
        m_package = zip_open(path.c_str(), ZIP_RDONLY, &error);
        if (!m_package)
            damaged();
        try {
            readWorkbook();
            readStyles();
            readStrings();
        } catch (...) {
            zip_discard(m_package);
            throw;
        }
    }
    ~XlsxFile() override { zip_discard(m_package); }
    XlsxFile(const XlsxFile&) = delete;
    XlsxFile& operator=(const XlsxFile&) = delete;

    const std::vector<std::string>& Names() const override { return m_names; }
    const std::map<std::string, std::string>& Ranges() const override { return m_ranges; }

    SheetCells Read(size_t sheet) override {
        Part part(m_package, m_parts[sheet]);
        if (!part.Exists())
            damaged();
        SheetCells cells;
        uint32_t row = UINT32_MAX, column = UINT32_MAX;
        while (part.Next()) {
            if (part.Starts("row")) {
                const std::string number = part.Attribute("r");
                row = number.empty()
                          ? row + 1
                          : static_cast<uint32_t>(std::strtoul(number.c_str(), nullptr, 10)) - 1;
                column = UINT32_MAX;
            } else if (part.Starts("c")) {
                const std::string place = part.Attribute("r");
                ++column;
                if ((!place.empty() && !ParseCell(place, row, column)) || row >= kMostRows ||
                    column >= kMostColumns)
                    damaged();
                Value value = readCell(part);
                if (!value.empty())
                    cells[row][column] = std::move(value);
            }
        }
        return cells;
    }

private:
    void readWorkbook() {
        std::map<std::string, std::string> targets;
        Part relations(m_package, "xl/_rels/workbook.xml.rels");
        Part book(m_package, "xl/workbook.xml");
        if (!relations.Exists() || !book.Exists())
            damaged();
        while (relations.Next())
            if (relations.Starts("Relationship")) {
                const std::string target = relations.Attribute("Target");
                targets[relations.Attribute("Id")] =
                    target.starts_with('/') ? target.substr(1) : "xl/" + target;
            }
        std::string range;
        bool inRange = false;
        while (book.Next()) {
            if (book.Starts("workbookPr")) {
                const std::string mark = book.Attribute("date1904");
                m_from1904 = mark == "1" || mark == "true";
            } else if (book.Starts("sheet")) {
                m_names.push_back(book.Attribute("name"));
                m_parts.push_back(targets[book.Attribute("r:id")]);
            } else if (book.Starts("definedName")) {
                range = book.Attribute("name");
                inRange = true;
            } else if (book.Ends("definedName")) {
                inRange = false;
            } else if (inRange) {
                m_ranges[range] += book.Text();
            }
        }
    }
    void readStyles() {
        Part part(m_package, "xl/styles.xml");
        std::set<int> dates{14, 15, 16, 17, 18, 19, 20, 21, 22, 45, 46, 47};
        bool inCells = false;
        while (part.Exists() && part.Next()) {
            if (part.Starts("numFmt") && isDateFormat(part.Attribute("formatCode")))
                dates.insert(std::atoi(part.Attribute("numFmtId").c_str()));
            else if (part.Starts("cellXfs"))
                inCells = true;
            else if (part.Ends("cellXfs"))
                inCells = false;
            else if (inCells && part.Starts("xf"))
                m_isDate.push_back(dates.contains(std::atoi(part.Attribute("numFmtId").c_str())));
        }
    }
    void readStrings() {
        Part part(m_package, "xl/sharedStrings.xml");
        while (part.Exists() && part.Next())
            if (part.Starts("si"))
                m_strings.push_back(joinedText(part, "si"));
    }
    /// The joined t of a rich text, without the phonetic runs.
    static std::string joinedText(Part& part, const char* until) {
        std::string text;
        bool inText = false, phonetic = false;
        for (bool more = !part.Ends(until); more && part.Next() && !part.Ends(until);) {
            if (part.Starts("rPh"))
                phonetic = !part.Ends("rPh");
            else if (part.Ends("rPh"))
                phonetic = false;
            else if (part.Starts("t"))
                inText = !part.Ends("t");
            else if (part.Ends("t"))
                inText = false;
            else if (inText && !phonetic)
                text += part.Text();
        }
        return text;
    }
    Value readCell(Part& part) const {
        const std::string type = part.Attribute("t");
        const auto style =
            static_cast<size_t>(std::strtoul(part.Attribute("s").c_str(), nullptr, 10));
        std::string raw;
        std::string inlined;
        bool inValue = false;
        for (bool more = !part.Ends("c"); more && part.Next() && !part.Ends("c");) {
            if (part.Starts("v"))
                inValue = !part.Ends("v");
            else if (part.Ends("v"))
                inValue = false;
            else if (part.Starts("is"))
                inlined = joinedText(part, "is");
            else if (inValue)
                raw += part.Text();
        }
        if (type == "inlineStr")
            return inlined;
        if (raw.empty() || type == "e")
            return {};
        return valueOf(type, raw, style);
    }
    Value valueOf(const std::string& type, const std::string& raw, size_t style) const {
        if (type == "str" || type == "d")
            return raw;
        if (type == "b")
            return raw == "1";
        char* end = nullptr;
        const double number = std::strtod(raw.c_str(), &end);
        if (end == raw.c_str() || !std::isfinite(number))
            damaged();
        if (type == "s") {
            if (number < 0 || number >= static_cast<double>(m_strings.size()))
                damaged();
            return m_strings[static_cast<size_t>(number)];
        }
        if (style < m_isDate.size() && m_isDate[style]) {
            const std::string date = ExcelDate(number, m_from1904);
            return date.empty() ? Value(number) : Value(date);
        }
        if (number == std::floor(number) && std::abs(number) < 2147483647)
            return static_cast<int32_t>(number);
        return number;
    }

    zip_t* m_package = nullptr;
    bool m_from1904 = false;
    std::vector<std::string> m_names;
    std::vector<std::string> m_parts;
    std::map<std::string, std::string> m_ranges;
    std::vector<bool> m_isDate;
    std::vector<std::string> m_strings;
};

} // namespace

std::unique_ptr<Sheets> OpenXlsx(const std::string& path) {
    return std::make_unique<XlsxFile>(path);
}

} // namespace kr
