#include "backup/RecordXml.h"

#include <algorithm>
#include <charconv>

#include "backup/RecordValues.h"
#include "core/CBase64.h"
#include "core/Text.h"
#include "core/basText.h"
#include "push/basMBL.h"

namespace kr {

namespace {

constexpr std::string_view kClass = "MessageClass";
constexpr std::string_view kSubject = "Subject";
constexpr std::string_view kModified = "LastModified";
constexpr std::string_view kType = "Type";
constexpr std::string_view kFileName = "FileName";
constexpr std::string_view kSource = "RecordXml";

[[noreturn]] void refuse(const std::string& why) {
    throw PlatformError(MAPI_E_CALL_FAILED, why, std::string(kSource));
}

bool isIcon(std::string_view name) {
    return std::ranges::find(kIconAttachments, name) != std::end(kIconAttachments);
}

// --- writing

XmlNode addValue(XmlNode parent, const std::string& element, int type, std::string_view text) {
    XmlNode node = parent.AddChild(element);
    node.SetAttribute(kType, std::to_string(type));
    if (!text.empty())
        node.SetText(text);
    return node;
}

void addProperty(XmlNode record, const RDOMessage& message, PropTag tag) {
    const auto name = message.NameOf(tag);
    // a name that is a number can't be written as one
    if (!name || name->byNumber || IsNumeric(name->name))
        return;
    const std::string element = ReplaceAll(name->name, " ", "_");
    if (!IsXmlName(element))
        refuse("The property \"" + name->name + "\" has a name that XML can't hold.");
    const Value value = message.Fields(tag);
    if (value.empty())
        return; // gone since the tags were listed
    const auto type = static_cast<int>(TypeOf(tag));
    const auto* values = value.get<Strings>();
    if (!values) {
        addValue(record, element, PropertyToVariantType(TypeOf(tag)), RecordText(value));
        return;
    }
    XmlNode list = addValue(record, element, kListVariant, "");
    const int member = PropertyToVariantType(static_cast<PropType>(type - kMultiValue));
    for (const std::string& text : *values)
        addValue(list, element + "_member", member, text);
}

void addIcons(XmlNode record, RDOMessage& message) {
    const auto attachments = message.Attachments();
    for (int i = 1; i <= attachments->Count(); ++i) {
        const auto attachment = attachments->Item(i);
        const std::string name = attachment->DisplayName();
        if (!isIcon(name) || attachment->EmbeddedMessage())
            continue;
        std::string text;
        CBase64().BASE64_EncodeEx(attachment->Content(), text);
        XmlNode icon = record.AddChild(name);
        icon.SetAttribute(kFileName, name);
        icon.SetText(text);
    }
}

// --- reading

int typeOf(XmlNode element) {
    const std::string text = Trim(element.Attribute(kType).value_or(""));
    int type = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), type);
    if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size())
        refuse("The element " + element.Name() + " has the type \"" + text + "\".");
    return type;
}

Value valueOf(XmlNode element, int type) {
    auto value = CoerceValue(element.Text(), type);
    if (!value)
        refuse("The element " + element.Name() + " does not hold a value of type " +
               std::to_string(type) + ".");
    return std::move(*value);
}

PropType propertyTypeOf(XmlNode element, int type) {
    const auto property = VariantTypeToProperty(type);
    if (!property)
        refuse("The element " + element.Name() + " has the unknown type " + std::to_string(type) +
               ".");
    return *property;
}

/// Texts are the one kind of list that the store keeps; nothing for any other. A list without
/// members is one of texts.
std::optional<Value> listOf(XmlNode element) {
    const auto members = element.Children();
    const int type =
        members.empty() ? PropertyToVariantType(PropType::String) : typeOf(members.front());
    if (propertyTypeOf(element, type) != PropType::String)
        return std::nullopt;
    Strings texts;
    for (const XmlNode member : members)
        texts.push_back(member.Text());
    return Value(std::move(texts));
}

BackupIcon iconOf(XmlNode element) {
    std::string text = element.Text();
    std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
    BackupIcon icon{element.Name(), {}};
    if (!CBase64().BASE64_DecodeEx(text, icon.png))
        refuse("The element " + element.Name() + " does not hold Base64.");
    return icon;
}

} // namespace

XmlNode AddRecord(XmlNode parent, std::string_view element, RDOMessage& message,
                  RecordIcons icons) {
    XmlNode record = parent.AddChild(element);
    record.SetAttribute(kClass, message.MessageClass());
    record.SetAttribute(kSubject, message.Subject());
    record.SetAttribute(kModified, RecordText(message.LastModificationTime()));
    if (message.Fields(PR_HAS_NAMED_PROPERTIES).valueOr(false))
        for (const PropTag tag : message.PropList())
            addProperty(record, message, tag);
    if (icons == RecordIcons::Taken)
        addIcons(record, message);
    return record;
}

BackupRecord RecordReader::Read(XmlNode element) {
    BackupRecord record;
    record.messageClass = element.Attribute(kClass).value_or("");
    record.subject = element.Attribute(kSubject).value_or("");
    for (const XmlNode child : element.Children())
        if (m_icons == RecordIcons::Taken && isIcon(child.Name()))
            record.icons.push_back(iconOf(child));
        else
            readProperty(child, record);
    return record;
}

void RecordReader::readProperty(XmlNode element, BackupRecord& record) {
    BackupProperty property;
    property.name = ReplaceAll(element.Name(), "_", " ");
    if (m_names.insert(property.name).second && m_names.size() > kMostNames)
        refuse("The file has more than " + std::to_string(kMostNames) + " names of properties.");
    const int type = typeOf(element);
    if (type == kListVariant) {
        property.type = PropType::StringList;
        property.value = listOf(element).value_or(Value());
    } else if (property.type = propertyTypeOf(element, type);
               property.type != PropType::Unspecified) {
        property.value = valueOf(element, type);
    }
    if (property.value.empty())
        record.skipped.push_back(property.name);
    else
        record.properties.push_back(std::move(property));
}

void FillMessage(RDOMessage& message, const BackupRecord& record) {
    message.SetSubject(record.subject);
    for (const BackupProperty& property : record.properties) {
        const PropTag tag = message.GetIDsFromNames(PS_PUBLIC_STRINGS, property.name);
        message.SetFields(tag | static_cast<PropTag>(property.type), property.value);
    }
    for (const BackupIcon& icon : record.icons)
        message.Attachments()->AddContent(icon.name, icon.png);
}

} // namespace kr
