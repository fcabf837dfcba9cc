#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "console/FindUser.h"
#include "core/AgentSession.h"
#include "core/ListModel.h"
#include "handhelds/HandheldFields.h"

/// The inventory of handhelds that have registered with the agent: one record each, and one table
/// of them in memory for all look-ups.
namespace kr {

/// nullptr, with the reason in the log, when it can't be opened.
RDOFolderPtr GetHandheldsFolder(AgentSession& session);
/// Loads the handheld recordset when there is none, or anew with `force`. False when the folder
/// can't be read; what was read until the person cancelled stays.
bool DeviceInfo(AgentSession& session, bool force = false);
/// The recordset, loaded when it isn't there; nullptr when it can't be.
std::shared_ptr<Recordset> RequireHandhelds(AgentSession& session);

/// The row of the current record for the list of all handhelds, or of those of one BES.
ListRow HandheldRow(const Recordset& handheld, std::span<const HandheldColumn> columns,
                    std::string_view tag);
/// A filter for one value of a field, ignoring case.
std::string HandheldFilter(std::string_view field, std::string_view value);

/// What frmFindReg asks for; "" when both criteria have no text.
std::string FindHandheldFilter(const FindCriterion& pin, const FindCriterion& email);
/// Fills the list with what was found, or says that there is nothing. The key of a row is the
/// handheld's entry id.
int64_t FindHandhelds(AgentSession& session, ListModel& list, const FindCriterion& pin,
                      const FindCriterion& email);

/// The properties of one record for frmRegDetail: columns, and a row each.
void LoadHandheldDetails(AgentSession& session, ListModel& list, const EntryID& handheld);

/// Reads dates, vendor and service from a CSV file by PIN, after a question; tells the count.
bool ImportHandheldData(AgentSession& session, const std::string& file);
/// Reads PINs by ESN; a record that isn't there is made.
bool ImportHandheldPINs(AgentSession& session, const std::string& file);
/// Writes the history of a PIN, or of a user, to a file in the temporary folder and opens it.
bool ExportHandheldHistory(AgentSession& session, std::string_view pin, const EntryID& handheld);
bool ExportUserHistory(AgentSession& session, std::string_view email, const EntryID& handheld);
/// Deletes the record and its row in the recordset.
bool DeleteHandheld(AgentSession& session, const EntryID& handheld);
/// Empties the folder, with progress; false when it can't be read or was cancelled.
bool DeleteAllHandhelds(AgentSession& session);

} // namespace kr
