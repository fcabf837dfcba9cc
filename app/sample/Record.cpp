#include "app/sample/Record.h"

namespace kr {

namespace {

struct TypeOfAlternative {
    PropType operator()(std::monostate) const { return PropType::Unspecified; }
    PropType operator()(int16_t) const { return PropType::Short; }
    PropType operator()(int32_t) const { return PropType::Long; }
    PropType operator()(Currency) const { return PropType::Currency; }
    PropType operator()(double) const { return PropType::Double; }
    PropType operator()(bool) const { return PropType::Boolean; }
    PropType operator()(const std::string&) const { return PropType::String; }
    PropType operator()(Time) const { return PropType::Time; }
    PropType operator()(const Bytes&) const { return PropType::Binary; }
    PropType operator()(const Strings&) const { return PropType::StringList; }
};

} // namespace

PropType TypeOfValue(const Value& value) {
    return std::visit(TypeOfAlternative{}, value.variant());
}

RecordWriter::RecordWriter(RDOFolder& folder, std::string_view messageClass,
                           std::string_view subject)
    : RecordWriter(*folder.Items(), messageClass, subject) {}

RecordWriter::RecordWriter(RDOItems& items, std::string_view messageClass, std::string_view subject)
    : m_message(items.Add(messageClass)) {
    m_message->SetMessageClass(messageClass);
    m_message->SetSubject(subject);
}

RecordWriter& RecordWriter::key(std::string_view name, const Value& value) {
    return named(PS_PUBLIC_STRINGS, name, value);
}

RecordWriter& RecordWriter::named(std::string_view set, std::string_view name, const Value& value) {
    if (value.empty())
        return *this;
    const PropTag id = m_message->GetIDsFromNames(set, name);
    m_message->SetFields(id | static_cast<PropTag>(TypeOfValue(value)), value);
    return *this;
}

RecordWriter& RecordWriter::fixed(PropTag tag, const Value& value) {
    if (!value.empty())
        m_message->SetFields(tag, value);
    return *this;
}

RecordWriter& RecordWriter::body(std::string_view text) {
    m_message->SetBody(text);
    return *this;
}

EntryID RecordWriter::save() {
    m_message->Save();
    return m_message->ID();
}

} // namespace kr
