#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/store/sqlite/Blob.h"

namespace kr::sqlite {

/// What was done to one property since the record was read.
struct PropertyChange {
    PropTag tag = 0;
    bool removed = false;
    std::string payload;
};

/// A record's properties: its blob as read, and the changes made since, in order of their ids.
class PropertyBag {
public:
    /// Forgets all changes. Throws MAPI_E_CORRUPT_STORE for a blob that is none.
    void Load(std::string blob, std::map<uint16_t, std::string> longValues = {});
    /// Empty when not set. The value has the type under which it was written, whatever the tag's.
    Value Get(PropTag tag) const;
    /// One value a property id; an empty value removes it. Throws MAPI_E_INVALID_TYPE for a value
    /// that can't be of the tag's type.
    void Set(PropTag tag, const Value& value);
    /// Tags with a value, ascending.
    std::vector<PropTag> Tags() const;
    const std::vector<PropertyChange>& Changes() const { return m_changes; }
    /// Values kept outside the blob, by property id.
    const std::map<uint16_t, std::string>& LongValues() const { return m_long; }
    const std::string& blob() const { return m_blob; }

private:
    std::string m_blob{kEmptyBlob};
    std::map<uint16_t, std::string> m_long;
    std::vector<PropertyChange> m_changes;
};

/// The value of one property of a blob; false when it isn't there.
bool FindProperty(std::string_view blob, uint16_t id, RawProperty& property);
/// The blob with the changes put in; with `keepOutside`, values over kLongSize leave only their
/// length in it.
std::string MergeChanges(std::string_view blob, const std::vector<PropertyChange>& changes,
                         bool keepOutside);
/// Throws MAPI_E_CORRUPT_STORE for a blob that is none.
void RequireBlob(std::string_view blob);

} // namespace kr::sqlite
