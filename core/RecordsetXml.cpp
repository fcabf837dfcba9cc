#include "core/RecordsetXml.h"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>
#include <unordered_map>
#include <utility>

#include "core/PlatformError.h"
#include "core/RecordsetData.h"
#include "core/RecordsetXmlCells.h"
#include "core/RecordsetXmlInput.h"
#include "core/RecordsetXmlNames.h"
#include "core/Text.h"

namespace kr {

namespace {

/// More columns than any table of a database that saves recordsets.
constexpr size_t kMostFields = 1024;
constexpr long kNotARecordset = static_cast<long>(0x800A0BB9); // adErrInvalidArgument
constexpr long kFileNotFound = static_cast<long>(0x800A0BBA);  // adErrReadFile

[[noreturn]] void refuseXml(const std::string& reason) {
    throw PlatformError(kNotARecordset, "The file holds no recordset: " + reason, "Recordset");
}

std::string_view viewOf(const xmlChar* text) {
    return text ? reinterpret_cast<const char*>(text) : std::string_view();
}

/// The XML reader over cleaned input.
class RowsetReader {
public:
    explicit RowsetReader(const XmlInput& input) : m_input(input) {
        const char* encoding = m_input.IsUtf8() ? "UTF-8" : nullptr;
        m_reader = xmlReaderForIO(read, nullptr, this, nullptr, encoding,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        if (!m_reader)
            refuseXml("it can't be read");
    }
    ~RowsetReader() { xmlFreeTextReader(m_reader); }
    RowsetReader(const RowsetReader&) = delete;
    RowsetReader& operator=(const RowsetReader&) = delete;

    bool Next() {
        const int rc = xmlTextReaderRead(m_reader);
        if (m_failure)
            std::rethrow_exception(m_failure);
        if (rc < 0)
            refuseXml("its XML is damaged");
        // no entities, whose texts could be without measure
        if (rc == 1 && xmlTextReaderNodeType(m_reader) == XML_READER_TYPE_DOCUMENT_TYPE)
            refuseXml("it has a document type");
        return rc == 1;
    }
    bool Starts() const { return xmlTextReaderNodeType(m_reader) == XML_READER_TYPE_ELEMENT; }
    bool Ends() const {
        return xmlTextReaderNodeType(m_reader) == XML_READER_TYPE_END_ELEMENT ||
               (Starts() && xmlTextReaderIsEmptyElement(m_reader) == 1);
    }
    bool Is(std::string_view ns, std::string_view name) const {
        const xmlNode* node = xmlTextReaderCurrentNode(m_reader);
        return node && node->type == XML_ELEMENT_NODE && viewOf(node->name) == name &&
               viewOf(node->ns ? node->ns->href : nullptr) == ns;
    }
    /// Calls with namespace, local name, and value of each attribute.
    template <class Call>
    void EachAttribute(Call call) const {
        const xmlNode* node = xmlTextReaderCurrentNode(m_reader);
        for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
            const std::string_view ns = viewOf(attribute->ns ? attribute->ns->href : nullptr);
            const xmlNode* text = attribute->children;
            if (!text || (!text->next && text->type == XML_TEXT_NODE)) {
                call(ns, viewOf(attribute->name), viewOf(text ? text->content : nullptr));
                continue;
            }
            xmlChar* joined = xmlNodeListGetString(attribute->doc, text, 1);
            const std::string value(viewOf(joined));
            xmlFree(joined);
            call(ns, viewOf(attribute->name), value);
        }
    }

private:
    static int read(void* self, char* buffer, int size) {
        auto& reader = *static_cast<RowsetReader*>(self);
        try {
            return static_cast<int>(reader.m_input.Read(buffer, static_cast<size_t>(size)));
        } catch (...) {
            reader.m_failure = std::current_exception();
            return -1;
        }
    }

    RecordsetXmlInput m_input;
    xmlTextReaderPtr m_reader = nullptr;
    std::exception_ptr m_failure;
};

/// What the schema says of a field.
struct FieldSchema {
    std::string xmlName;
    std::string name;
    std::string dataType;
    std::string dbType;
    std::string length;
    bool isLong = false;
    int number = 0;
};

FieldType fieldType(const FieldSchema& schema) {
    if (schema.dataType == "string" && schema.dbType.empty() && schema.length.empty())
        return FieldType::Variant;
    const RowsetType* found = nullptr;
    for (const RowsetType& type : kRowsetTypes) {
        if (type.type == FieldType::Variant || type.dataType != schema.dataType)
            continue;
        if (type.dbType == schema.dbType)
            return type.type;
        if (type.dbType.empty() && !found)
            found = &type;
    }
    // what has no type of its own here, and what names none, is kept as text
    return found ? found->type : FieldType::LongText;
}

Field fieldOf(const FieldSchema& schema) {
    Field field{schema.name, fieldType(schema), 0};
    if (!IsTextField(field.type))
        return field;
    int64_t length = 0;
    std::from_chars(schema.length.data(), schema.length.data() + schema.length.size(), length);
    const bool endless = length <= 0 || length >= std::numeric_limits<int>::max();
    field.size = endless ? std::numeric_limits<int>::max() : static_cast<int>(length);
    field.type = endless || schema.isLong ? FieldType::LongText : FieldType::Text;
    return field;
}

/// Collects the fields of either shape of the schema.
class SchemaReader {
public:
    void Element(RowsetReader& reader) {
        if (reader.Is(kRowsetSchemaNs, "ElementType")) {
            if (m_rows++ > 0)
                refuseXml("it is a hierarchy");
        } else if (reader.Is(kRowsetSchemaNs, "AttributeType")) {
            if (m_fields.size() >= kMostFields)
                refuseXml("it has too many fields");
            m_fields.emplace_back();
            properties(reader, m_fields.back());
        } else if (reader.Is(kRowsetSchemaNs, "datatype") && !m_fields.empty()) {
            properties(reader, m_fields.back());
        } else if (reader.Is(kRowsetSchemaNs, "attribute")) {
            reader.EachAttribute([&](std::string_view, std::string_view name, std::string_view v) {
                if (name == "type" && m_order.size() < kMostFields)
                    m_order.emplace_back(v);
            });
        }
    }
    std::vector<FieldSchema> Give() {
        std::vector<FieldSchema> fields = std::move(m_fields);
        if (!m_order.empty()) {
            const auto place = [this](const FieldSchema& field) {
                return std::ranges::find(m_order, field.xmlName) - m_order.begin();
            };
            std::erase_if(fields, [&](const FieldSchema& field) {
                return place(field) == static_cast<std::ptrdiff_t>(m_order.size());
            });
            std::ranges::stable_sort(fields, {}, place);
        }
        std::ranges::stable_sort(fields, {}, &FieldSchema::number);
        for (FieldSchema& field : fields)
            if (field.name.empty())
                field.name = field.xmlName;
        return fields;
    }

private:
    static void properties(RowsetReader& reader, FieldSchema& field) {
        reader.EachAttribute([&](std::string_view ns, std::string_view name, std::string_view v) {
            if (ns.empty() && name == "name")
                field.xmlName = v;
            else if (ns == kRowsetNs && name == "name")
                field.name = v;
            else if (ns == kRowsetNs && name == "number")
                std::from_chars(v.data(), v.data() + v.size(), field.number);
            else if (ns == kRowsetNs && name == "dbtype")
                field.dbType = v == "str" ? "" : v; // the narrow texts
            else if (ns == kRowsetNs && name == "long")
                field.isLong = ReadBooleanText(v);
            else if (ns == kDataTypesNs && name == "type")
                field.dataType = v;
            else if (ns == kDataTypesNs && name == "maxLength")
                field.length = v;
        });
    }

    int m_rows = 0; // element types
    std::vector<FieldSchema> m_fields;
    std::vector<std::string> m_order; // by s:attribute, in the second shape
};

/// One row as the file has it: a text for each field that isn't null. Used again and again, so that
/// the texts keep their room.
class RowTexts {
public:
    explicit RowTexts(size_t fields) : m_texts(fields), m_present(fields) {}
    void Clear() { std::ranges::fill(m_present, false); }
    void Set(size_t field, std::string_view text) {
        m_texts[field] = text;
        m_present[field] = true;
    }
    void SetNull(size_t field) { m_present[field] = false; }
    /// nullptr for null.
    const std::string* Get(size_t field) const {
        return m_present[field] ? &m_texts[field] : nullptr;
    }

private:
    std::vector<std::string> m_texts;
    std::vector<char> m_present;
};

/// Reads schema and rows into a recordset.
class RecordsetReader {
public:
    explicit RecordsetReader(const XmlInput& input) : m_reader(input) {}

    std::shared_ptr<Recordset> Read() {
        SchemaReader schema;
        bool inSchema = false;
        while (m_reader.Next()) {
            const bool isSchema = m_reader.Is(kRowsetSchemaNs, "Schema");
            if (m_reader.Starts() && !m_rows) {
                inSchema = inSchema || isSchema;
                if (inSchema)
                    schema.Element(m_reader);
            } else if (m_rows) {
                data();
            }
            if (isSchema && m_reader.Ends() && !m_rows)
                begin(schema.Give());
        }
        if (!m_rows)
            refuseXml("it has no schema");
        m_rows->MoveFirst();
        return m_rows;
    }

private:
    void begin(const std::vector<FieldSchema>& schema) {
        std::vector<Field> fields;
        for (const FieldSchema& field : schema) {
            if (field.xmlName.empty() || !m_places.emplace(field.xmlName, fields.size()).second)
                refuseXml("its fields have no names of their own");
            fields.push_back(fieldOf(field));
            m_names.push_back(field.xmlName);
        }
        if (fields.empty())
            refuseXml("it has no fields");
        m_fields = fields;
        m_texts.emplace(fields.size());
        m_rows = std::make_shared<Recordset>(std::move(fields));
    }
    void data() {
        if (m_reader.Is(kRowsetNs, "delete"))
            m_deleted = m_reader.Starts() && !m_reader.Ends();
        else if (m_reader.Is(kRowsetNs, "original"))
            m_original = m_reader.Starts() && !m_reader.Ends();
        else if (m_reader.Is(kRowsetNs, "update"))
            m_standsOnOriginal = false;
        else if (m_reader.Starts() && m_reader.Is(kRowNs, "row"))
            row();
    }
    void row() {
        if (m_deleted)
            return;
        // the changed row of an update stands on the original one
        if (!std::exchange(m_standsOnOriginal, false))
            m_texts->Clear();
        std::string nulls;
        size_t next = 0; // attributes mostly come in the order of the fields
        m_reader.EachAttribute([&](std::string_view ns, std::string_view name, std::string_view v) {
            if (ns == kRowsetNs && name == "forcenull")
                nulls = v;
            if (!ns.empty())
                return;
            while (next < m_names.size() && m_names[next] != name)
                ++next;
            const size_t place = next < m_names.size() ? next : placeOf(name);
            if (place < m_names.size())
                m_texts->Set(place, v);
            next = place < m_names.size() ? place + 1 : 0;
        });
        for (const std::string& name : SplitNonEmpty(nulls, " "))
            if (const size_t place = placeOf(name); place < m_names.size())
                m_texts->SetNull(place);
        if (m_original)
            m_standsOnOriginal = true;
        else
            append();
    }
    /// Behind the last one when there is no such field.
    size_t placeOf(std::string_view name) const {
        const auto at = m_places.find(std::string(name));
        return at == m_places.end() ? m_names.size() : at->second;
    }
    void append() {
        m_cells.assign(m_fields.size(), {});
        for (size_t i = 0; i < m_fields.size(); ++i)
            if (const std::string* text = m_texts->Get(i))
                m_cells[i] = CellOfText(m_fields[i], *text);
        m_rows->AppendCells(m_cells);
    }

    RowsetReader m_reader;
    std::vector<Field> m_fields;
    std::unordered_map<std::string, size_t> m_places; // of fields, by their names in the XML
    std::shared_ptr<Recordset> m_rows;
    std::vector<RecordsetCell> m_cells;
    std::vector<std::string> m_names; // of the fields in the XML
    std::optional<RowTexts> m_texts;
    bool m_standsOnOriginal = false; // m_texts hold what the updated row was
    bool m_deleted = false;
    bool m_original = false;
};

struct OpenFile {
    FILE* file;
    explicit OpenFile(const std::string& path) : file(std::fopen(path.c_str(), "rbe")) {}
    ~OpenFile() {
        if (file)
            std::fclose(file);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
};

} // namespace

std::shared_ptr<Recordset> ReadRecordsetXml(const XmlInput& input) {
    return RecordsetReader(input).Read();
}

std::shared_ptr<Recordset> ReadRecordsetXml(std::string_view xml) {
    return ReadRecordsetXml([&xml](char* buffer, size_t size) {
        const size_t count = xml.copy(buffer, size);
        xml.remove_prefix(count);
        return count;
    });
}

std::shared_ptr<Recordset> ReadRecordsetFile(const std::string& path) {
    const OpenFile open(path);
    if (!open.file)
        throw PlatformError(kFileNotFound, "File could not be opened.", "Recordset");
    return ReadRecordsetXml(
        [&open](char* buffer, size_t size) { return std::fread(buffer, 1, size, open.file); });
}

} // namespace kr
