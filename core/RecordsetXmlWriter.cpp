#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <stdexcept>

#include "core/AtomicFile.h"
#include "core/PlatformError.h"
#include "core/RecordsetData.h"
#include "core/RecordsetXml.h"
#include "core/RecordsetXmlNames.h"
#include "core/Text.h"
#include "core/XmlValues.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr size_t kXmlPiece = 65536;
constexpr long kWriteFailed = static_cast<long>(0x800A0BBC); // adErrWriteFile

template <class Number>
std::string numberText(Number number) {
    std::array<char, 40> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

/// A text as the value of an attribute; line ends and tabs by their numbers, as a reader would else
/// take them for blanks.
void appendEscaped(std::string& out, std::string_view text) {
    const bool plain = std::ranges::all_of(text, [](char c) {
        return c >= ' ' && c != '\x7F' && c != '&' && c != '<' && c != '>' && c != '\'' && c != '"';
    });
    if (plain) {
        out += text;
        return;
    }
    for (const char c : XmlText(text)) {
        if (c == '\t')
            out += "&#x9;";
        else if (c == '\n')
            out += "&#xa;";
        else if (c == '\r')
            out += "&#xd;";
        else
            out += c;
    }
}

/// A cell as the file has it; a variant takes the console's own forms.
std::string cellText(const Value& value, bool variant) {
    if (const auto* text = value.get<std::string>())
        return *text;
    if (const auto* flag = value.get<bool>())
        return *flag ? "True" : "False";
    if (const auto* date = value.get<Time>())
        return variant ? FormatDate(*date) : XmlDateText(*date);
    if (const auto* amount = value.get<Currency>())
        return XmlAmountText(*amount);
    if (const auto* number = value.get<double>())
        return numberText(*number);
    return numberText(value.integerOr(0));
}

bool isPlainName(std::string_view name) {
    const auto isStart = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
    };
    return !name.empty() && isStart(name.front()) && std::ranges::all_of(name, [&](char c) {
        return isStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    });
}

/// Attribute names: the fields' own where they can be names of XML, else c1, c2...
std::vector<std::string> attributeNames(const std::vector<Field>& fields) {
    std::vector<std::string> names;
    std::set<std::string> taken;
    for (const Field& field : fields)
        if (isPlainName(field.name))
            taken.insert(field.name);
    size_t number = 0;
    for (const Field& field : fields) {
        std::string name = field.name;
        if (!isPlainName(name))
            do
                name = "c" + std::to_string(++number);
            while (!taken.insert(name).second);
        names.push_back(std::move(name));
    }
    return names;
}

/// Collects what is written and hands it on in pieces.
class XmlWriter {
public:
    explicit XmlWriter(const XmlOutput& output) : m_output(output) {}

    void Write(const Recordset& rows) {
        const auto& fields = rows.Fields();
        const auto names = attributeNames(fields);
        writeHead();
        for (size_t i = 0; i < fields.size(); ++i)
            writeField(fields[i], names[i], i + 1);
        m_text += "\t\t<s:extends type='rs:rowbase'/>\r\n\t</s:ElementType>\r\n</s:Schema>\r\n"
                  "<rs:data>\r\n";
        const auto walk = rows.Clone();
        walk->SetFilter(rows.Filter());
        walk->SetSort(rows.Sort());
        for (walk->MoveFirst(); !walk->EOF_(); walk->MoveNext())
            writeRow(*walk, names);
        m_text += "</rs:data>\r\n</xml>\r\n";
        m_output(m_text);
    }

private:
    void attribute(std::string_view name, std::string_view value) {
        m_text += ' ';
        m_text += name;
        m_text += "='";
        appendEscaped(m_text, value);
        m_text += '\'';
    }
    void writeHead() {
        m_text += "<xml";
        attribute("xmlns:s", kRowsetSchemaNs);
        attribute("xmlns:dt", kDataTypesNs);
        m_text += "\r\n";
        attribute("xmlns:rs", kRowsetNs);
        attribute("xmlns:z", kRowNs);
        m_text += ">\r\n<s:Schema id='RowsetSchema'>\r\n"
                  "\t<s:ElementType name='row' content='eltOnly' rs:updatable='true'>\r\n";
    }
    void writeField(const Field& field, const std::string& name, size_t number) {
        m_text += "\t\t<s:AttributeType";
        attribute("name", name);
        if (name != field.name)
            attribute("rs:name", field.name);
        attribute("rs:number", std::to_string(number));
        m_text += " rs:nullable='true' rs:write='true'>\r\n\t\t\t<s:datatype";
        const auto* type = std::ranges::find(kRowsetTypes, field.type, &RowsetType::type);
        attribute("dt:type", type->dataType);
        if (!type->dbType.empty())
            attribute("rs:dbtype", type->dbType);
        if (field.type == FieldType::LongText) {
            attribute("dt:maxLength", kEndlessLength);
            attribute("rs:long", "true");
        } else if (type->length >= 0) {
            attribute("dt:maxLength", std::to_string(type->length ? type->length : field.size));
        }
        if (type->length > 0)
            attribute("rs:fixedlength", "true");
        m_text += "/>\r\n\t\t</s:AttributeType>\r\n";
    }
    void writeRow(const Recordset& row, const std::vector<std::string>& names) {
        m_text += "\t<z:row";
        for (size_t i = 0; i < names.size(); ++i) {
            const auto field = static_cast<int>(i);
            const FieldType type = row.Fields()[i].type;
            if (const auto text = IsTextField(type) ? row.Text(field) : std::string_view();
                !text.empty())
                attribute(names[i], text);
            else if (const Value value = row.Get(field); !value.empty())
                attribute(names[i], cellText(value, type == FieldType::Variant));
        }
        m_text += "/>\r\n";
        if (m_text.size() < kXmlPiece)
            return;
        m_output(m_text);
        m_text.clear();
    }

    const XmlOutput& m_output;
    std::string m_text;
};

} // namespace

void WriteRecordsetXml(const Recordset& rows, const XmlOutput& output) {
    XmlWriter(output).Write(rows);
}

std::string RecordsetXml(const Recordset& rows) {
    std::string text;
    WriteRecordsetXml(rows, [&](std::string_view piece) { text += piece; });
    return text;
}

void WriteRecordsetFile(const Recordset& rows, const std::string& path) {
    std::string reason;
    if (!WriteFileAtomically(path, RecordsetXml(rows), reason))
        throw PlatformError(kWriteFailed, "File could not be saved: " + reason, "Recordset");
}

} // namespace kr
