#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/TreeModel.h"
#include "core/AgentSession.h"

/// Turns the recipients of a push list into handhelds.
namespace kr {

/// Position of each field in a target table. A person without a handheld has an empty PIN and no
/// push server.
enum class TargetField : int { Name, Email, PIN, BESServer, PushServer };
constexpr int Index(TargetField field) { return static_cast<int>(field); }
std::shared_ptr<Recordset> CreateTargetRecordset();
/// What a push needs of a row.
struct PushTarget {
    std::string name, email, pin, server;
};
/// The current row of a target table.
PushTarget TargetOf(const Recordset& targets);
/// What is told where there is no target table.
inline constexpr std::string_view kNoHandhelds = "The handhelds can't be read.";

/// "[field] LIKE 'value'". A value without wildcards is compared as a whole, which an index serves.
std::string LikeFilter(std::string_view field, std::string_view value);

/// Targets of names or addresses joined by ";", with groups expanded; names that the address book
/// can't resolve are dropped. `tree` has the BES connectors. nullptr when the handhelds can't be
/// read.
std::shared_ptr<Recordset> GetPushTargets(AgentSession& session, TreeModel& tree,
                                          std::string_view names);
std::shared_ptr<Recordset> GetTargetsFromPins(AgentSession& session, TreeModel& tree,
                                              std::string_view pins);

/// The same of entries that were chosen in the address book.
std::shared_ptr<Recordset> GetTargetsOfEntries(AgentSession& session, TreeModel& tree,
                                               const std::vector<PickedRecipient>& entries);

/// The PIN of an address by the store, with what was found in the log; "" for none.
std::string FindPIN(AgentSession& session, std::string_view email);
/// The same by the handheld recordset.
std::string FindPINInRecordset(AgentSession& session, std::string_view email);
/// The BES of a PIN.
std::string FindBES(AgentSession& session, std::string_view pin);
/// The filter of the users that are marked for a push.
std::string BuildUserFilterEPS(AgentSession& session);
/// "host:port" of an agent server's MDS; "" when it has none.
std::string GetHostMdsAddress(AgentSession& session, std::string_view hostName);

} // namespace kr
