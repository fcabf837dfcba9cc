#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/store/Store.h"

namespace kr {

/// Fills a message key by key, the property type following from the value's own, and saves it.
class RecordWriter {
public:
    RecordWriter(RDOFolder& folder, std::string_view messageClass, std::string_view subject);
    RecordWriter(RDOItems& items, std::string_view messageClass, std::string_view subject);

    /// A key of PS_PUBLIC_STRINGS; an empty value leaves it out.
    RecordWriter& key(std::string_view name, const Value& value);
    /// A named property of another set.
    RecordWriter& named(std::string_view set, std::string_view name, const Value& value);
    RecordWriter& fixed(PropTag tag, const Value& value);
    RecordWriter& body(std::string_view text);
    RDOMessage& message() { return *m_message; }
    EntryID save();

private:
    RDOMessagePtr m_message;
};

/// The property type that a value is written with; Unspecified for an empty one.
PropType TypeOfValue(const Value& value);

} // namespace kr
