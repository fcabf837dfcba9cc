#include "console/UserFields.h"

#include <algorithm>

namespace kr {

namespace {

using Source = UserField::Source;
using Type = FieldType;

constexpr int kText = 255;
constexpr int kEntryIDText = 1024;

constexpr UserField text(std::string_view name, std::string_view key) {
    return {name, Type::Text, kText, Source::Key, key, PropType::String};
}
constexpr UserField date(std::string_view name, std::string_view key) {
    return {name, Type::Date, 8, Source::Key, key, PropType::Time};
}
constexpr UserField number(std::string_view name, std::string_view key) {
    return {name, Type::Integer, 4, Source::Key, key, PropType::Long};
}
constexpr UserField flag(std::string_view name, std::string_view key) {
    return {name, Type::Boolean, 2, Source::Key, key, PropType::Boolean};
}

// The overrides are text in the recordset: "" or null means "use the global setting".
constexpr UserField kFields[] = {
    text("DisplayName", "DisplayName"),
    {"Email", Type::Text, kText, Source::Subject, "", PropType::String},
    date("FirstAccess", "FirstAccess"),
    date("LatestAccess", "LatestAccess"),
    number("TotalRequests", "TotalRequests"),
    {"State", Type::SmallInt, 2, Source::Key, "State", PropType::Short},
    number("LCID", "LCID"),
    {"EntryID", Type::Text, kEntryIDText, Source::EntryID, "", PropType::Binary},
    text("EPS_Status", "EPS.Status"),
    date("EPS_LastCompletion", "EPS.LastCompletion"),
    date("EPS_LastStart", "LastEPS"),
    number("EPS_TotalUserContacts", "EPS.TotalUserContacts"),
    number("EPS_LastUpdateCount", "EPS.LastUpdateCount"),
    number("EPS_LifetimeUpdateCount", "EPS.LifetimeUpdateCount"),
    number("EPS_TotalMC", "EPS.TotalMC"),
    text("EPS_Server", "EPS.Server"),
    text("EPS_Version", "EPS.Version"),
    text("EX_Server", "Home Server"),
    flag("RestoreEnabled", "EPS.RestoreEnabled"),
    date("RestoreLastDate", "EPS.RestoreLastDate"),
    date("RestoreLastComplete", "EPS.RestoreLastComplete"),
    number("RestoreLastCount", "EPS.RestoreLastCount"),
    flag("PushEnabled", "EPS.PushEnabled"),
    date("PushLastDate", "EPS.PushLastDate"),
    {"PushSelected", Type::Boolean, 2, Source::None, "", PropType::Unspecified},
    text("SendUpdate", "EPS.SendUpdate"),
    text("UseSubfolder", "EPS.UseSubfolder"),
    text("FileAsFormat", "EPS.FileAsFormat"),
    text("RespectPrivate", "EPS.RespectPrivate"),
    text("MoveMC", "EPS.MoveMC"),
    flag("TextBlastEnabled", "EPS.TextBlastEnabled"),
};
static_assert(std::size(kFields) == kUserFieldCount);

} // namespace

std::span<const UserField, kUserFieldCount> UserFields() { return kFields; }

const UserField& FieldOf(UserFieldID field) { return kFields[Index(field)]; }

std::vector<Field> UserRecordsetFields() {
    std::vector<Field> fields;
    for (const UserField& field : kFields)
        fields.push_back({std::string(field.name), field.type, field.size});
    return fields;
}

} // namespace kr
