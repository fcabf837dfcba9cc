#include "handhelds/HandheldFields.h"

namespace kr {

namespace {

constexpr int kText = 255;

struct FieldName {
    std::string_view name;
    FieldType type = FieldType::Text;
};
constexpr FieldName kFields[] = {{"Email"},
                                 {"ESN"},
                                 {"PIN"},
                                 {"Manufacturer"},
                                 {"Activation Date", FieldType::Date},
                                 {"Airtime Renewal Date", FieldType::Date},
                                 {"RMA Date", FieldType::Date},
                                 {"Model"},
                                 {"OS"},
                                 {"RAM"},
                                 {"DisplayName"},
                                 {"FirstName"},
                                 {"LastName"},
                                 {"Org"},
                                 {"Division"},
                                 {"Phone"},
                                 {"PO"},
                                 {"Purchase Date", FieldType::Date},
                                 {"Not In Service Date", FieldType::Date},
                                 {"Not In Service"},
                                 {"Vendor"},
                                 {"EntryID"},
                                 {"EPS Privacy", FieldType::Boolean},
                                 {"EPS Required", FieldType::Boolean},
                                 {"EPS Authorized"},
                                 {"DCID"},
                                 {"Home Server"},
                                 {"BB Server"},
                                 {"Protocol"}};
static_assert(std::size(kFields) == kHandheldFieldCount);

using F = HandheldField;
constexpr HandheldColumn kColumns[] = {{"Last", F::LastName},
                                       {"First", F::FirstName},
                                       {"Email", F::Email},
                                       {"PIN", F::PIN},
                                       {"Model", F::Model},
                                       {"Phone Number", F::Phone, "Phone"},
                                       {"Exchange Server", F::HomeServer},
                                       {"BES Server", F::BBServer, "BES"},
                                       {"Protocol", F::Protocol},
                                       {"DCID", F::DCID}};
constexpr HandheldColumn kBesColumns[] = {
    {"Last", F::LastName},     {"First", F::FirstName},
    {"Email", F::Email},       {"PIN", F::PIN},
    {"Model", F::Model},       {"Phone Number", F::Phone, "Phone"},
    {"Protocol", F::Protocol}, {"Exchange Server", F::HomeServer},
    {"DCID", F::DCID}};

// A field that begins with "EPS" is shown without that word.
constexpr HandheldDetail kDetails[] = {{"PIN", "DeviceID (PIN)"},
                                       {"Email", "Email"},
                                       {"BB Server", "BES Server"},
                                       {"Home Server", "Home Server"},
                                       {"ExchSite", "ExchSite"},
                                       {"Protocol", "Protocol"},
                                       {"EPS Privacy", "Is Private"},
                                       {"EPS Required", "Is Required"},
                                       {"EPS Radio Phone", "Nextel DCID"},
                                       {"EPS Mobile Phone", "Mobile Phone"},
                                       {"EPS Business Phone", "Business Phone"},
                                       {"EPS Business Fax", "Business Fax"},
                                       {"EPS Home Phone", "Home Phone"},
                                       {"EPS Pager", "Pager"},
                                       {"Model", "Model"},
                                       {"RAM", "RAM"},
                                       {"OS", "OS"},
                                       {"Org", "Org"},
                                       {"KR-Applet", "KR-Applet"},
                                       {"Domain", "Domain"},
                                       {"Division", "Division"},
                                       {"LastName", "LastName"},
                                       {"MI", "MI"},
                                       {"FirstName", "FirstName"},
                                       {"DisplayName", "DisplayName"},
                                       {"Language", "Language"},
                                       {"Vendor", "Vendor"},
                                       {"Activation Date", "Activation Date"},
                                       {"Airtime Renewal Date", "Airtime Renewal Date"},
                                       {"AssetXferDate", "AssetXferDate"}};

} // namespace

std::vector<Field> HandheldRecordsetFields() {
    std::vector<Field> fields;
    fields.reserve(kHandheldFieldCount);
    for (const FieldName& field : kFields)
        fields.push_back({std::string(field.name), field.type, kText});
    return fields;
}

std::span<const HandheldColumn> HandheldColumns() { return kColumns; }
std::span<const HandheldColumn> BesHandheldColumns() { return kBesColumns; }
std::span<const HandheldDetail> HandheldDetails() { return kDetails; }

} // namespace kr
