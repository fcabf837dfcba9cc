#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// The recipients of PIN distribution lists (PDL): users whose handhelds are told of new packets.
namespace kr {

inline constexpr std::string_view kPushUserTag = "pushuser";
inline constexpr std::string_view kPushEnabledIcon = "imgPushEnabled";
inline constexpr std::string_view kTextBlastIcon = "imgTextBlastEnabled";

/// True when the user can be enabled: there are a PIN and a push server, or the person wants it all
/// the same.
bool VerifyPushEnable(AgentSession& session, std::string_view email, std::string_view hostName);

// Flags of a user, on the record and in the user table; false, with the reason in the log and
// nothing changed, when the record can't be written.
bool SetPushEnabled(AgentSession& session, const EntryID& user, bool enabled);
bool SetTextBlastEnabled(AgentSession& session, const EntryID& user, bool enabled);
/// That of the record; of the user table when the record can't be read.
bool IsTextBlastEnabled(AgentSession& session, const EntryID& user);
/// Takes a user into the list of recipients, enabled, or out of it.
void SelectForPush(AgentSession& session, const EntryID& user, bool selected);
/// Keeps now as the user's last push, in the user table and on the record. Gives the local time.
Time RecordPush(AgentSession& session, const EntryID& user, std::string_view email);

// --- The list

/// Position of each column.
enum class PushColumn : int { Push, Name, Email, LastPush, LastFetch, Server, ExServer };
constexpr int Index(PushColumn column) { return static_cast<int>(column); }
std::vector<ListColumn> PushUserColumns();
/// "3/9/2026 16:05:06"; "" for no date.
std::string PushDateText(std::optional<Time> local);
/// Icon and check mark of a row by the user's flags.
void ShowPushState(ListRow& row, const Recordset& user);

/// Makes rows of users. The last fetches are read once, when it is made.
class PushUserRows {
public:
    explicit PushUserRows(AgentSession& session);
    /// The row of the current user of the table.
    ListRow RowOf(const Recordset& user) const;
    /// Why the column of the last fetches stays empty; "" when they could be read.
    const std::string& Failure() const { return m_failure; }

private:
    std::string m_failure; // set while the fetches are read
    std::unordered_map<std::string, std::optional<Time>> m_fetches; // by address in lower case
};

} // namespace kr
