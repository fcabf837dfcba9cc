#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/TreeModel.h"
#include "core/AgentSession.h"

/// Connectors to BES installations: which servers they have, and which push server serves them.
namespace kr {

inline constexpr std::string_view kConnectorClass = "IPM.Post.BesConnector";
inline constexpr std::string_view kConnectorRoot = "besconnectorroot";
inline constexpr std::string_view kSqlConnector = "SQL";
inline constexpr std::string_view kMbxConnector = "MBX";

/// "ServiceName;MachineName;SRPid;BESVersion" for each server of the database. `connection` names
/// it in the log.
std::vector<std::string> GetBESServers(AgentSession& session, Database& database,
                                       const std::string& connection, const DbLimits& limits = {});
/// "MDSHost:WebServerListenPort" for each push server; empty when the query fails.
std::vector<std::string> GetPushServerList(AgentSession& session, Database* database,
                                           const std::string& connection,
                                           const DbLimits& limits = {});
/// The same lists of a connector's database, opened and closed here; false when it can't be opened.
/// The windows stay alive meanwhile, behind a progress window whose Cancel ends the wait.
struct BesServers {
    std::vector<std::string> bes;
    std::vector<std::string> mds;
};
bool ReadBesDatabase(AgentSession& session, const std::string& connection, BesServers& servers);

/// Servers by the folders of a BES agent mailbox, in the form of GetBESServers; the first
/// connection string that a server's message has goes out with them. Nothing when the mailbox can't
/// be read.
std::optional<std::vector<std::string>> GetServersForMbxConnector(AgentSession& session,
                                                                  const std::string& mailbox,
                                                                  std::string& connection);
/// The push servers of a mailbox connector.
std::vector<std::string> ReadMbxCxnString(AgentSession& session, const std::string& connection,
                                          const std::string& mailbox);

/// Loads the connectors below the root the first time, when the tree still has their placeholder.
/// False when they can't be read, which is logged: the placeholder stays for another try.
bool LoadBesConnectors(AgentSession& session, TreeModel& tree);
/// Adds the servers of a connector below its node; gives the list of the excluded ones.
std::string LoadBesServers(AgentSession& session, TreeModel& tree, TreeNode& connector,
                           const std::vector<std::string>& servers, std::string_view exclude);
TreeNode* AddConnectorNode(TreeModel& tree, const RDOMessage& connector, bool mailbox);
/// Makes the node of a connector that was saved in its dialog, or brings it up to date: its text,
/// and its servers where the record has others now.
TreeNode* ShowConnector(AgentSession& session, TreeModel& tree, RDOMessage& connector);
/// The node of a BES stands for one that is excluded.
bool IsExcludedBes(const TreeNode& bes);
/// The record of a connector for its dialog; nullptr when it can't be opened, which a box says.
RDOMessagePtr OpenConnector(AgentSession& session, const EntryID& id);
/// Writes the record, a new one for an empty id. Gives its id; an empty one, with the reason in the
/// log, when it couldn't be saved.
EntryID SaveConnector(AgentSession& session, const EntryID& id,
                      const std::function<void(RDOMessage&)>& write);
/// Another connector has the subject; nothing when that can't be told, which is logged.
std::optional<bool> ConnectorExists(AgentSession& session, std::string_view subject,
                                    const EntryID& own);
inline constexpr std::string_view kConnectorNotSaved = "Unable to save this BES connector";
/// Takes a BES out of its connector, or in again; false when that was refused or failed, and told.
bool ExcludeBes(AgentSession& session, TreeModel& tree, TreeNode& bes);
bool IncludeBes(AgentSession& session, TreeModel& tree, TreeNode& bes);

/// "host:port", or "host:port|" and the base64 of the push initiator; "" with the reason in the
/// log.
std::string FindPushServer(AgentSession& session, TreeModel& tree, std::string_view besName);
/// The first host of the list that answers; "" for none.
std::string FindMdsHost(AgentSession& session, const std::vector<std::string>& servers);
/// True when the host answers a plain request with 200.
bool IsValidPushServer(AgentSession& session, const std::string& host);

/// The first field of a server's text, trimmed: its name.
std::string BesName(std::string_view server);
/// Names joined by ";" without that name, or with it.
std::string WithoutName(std::string_view list, std::string_view name);
std::string WithName(std::string_view list, std::string_view name);

} // namespace kr
