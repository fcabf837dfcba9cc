#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"
#include "push/CMsgPDL.h"

/// The contacts of a contact list as its PIN distribution list (PDL) reaches them.
namespace kr {

inline constexpr std::string_view kPdlMemberTag = "pdl";

/// Where the contacts of a list come from.
enum class PdlSource { Recipients, Folder, Data };

/// Position of each field in a contact table. `MCLID` holds the entry id of the list in braces;
/// `SMTP` may be an address at "@nosmtp", which the agent gives to contacts without one.
enum class PdlField : int { Category, MCLID, DisplayName, PIN, MobilePhone, SMTP };
constexpr int Index(PdlField field) { return static_cast<int>(field); }

struct PdlContacts {
    std::string name; // of the list
    PdlSource source = PdlSource::Recipients;
    std::shared_ptr<Recordset> table; // never nullptr
    /// Why the contacts can't be read; "" when they could be.
    std::string failure;
    bool pinsKnown = true; // the handheld records could be read
};
using PdlStop = std::function<bool()>;
/// The contacts that the list takes from its source. PINs are those of the handheld records. `stop`
/// ends the reading early.
PdlContacts ReadPdlContacts(AgentSession& session, RDOMessage& mcl, const PdlStop& stop);
/// Where they come from, without reading them.
PdlSource PdlSourceOf(AgentSession& session, RDOMessage& mcl);
/// Why a list shows no members after a failure. Numbers for SMS are to be had beside the agent
/// only.
std::string PdlFailureText(AgentSession& session, const CMsgPDL& pdl, const PdlContacts& contacts);

/// What is told of contacts whose PINs can't be looked up.
inline constexpr std::string_view kNoPins = "The handhelds can't be read, so no PIN is known.";

/// The texts of the current contact: name, PIN, mobile phone, and e-mail address, which is empty
/// where there is no real one.
std::vector<std::string> PdlTexts(const Recordset& contacts);
/// The filter of the contacts of a list that one of the enabled protocols reaches.
std::string BuildPDLFilter(std::string_view mclId, const CMsgPDL& pdl);

/// Name, and a column for each enabled protocol.
std::vector<ListColumn> PdlColumns(const CMsgPDL& pdl);
struct PdlSink {
    std::function<void(ListRow)> add;
    PdlStop stop;
};
/// Gives a row for each member of the list; why there are none, or not all, as text.
std::string LoadPdlRows(AgentSession& session, const CMsgPDL& pdl, const PdlSink& sink);

} // namespace kr
