#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"

namespace kr {

/// Position of each field in the Users recordset.
enum class UserFieldID : int {
    DisplayName,
    Email,
    FirstAccess,
    LatestAccess,
    TotalRequests,
    State,
    LCID,
    EntryID,
    EPS_Status,
    EPS_LastCompletion,
    EPS_LastStart,
    EPS_TotalUserContacts,
    EPS_LastUpdateCount,
    EPS_LifetimeUpdateCount,
    EPS_TotalMC,
    EPS_Server,
    EPS_Version,
    EX_Server,
    RestoreEnabled,
    RestoreLastDate,
    RestoreLastComplete,
    RestoreLastCount,
    PushEnabled,
    PushLastDate,
    PushSelected,
    SendUpdate,
    UseSubfolder,
    FileAsFormat,
    RespectPrivate,
    MoveMC,
    TextBlastEnabled
};
constexpr size_t kUserFieldCount = 31;
constexpr int Index(UserFieldID field) { return static_cast<int>(field); }

/// A field of the Users recordset and where its value lies on the user's record.
struct UserField {
    /// Subject and EntryID are no keys; None is a working field that no record has.
    enum class Source { Key, Subject, EntryID, None };
    std::string_view name;
    FieldType type = FieldType::Text;
    int size = 0;
    Source source = Source::Key;
    std::string_view key;
    PropType keyType = PropType::Unspecified;
};

/// All fields in the recordset's order.
std::span<const UserField, kUserFieldCount> UserFields();
const UserField& FieldOf(UserFieldID field);
/// The same as the fields of a new recordset.
std::vector<Field> UserRecordsetFields();

/// State of a disabled user.
constexpr int16_t kUserDisabled = -1;
inline constexpr std::string_view kUserInfoClass = "zandrel.UserInfo";

} // namespace kr
