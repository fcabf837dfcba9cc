#include "contacts/basACDS.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/DatabaseWait.h"
#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

/// Seconds that counting the rows of a source may take.
constexpr int kCountSeconds = 10;

/// One field of a contact: the names that a query's column may have, and where it goes.
struct FieldNames {
    std::string_view columns; // lowered, divided by blanks
    std::string_view contact;
    std::string_view agent;
};

constexpr FieldNames kMappedFields[] = {
    {"firstname", "FirstName", "FirstName"},
    {"lastname", "LastName", "LastName"},
    {"middlename", "MiddleName", "MiddleName"},
    {"generation", "Generation", "Generation"},
    {"displayname", "DisplayName", "DisplayName"},
    {"email1", "Email1", "SMTP"},
    {"email2", "Email2", "Email2"},
    {"email3", "Email3", "Email3"},
    {"busphone businessphone", "BusinessPhone", "EPS Business Phone"},
    {"busphone2 businessphone2", "BusinessPhone2", "BusinessPhone2"},
    {"busfax businessfax", "BusinessFax", "EPS Business Fax"},
    {"homephone", "HomePhone", "EPS Home Phone"},
    {"homephone2", "HomePhone2", "HomePhone2"},
    {"otherphone", "OtherPhone", "OtherPhone"},
    {"homefax", "HomeFax", "HomeFax"},
    {"otherfax", "OtherFax", "OtherFax"},
    {"mobilephone mobiletelephone", "MobilePhone", "MobilePhone"},
    {"radiophone radiotelephone", "RadioPhone", "RadioPhone"},
    {"pager", "Pager", "EPS Pager"},
    {"title jobtitle", "Title", "Title"},
    {"company", "Company", "Company"},
    {"department", "Department", "Department"},
    {"office", "Office", "Office"},
    {"busstreet businessstreet", "BusinessStreet", "StreetAddress"},
    {"buscity businesscity", "BusinessCity", "City"},
    {"busstateorprovince busstate businessstate", "BusinessState", "State"},
    {"buspostalcode buszip businesszip", "BusinessZip", "Zip"},
    {"buscountry businesscountry", "BusinessCountry", "Country"},
    {"homestreet", "HomeStreet", "HomeStreet"},
    {"homecity", "HomeCity", "HomeCity"},
    {"homestateorprovince homestate", "HomeState", "HomeState"},
    {"homepostalcode homezip", "HomeZip", "HomeZip"},
    {"homecountry", "HomeCountry", "HomeCountry"},
    {"fileas", "FileAs", "FileAs"},
    {"notes body", "Notes", "Notes"},
    {"userfield1 pin", "UserField1", "PIN"},
    {"userfield2", "UserField2", "UserField2"},
    {"userfield3", "UserField3", "UserField3"},
    {"userfield4", "UserField4", "UserField4"},
    {"private", "Private", ""},
    {"categories", "Categories", ""},
    {"spouse", "Spouse", "Spouse"},
};

/// The connection string in a box: a part a line.
std::string inLines(std::string_view cxnString) {
    return "\n   " + ReplaceAll(MaskPassword(cxnString), ";", "\n  ");
}

} // namespace

std::string_view MapFieldName(std::string_view column, bool contactForm) {
    const std::string lowered = ToLower(column);
    for (const FieldNames& field : kMappedFields) {
        const auto names = Split(field.columns, " ");
        if (std::ranges::find(names, lowered) != names.end())
            return contactForm ? field.contact : field.agent;
    }
    return {};
}

bool TestConnection(AgentSession& session, const std::string& cxnString) {
    const std::string masked = MaskPassword(cxnString);
    bool cancelled = false;
    std::string error;
    const bool open = Trap(
        [&] {
            const WaitCursor wait(session.ui());
            const DatabaseWait answer(session, "Testing the connection");
            return session.platform.database.Open(cxnString, answer.limits()) != nullptr;
        },
        [&](const Trapped& trapped) {
            cancelled = trapped.number == DB_E_CANCELED;
            error = DatabaseErrorText(trapped.number, trapped.description);
        });
    if (open) {
        session.log("Successfully tested connection string: " + masked);
        session.ui().MsgBox("Successfully connected using " + inLines(cxnString),
                            BoxIcon::Exclamation);
        return true;
    }
    session.log("Failure for connection string: " + masked + "; error: " + error);
    // whoever cancelled knows
    if (!cancelled)
        session.ui().MsgBox("Failed to connect using " + inLines(cxnString) + "\n" + error,
                            BoxIcon::Stop);
    return false;
}

int64_t GetAcdsCount(AgentSession& session, const std::string& cxnString, const std::string& query,
                     bool& hasUniqueID) {
    hasUniqueID = false;
    bool found = false;
    const int64_t count = TrapSilently([&] {
        const DatabaseWait answer(session, "Counting the records of a data source");
        const DbLimits limits = answer.limits(kCountSeconds);
        int64_t rows = 0;
        session.platform.database.Open(cxnString, limits)
            ->Execute(
                query, limits,
                [&](const std::vector<std::string>& names) {
                    found = std::ranges::any_of(
                        names, [](const auto& name) { return EqualNoCase(name, kUniqueID); });
                },
                [&](std::vector<Value>&) { ++rows; });
        return rows;
    });
    hasUniqueID = found;
    return count;
}

} // namespace kr
