#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// OLE DB connection strings as the dialog frmCxn builds and takes them apart. They are text for
/// the agent's computer; nothing here opens anything.
namespace kr {

/// What frmCxn asks for; the numbers are the rows of its list.
enum class CxnType {
    None = -1,
    SqlServer,
    Excel2003,
    Excel2007,
    Access2003,
    Access2007,
    TextFolder,
    OracleMicrosoft,
    OracleOwn,
    Other
};
enum class CxnSecurity { None = -1, Integrated, SupplyIdentity };

/// What a type shows on the dialog. `sourceLabel` empty: labels and notice stay as they were.
struct CxnTypeInfo {
    std::string_view name;
    std::string_view sourceLabel; // with its mnemonic
    std::string_view notice;
    bool catalog = false;
    bool security = false;
    bool format = false;
};
const std::vector<CxnTypeInfo>& CxnTypes();
/// Type in the list's range; the last row for all else.
const CxnTypeInfo& InfoOf(CxnType type);

inline constexpr std::string_view kCxnSecurities[] = {"Integrated", "Supply identity"};
inline constexpr std::string_view kCxnFormats[] = {"Delimited", "Fixed"};

struct CxnFields {
    CxnType type = CxnType::None;
    std::string dataSource;
    std::string catalog;
    CxnSecurity security = CxnSecurity::None;
    std::string userID;
    std::string password;
    std::string format;
};

/// Choosing a type: one with security begins with "Integrated", one without has none selected;
/// "Other" changes nothing else.
void ChooseCxnType(CxnFields& fields, CxnType type);
/// Nothing for a provider that isn't recognized, among them that of OracleOwn's own strings.
std::optional<CxnFields> LoadConnectionString(std::string_view text);
/// "" for Other.
std::string BuildConnectionString(const CxnFields& fields);
/// The first of frmCxn's refusals; "" when what it shows is complete.
std::string MissingCxnField(const CxnFields& fields, std::string_view sourceLabel,
                            bool catalogShown);

} // namespace kr
