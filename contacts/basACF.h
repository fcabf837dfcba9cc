#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "console/TreeModel.h"
#include "core/AgentSession.h"

/// The Master Contact Repository (MCR), the sources of contacts, and their order of trust.
namespace kr {

inline constexpr std::string_view kMcrClass = "IPM.Post.Master Contact Repository";
inline constexpr std::string_view kAcfClass = "IPM.Post.ACF";
inline constexpr std::string_view kMclClass = "IPM.Post.MCL";
inline constexpr std::string_view kMcrName = "Master Contact Repository";
inline constexpr std::string_view kAcfRootKey = "acfroot";

/// Kinds of sources by the tags of their nodes; None where the keys tell no kind.
enum class AcfKind { None, PublicFolder, Mailbox, Data };
AcfKind KindOfAcf(RDOMessage& acf);
std::string_view AcfTag(AcfKind kind);
/// The icon of a source by its kind, connection string and `EPS.Inactive`.
std::string AcfImage(RDOMessage& acf);
/// imgExcel, imgAccess, imgText or imgData.
std::string_view GetAcdsIcon(std::string_view cxnString);

/// The MCR record; further ones are deleted. nullptr when there is none.
RDOMessagePtr GetMCRMessage(AgentSession& session);
RDOFolderPtr GetMCRFolder(AgentSession& session);
/// Makes folder and record where they are missing; gives the record.
RDOMessagePtr CreateDefaultMCR(AgentSession& session);
std::string GetDefaultPrivateFields(AgentSession& session);
bool IsMCRFolder(AgentSession& session, const EntryID& folder);

/// Names of the sources, best first, joined by "|".
std::string GetTrustRanking(AgentSession& session);
bool PutTrustRanking(AgentSession& session, std::string_view ranking);
/// Rebuilds the branch of the sources below "acfroot".
void LoadAcfTree(AgentSession& session, TreeModel& tree);
/// Stores the order that the branch has.
bool SaveTrustRanking(AgentSession& session, TreeModel& tree);
/// One step up or down among the sources, stored at once.
void MoveAcfNode(AgentSession& session, TreeModel& tree, TreeNode& node, bool up);
bool AcfNodeExists(TreeModel& tree, const EntryID& acf);
/// Deletes the source record of that folder and its node, and stores the ranking.
void RemoveAcfForFolder(AgentSession& session, TreeModel& tree, const EntryID& folder);

bool IsAcfFolder(AgentSession& session, const EntryID& folder, std::string_view mailbox = {});
RDOMessagePtr FindAcfByFolder(AgentSession& session, const EntryID& folder,
                              std::string_view mailbox = {}, std::string_view server = {});
bool AcfNameInUse(AgentSession& session, const EntryID& own, std::string_view name);
/// Another source has both the connection string and the query.
bool AcdsQueryInUse(AgentSession& session, const EntryID& own, std::string_view cxnString,
                    std::string_view query);
RDOMessagePtr FindByGuid(RDOFolder& folder, std::string_view messageClass, std::string_view guid);
/// The record's ACS.Guid; one that is empty is made, and saved with `save`.
std::string EnsureAcsGuid(AgentSession& session, RDOMessage& acf, bool save);
/// The folder of a folder source; nullptr, with the reason in the log, when it can't be opened.
RDOFolderPtr OpenAcfFolder(AgentSession& session, RDOMessage& acf);

/// A store path as dialogs show it: one name a line, each deeper by two blanks.
std::string FormatFolderPath(std::string_view path);
/// The server in the distinguished name of a home transfer agent (property 0x8007001E); "" when
/// the name isn't one.
std::string ServerOfHomeMTA(std::string_view distinguishedName);

} // namespace kr
