#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// Mandatory Contact Lists (MCL): which contacts the agent writes into whose folders. The console
/// defines the lists, one record each; the agent expands and writes them.
namespace kr {

inline constexpr std::string_view kMclFolderName = "Mandatory Contacts";

// Links of a list to its source: the present one, and those of older lists.
inline constexpr std::string_view kMclGuidKey = "ACS.Guid";
inline constexpr std::string_view kMclAcfMsgKey = "MCL ACF.MsgID";
inline constexpr std::string_view kMclAcdsKey = "MCL ACDSID";
inline constexpr std::string_view kMclFolderKey = "MCL Source EntryID";

/// Where the lists lie: the folder, and what the agent message says of it.
struct MclFolder {
    RDOFolderPtr folder;
    std::string path; // MCPath
    EntryID id;       // MCEntryID
    explicit operator bool() const { return folder != nullptr; }
};
/// The list folder that the agent message names, made where it names none. What it lacks of path
/// and id is filled in. Without a folder the person was told.
MclFolder GetMCLFolder(AgentSession& session);
/// The same folder for a look in passing: nothing is made, written or shown; nullptr without one.
/// Throws when that can't be told.
RDOFolderPtr RequireMCLFolder(AgentSession& session);
/// Lets the person choose another folder for the lists, and on request moves them there. True when
/// the agent message names another folder now.
bool SetMCLPath(AgentSession& session);

/// Another list of the folder has that name; also when that can't be told, which is logged.
bool MCLNameInUse(AgentSession& session, RDOFolder& folder, const EntryID& own,
                  std::string_view name);

/// The record of the source on which a list hangs; nullptr when there is none.
RDOMessagePtr GetMclSource(AgentSession& session, RDOMessage& mcl);

// The list that hangs on a source by one of its links; nullptr when there is none.
RDOMessagePtr FindMCLByGuid(RDOFolder& folder, std::string_view guid);
RDOMessagePtr FindMCLBySource(AgentSession& session, RDOFolder& folder, std::string_view key,
                              const EntryID& source);
/// The list that hangs on a source by any link, the present one first. Throws when that can't be
/// told: a failed search must not pass for a source without a list, which would be deleted alone.
RDOMessagePtr RequireLinkedMCL(AgentSession& session, RDOMessage& acf);

} // namespace kr
