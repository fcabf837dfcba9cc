#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/UserFields.h"
#include "core/AgentSession.h"
#include "core/ListModel.h"

/// The user records in `zandrelUserInfo` and the Users recordset that is read from them. No error
/// leaves these procedures; what failed is logged, and shown where the person must know.
namespace kr {

/// Builds the Users recordset anew from all records. The old one stays until the new one is whole.
/// False when the reading failed: what was read until then is there, or the old one when that is
/// nothing.
bool LoadUsers(AgentSession& session);
/// The Users recordset, loaded when it is missing; nullptr when nothing could be read.
std::shared_ptr<Recordset> RequireUsers(AgentSession& session);

/// Sets a filter; one that doesn't parse shows no row and is logged.
bool ApplyFilter(AgentSession& session, Recordset& recordset, std::string_view filter);
/// "[EntryID]='...'" and "[Email]='...'"
std::string EntryIDFilter(const EntryID& id);
std::string EmailFilter(std::string_view address);
/// A clone that stands on that user's row; nullptr when there is none.
std::shared_ptr<Recordset> RowOfUser(AgentSession& session, const EntryID& id);

// --- Lists

struct UserListOptions {
    /// Filter of the recordset; "" shows all users.
    std::string filter;
    /// Name of a language for its LCID; without it the number stands.
    std::function<std::string(int32_t lcid)> languageName;
};

std::vector<ListColumn> UserColumns();
std::vector<ListColumn> UserStatisticsColumns();
/// Rows from the recordset's current row: kinds `user` and `epsuser`.
ListRow UserRow(const Recordset& user, const UserListOptions& options);
ListRow UserStatisticsRow(const Recordset& user);
/// `imgUserCustom` when the current row overrides a setting, else `imgUser`.
std::string_view UserIcon(const Recordset& user);
/// Display name of the current row; the address where there is none.
std::string UserName(const Recordset& user);

/// Fill the list, sort it by its first column, and put the count in the status bar. Give the count.
int64_t ListUsers(AgentSession& session, ListModel& list, const UserListOptions& options = {});
int64_t LoadUserStatistics(AgentSession& session, ListModel& list, std::string_view filter = {});
/// "(" + count + ") - current as of " + the local date of the load.
std::string UserStatisticsTitle(const AgentSession& session, int64_t count);

// --- Changes; the caller updates its rows of the users whose ids come back

/// The pickers' dialog: PickRecipients by its parameters.
using RecipientPicker =
    std::function<bool(std::string_view title, std::string& ids, std::string& names,
                       std::string& addresses, bool oneAddress)>;
/// Adds a user or, one by one, the members of a list. Gives the users that are new in the
/// recordset.
std::vector<EntryID> AddUsers(AgentSession& session, const RecipientPicker& pick);
/// Deleted users: their rows leave every list.
std::vector<EntryID> DeleteUsers(AgentSession& session, const std::vector<EntryID>& ids);
/// Disabled users: ghosted on the `epsuser` list, removed from others.
std::vector<EntryID> DisableUsers(AgentSession& session, const std::vector<EntryID>& ids);

/// Which language of a user is set: that of the agent's mail (`LCID`), or of self-service updates
/// (`SSU LCID`).
enum class UserLanguage { Agent, SelfService };
/// Users whose language is set now.
std::vector<EntryID> SetUserLanguage(AgentSession& session, int32_t lcid, std::string_view language,
                                     const std::vector<EntryID>& ids,
                                     UserLanguage which = UserLanguage::Agent);

} // namespace kr
