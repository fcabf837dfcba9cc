#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"

namespace kr {

inline constexpr std::string_view kHandheldClass = "IPM.Post.HandheldRegistration";
/// The address of a handheld without a user, and the PIN of one that has none.
inline constexpr std::string_view kNone = "None";

/// Position of each field in the handheld recordset.
enum class HandheldField : int {
    Email,
    ESN,
    PIN,
    Manufacturer,
    ActivationDate,
    AirtimeRenewalDate,
    RMADate,
    Model,
    OS,
    RAM,
    DisplayName,
    FirstName,
    LastName,
    Org,
    Division,
    Phone,
    PO,
    PurchaseDate,
    NotInServiceDate,
    NotInService,
    Vendor,
    EntryID,
    EPSPrivacy,
    EPSRequired,
    EPSAuthorized,
    DCID,
    HomeServer,
    BBServer,
    Protocol
};
constexpr size_t kHandheldFieldCount = 29;
constexpr int Index(HandheldField field) { return static_cast<int>(field); }

/// The fields in the recordset's order. Each is a key of the same name on the record, but for the
/// entry id and the address, which is the conversation topic.
std::vector<Field> HandheldRecordsetFields();

/// A column of a list of handhelds: its heading and field.
struct HandheldColumn {
    std::string_view heading;
    HandheldField field;
    /// Empty: the heading.
    std::string_view key = {};
};
/// All handhelds, and those of one BES.
std::span<const HandheldColumn> HandheldColumns();
std::span<const HandheldColumn> BesHandheldColumns();

/// The properties that the details of a record show, in their order, with their headings.
struct HandheldDetail {
    std::string_view name;
    std::string_view heading;
};
std::span<const HandheldDetail> HandheldDetails();

} // namespace kr
