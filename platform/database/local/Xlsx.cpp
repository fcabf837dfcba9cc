#include <libxml/xmlreader.h>
#include <zip.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <set>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Numbers.h"
#include "platform/database/local/Sheet.h"

namespace kr {

namespace {

[[noreturn]] void damaged() {
    throw PlatformError(DB_E_FAIL, "External table is not in the expected format.", "Excel");
}

/// Bytes that a part may unpack to, which can be far more than the file has.
constexpr zip_uint64_t kMostUnpacked = 1U << 30U;
/// Strings that the cells of a workbook share, and other lists of its parts.
constexpr size_t kMostEntries = 5'000'000;
/// Excel's own limit of cell styles.
constexpr size_t kMostStyles = 65490;

void checkCount(size_t count) {
    if (count >= kMostEntries)
        throw PlatformError(DB_E_FAIL, "The workbook is too large.", "Excel");
}

/// One part of the package, read node after node.
class Part {
public:
    Part(zip_t* package, const std::string& name, const std::atomic<bool>* cancel)
        : m_file(zip_fopen(package, name.c_str(), ZIP_FL_NOCASE)), m_cancel(cancel) {
        if (m_file)
            m_reader = xmlReaderForIO(readPiece, nullptr, this, nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    }
    ~Part() {
        if (m_reader)
            xmlFreeTextReader(m_reader);
        if (m_file)
            zip_fclose(m_file);
    }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

    bool Exists() const { return m_reader != nullptr; }
    bool Next() {
        const int rc = xmlTextReaderRead(m_reader);
        if (m_cancel && *m_cancel)
            throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "Excel");
        if (m_unpacked > kMostUnpacked)
            throw PlatformError(DB_E_FAIL, "The workbook is too large.", "Excel");
        // a document type could define entities, which no workbook has
        if (rc < 0 || xmlTextReaderNodeType(m_reader) == XML_READER_TYPE_DOCUMENT_TYPE)
            damaged();
        return rc == 1;
    }
    bool Starts(std::string_view name) const { return is(name, XML_READER_TYPE_ELEMENT); }
    /// Also for an element without contents.
    bool Ends(std::string_view name) const {
        return is(name, XML_READER_TYPE_END_ELEMENT) ||
               (Starts(name) && xmlTextReaderIsEmptyElement(m_reader) == 1);
    }
    std::string_view Text() const {
        const int type = xmlTextReaderNodeType(m_reader);
        if (type != XML_READER_TYPE_TEXT && type != XML_READER_TYPE_SIGNIFICANT_WHITESPACE &&
            type != XML_READER_TYPE_WHITESPACE && type != XML_READER_TYPE_CDATA)
            return {};
        return viewOf(xmlTextReaderConstValue(m_reader));
    }
    std::string Attribute(const char* name) const {
        xmlChar* text = xmlTextReaderGetAttribute(m_reader, reinterpret_cast<const xmlChar*>(name));
        std::string out(viewOf(text));
        xmlFree(text);
        return out;
    }
    /// Calls with the local name and the value of each attribute.
    template <class Call>
    void EachAttribute(Call call) {
        while (xmlTextReaderMoveToNextAttribute(m_reader) == 1)
            call(viewOf(xmlTextReaderConstLocalName(m_reader)),
                 viewOf(xmlTextReaderConstValue(m_reader)));
        xmlTextReaderMoveToElement(m_reader);
    }

private:
    static std::string_view viewOf(const xmlChar* text) {
        return text ? reinterpret_cast<const char*>(text) : std::string_view();
    }
    static int readPiece(void* self, char* buffer, int size) {
        auto& part = *static_cast<Part*>(self);
        const zip_int64_t read = zip_fread(part.m_file, buffer, static_cast<zip_uint64_t>(size));
        part.m_unpacked += static_cast<zip_uint64_t>(std::max<zip_int64_t>(read, 0));
        return part.m_unpacked > kMostUnpacked ? -1 : static_cast<int>(read);
    }
    bool is(std::string_view name, int type) const {
        return xmlTextReaderNodeType(m_reader) == type &&
               viewOf(xmlTextReaderConstLocalName(m_reader)) == name;
    }

    zip_file_t* m_file;
    xmlTextReaderPtr m_reader = nullptr;
    const std::atomic<bool>* m_cancel;
    zip_uint64_t m_unpacked = 0;
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
    XlsxFile(const std::string& path, const std::atomic<bool>* cancel) : m_cancel(cancel) {
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
        Part part(m_package, m_parts[sheet], m_cancel);
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
                ++column;
                Value value = readCell(part, row, column);
                if (!value.empty())
                    cells.Set(row, column, std::move(value));
            }
        }
        return cells;
    }

private:
    void readWorkbook() {
        std::map<std::string, std::string> targets;
        Part relations(m_package, "xl/_rels/workbook.xml.rels", m_cancel);
        Part book(m_package, "xl/workbook.xml", m_cancel);
        if (!relations.Exists() || !book.Exists())
            damaged();
        while (relations.Next())
            if (relations.Starts("Relationship")) {
                checkCount(targets.size());
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
                checkCount(m_names.size());
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
        Part part(m_package, "xl/styles.xml", m_cancel);
        std::set<int> dates{14, 15, 16, 17, 18, 19, 20, 21, 22, 45, 46, 47};
        bool inCells = false;
        while (part.Exists() && part.Next()) {
            if (part.Starts("numFmt") && isDateFormat(part.Attribute("formatCode")) &&
                dates.size() < kMostStyles)
                dates.insert(std::atoi(part.Attribute("numFmtId").c_str()));
            else if (part.Starts("cellXfs"))
                inCells = true;
            else if (part.Ends("cellXfs"))
                inCells = false;
            else if (inCells && part.Starts("xf") && m_isDate.size() < kMostStyles)
                m_isDate.push_back(dates.contains(std::atoi(part.Attribute("numFmtId").c_str())));
        }
    }
    void readStrings() {
        Part part(m_package, "xl/sharedStrings.xml", m_cancel);
        while (part.Exists() && part.Next())
            if (part.Starts("si")) {
                checkCount(m_strings.size());
                m_strings.push_back(joinedText(part, "si"));
            }
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
    /// `row` and `column` come in as the place that follows the last cell's, and go out as the
    /// place that the cell itself names, where it does.
    Value readCell(Part& part, uint32_t& row, uint32_t& column) {
        m_type.clear();
        m_raw.clear();
        size_t style = 0;
        bool placed = true;
        part.EachAttribute([&](std::string_view name, std::string_view value) {
            if (name == "t")
                m_type = value;
            else if (name == "s")
                std::from_chars(value.data(), value.data() + value.size(), style);
            else if (name == "r" && !value.empty())
                placed = ParseCell(value, row, column);
        });
        if (!placed || row >= kMostRows || column >= kMostColumns)
            damaged();
        std::string inlined;
        bool inValue = false;
        for (bool more = !part.Ends("c"); more && part.Next() && !part.Ends("c");) {
            if (inValue && !part.Ends("v"))
                m_raw += part.Text();
            else if (part.Starts("v"))
                inValue = !part.Ends("v");
            else if (part.Ends("v"))
                inValue = false;
            else if (part.Starts("is"))
                inlined = joinedText(part, "is");
        }
        if (m_type == "inlineStr")
            return inlined;
        if (m_raw.empty() || m_type == "e")
            return {};
        return valueOf(m_type, m_raw, style);
    }
    Value valueOf(const std::string& type, const std::string& raw, size_t style) const {
        if (type == "str" || type == "d")
            return raw;
        if (type == "b")
            return raw == "1";
        double number = 0;
        if (!ReadNumber(raw, number) && !ReadNumber(Trim(raw), number))
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
    const std::atomic<bool>* m_cancel;
    std::string m_type, m_raw; // of the present cell
    bool m_from1904 = false;
    std::vector<std::string> m_names;
    std::vector<std::string> m_parts;
    std::map<std::string, std::string> m_ranges;
    std::vector<bool> m_isDate;
    std::vector<std::string> m_strings;
};

} // namespace

std::unique_ptr<Sheets> OpenXlsx(const std::string& path, const std::atomic<bool>* cancel) {
    return std::make_unique<XlsxFile>(path, cancel);
}

} // namespace kr
