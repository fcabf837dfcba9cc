#include "contacts/basACDSCxn.h"

#include "core/Text.h"
#include "core/basCxnString.h"

namespace kr {

namespace {

constexpr std::string_view kServerLabel = "&Server name or IP";
constexpr std::string_view kFileLabel = "File &Path";
constexpr std::string_view kFolderLabel = "Folder &Path";
constexpr std::string_view kAceNotice =
    "The Microsoft.ACE.OLEDB.12.0 provider must exist on the server";

constexpr std::string_view kJet = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
constexpr std::string_view kAce = "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=";

std::string identityPart(const CxnFields& fields) {
    return "User ID=" + fields.userID + ";Password=" + fields.password + "; ";
}

std::string securityPart(const CxnFields& fields, std::string_view integrated) {
    return fields.security == CxnSecurity::SupplyIdentity ? identityPart(fields)
                                                          : std::string(integrated);
}

std::string sqlServerText(const CxnFields& fields) {
    return "Provider=SQLOLEDB; Data Source=" + fields.dataSource + "; " +
           (LooksLikeIP(fields.dataSource) ? "Network Library=DBMSSOCN; " : "") +
           "Initial Catalog=" + fields.catalog + "; " +
           securityPart(fields, "Integrated Security=SSPI; ");
}

std::string jetIdentity(const CxnFields& fields) {
    if (fields.security != CxnSecurity::SupplyIdentity)
        return {};
    return "User Id=" + fields.userID + ";Password=" + fields.password + ";";
}

std::string aceIdentity(const CxnFields& fields) {
    if (fields.security != CxnSecurity::SupplyIdentity)
        return "Persist Security Info=False;";
    return "Jet OLEDB:Database Password=" + fields.password + ";";
}

/// The type by the provider; some share one and are told apart by the rest of the string.
CxnType cxnTypeOf(const std::string& provider, std::string_view whole) {
    if (provider == "sqloledb")
        return CxnType::SqlServer;
    if (provider == "msdaora" || provider == "msdaora.1")
        return CxnType::OracleMicrosoft;
    // deliberately not "oraoledb.oracle": what OracleOwn builds is refused on reopening
    if (provider == "oraoledb")
        return CxnType::OracleOwn;
    if (provider == "microsoft.ace.oledb.12.0")
        return ContainsNoCase(whole, ".accdb") ? CxnType::Access2007 : CxnType::Excel2007;
    if (provider != "microsoft.jet.oledb.4.0")
        return CxnType::Other;
    if (ContainsNoCase(whole, "Extended Properties=\"text;"))
        return CxnType::TextFolder;
    return ContainsNoCase(whole, ".mdb") ? CxnType::Access2003 : CxnType::Excel2003;
}

bool isYesWord(const std::string& lowered) {
    return lowered == "true" || lowered == "sspi" || lowered == "1" || lowered == "yes";
}

std::string cxnFormatOf(std::string value) {
    // FMT ends the extended properties in the strings that are built here, and so does their quote
    if (value.ends_with('"'))
        value = Trim(std::string_view(value).substr(0, value.size() - 1));
    for (const std::string_view format : kCxnFormats)
        if (EqualNoCase(value, format))
            return std::string(format);
    return value;
}

void takeCxnPart(CxnFields& fields, const std::string& key, const std::string& value,
                 std::string_view whole) {
    if (key == "provider")
        ChooseCxnType(fields, cxnTypeOf(ToLower(value), whole));
    else if (key == "data source")
        fields.dataSource = value;
    else if (key == "initial catalog")
        fields.catalog = value;
    else if ((key == "integrated security" || key == "osauthent") && isYesWord(ToLower(value)))
        fields.security = CxnSecurity::Integrated;
    else if (key == "user id") {
        fields.security = CxnSecurity::SupplyIdentity;
        fields.userID = value;
    } else if (key == "password" || key == "jet oledb:database password") {
        fields.security = CxnSecurity::SupplyIdentity;
        fields.password = value;
    } else if (key == "fmt")
        fields.format = cxnFormatOf(value);
}

} // namespace

const std::vector<CxnTypeInfo>& CxnTypes() {
    static const std::vector<CxnTypeInfo> types = {
        {"SQL Server", kServerLabel, "", true, true, false},
        {"Excel 2003 and earlier", kFileLabel, "", false, false, false},
        {"Excel 2007", kFileLabel, kAceNotice, false, false, false},
        {"Access 2003 and earlier", kFileLabel, "", false, true, false},
        {"Access 2007", kFileLabel, kAceNotice, false, true, false},
        {"Text including CSV and TXT", kFolderLabel,
         "A valid Schema.ini file must exist in the target folder", false, false, true},
        {"Oracle - MS Provider", kServerLabel, "", false, true, false},
        {"Oracle - Oracle Provider", kServerLabel,
         "The OraOLEDB.Oracle provider must exist on the server", false, true, false},
        {"Other", "", "", false, false, false}};
    return types;
}

const CxnTypeInfo& InfoOf(CxnType type) {
    const auto& types = CxnTypes();
    const auto row = static_cast<size_t>(type); // None is far behind the last one
    return row < types.size() ? types[row] : types.back();
}

void ChooseCxnType(CxnFields& fields, CxnType type) {
    fields.type = type;
    if (type != CxnType::Other && type != CxnType::None)
        fields.security = InfoOf(type).security ? CxnSecurity::Integrated : CxnSecurity::None;
}

std::optional<CxnFields> LoadConnectionString(std::string_view text) {
    CxnFields fields;
    ChooseCxnType(fields, text.empty() ? CxnType::SqlServer : CxnType::None);
    // Deliberately cut at every ";" and "=", also inside quotes: that is how "FMT" comes to be a
    // key, and why neither can be part of a password.
    for (const std::string& part : Split(text, ";")) {
        const auto pieces = Split(part, "=");
        takeCxnPart(fields, ToLower(Trim(pieces[0])), pieces.size() > 1 ? Trim(pieces[1]) : "",
                    text);
    }
    if (fields.type == CxnType::Other)
        return {};
    return fields;
}

std::string BuildConnectionString(const CxnFields& fields) {
    std::string text;
    switch (fields.type) {
    case CxnType::SqlServer:
        text = sqlServerText(fields);
        break;
    case CxnType::Excel2003:
        text = std::string(kJet) + fields.dataSource +
               ";Extended Properties=\"Excel 8.0;HDR=Yes;IMEX=1\";";
        break;
    case CxnType::Excel2007:
        text = std::string(kAce) + fields.dataSource +
               ";Extended Properties=\"Excel 12.0 Xml;HDR=YES\";";
        break;
    case CxnType::Access2003:
        text = std::string(kJet) + fields.dataSource + ";" + jetIdentity(fields);
        break;
    case CxnType::Access2007:
        text = std::string(kAce) + fields.dataSource + ";" + aceIdentity(fields);
        break;
    case CxnType::TextFolder:
        text = std::string(kJet) + fields.dataSource +
               ";Extended Properties=\"text;HDR=Yes;FMT=" + fields.format + "\";";
        break;
    case CxnType::OracleMicrosoft:
        text = "Provider=MSDAORA; Data Source=" + fields.dataSource + "; " +
               securityPart(fields, "Persist Security Info=False;Integrated Security=Yes; ");
        break;
    case CxnType::OracleOwn:
        text = "Provider=OraOLEDB.Oracle; Data Source=" + fields.dataSource + "; " +
               securityPart(fields, "OSAuthent=1; ");
        break;
    case CxnType::Other:
    case CxnType::None:
        break;
    }
    return Trim(text);
}

std::string MissingCxnField(const CxnFields& fields, std::string_view sourceLabel,
                            bool catalogShown) {
    if (Trim(fields.dataSource).empty())
        return "You must supply the " + ReplaceAll(sourceLabel, "&", "") + "!";
    if (catalogShown && Trim(fields.catalog).empty())
        return "You must supply the name of the database!";
    return {};
}

} // namespace kr
