#include "handhelds/basBES.h"

#include <algorithm>
#include <array>

#include "core/CBase64.h"
#include "core/DatabaseWait.h"
#include "core/DbText.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basCxnString.h"
#include "core/basStore.h"
#include "net/basWeb.h"

namespace kr {

namespace {

constexpr const char* kBesQuery = "SELECT DISTINCT ServiceName, MachineName, SRPid, BESVersion "
                                  "FROM ServerConfig ORDER BY ServiceName";
constexpr const char* kMdsQuery = "SELECT BESServerName, MDSHost, WebServerListenPort "
                                  "FROM vMDSConfig WHERE (IsPushServer = 1)";

/// Caption of the window that waits for a database.
constexpr std::string_view kReading = "Reading the BES servers";

/// Folders of a mailbox's root that are no servers.
constexpr std::array<std::string_view, 12> kOtherFolders = {"Common Views",
                                                            "Deferred Action",
                                                            "Finder",
                                                            "Freebusy Data",
                                                            "Reminders",
                                                            "Schedule",
                                                            "Shortcuts",
                                                            "Spooler Queue",
                                                            "Subscriptions",
                                                            "Top of Information Store",
                                                            "~MAPISP(Internal)",
                                                            "Views"};

// Properties of a server's system message.
constexpr PropTag kMachineName = 0x600C001E;
constexpr PropTag kSrpId = 0x6003001E;
constexpr PropTag kBesVersion = 0x6013001E;
constexpr PropTag kCxnString = 0x6020001E;

std::string joined(const std::vector<Value>& values) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i)
        text += (i == 0 ? "" : ";") + DbText(values[i]);
    return text;
}

/// A server's system message; nullptr, with the reason in the log.
RDOMessagePtr systemMessage(AgentSession& session, RDOFolder& server) {
    const std::string name = server.Name();
    const RDOFolderPtr info = server.Folders()->Item("SysInfo");
    if (!info) {
        session.log("unable to locate SysInfo subfolder for " + name);
        return nullptr;
    }
    if (info->Items()->Count() == 0) {
        session.log("no server in SysInfo folder for " + name);
        return nullptr;
    }
    session.log("found SysInfo subfolder for " + name);
    RDOMessagePtr message = info->Items()->Item(1);
    if (!message)
        session.log("unable to locate server system message for " + name);
    return message;
}

} // namespace

std::string BesName(std::string_view server) {
    return std::string(Trim(server.substr(0, server.find(';'))));
}

std::vector<std::string> GetBESServers(AgentSession& session, Database& database,
                                       const std::string& connection, const DbLimits& limits) {
    std::vector<std::string> servers;
    Trap(
        [&] {
            for (const std::vector<Value>& row : database.Query(kBesQuery, limits).rows)
                servers.push_back(joined(row));
        },
        [&](const Trapped&) {
            servers.clear();
            session.log("GetBESServers failed to open recordset for " + MaskPassword(connection));
        });
    return servers;
}

std::vector<std::string> GetPushServerList(AgentSession& session, Database* database,
                                           const std::string& connection, const DbLimits& limits) {
    std::vector<std::string> servers;
    const std::string shown = MaskPassword(connection);
    if (!database) {
        session.log("GetPushServerList  failed: connection is not open (" + shown + ")");
        return servers;
    }
    Trap(
        [&] {
            const DbRows rows = database->Query(kMdsQuery, limits);
            session.log("GetPushServerList " + std::to_string(rows.rows.size()) +
                        " records returned on query against " + shown);
            for (const std::vector<Value>& row : rows.rows)
                if (row.size() >= 3)
                    servers.push_back(DbText(row[1]) + ":" + DbText(row[2]));
        },
        [&](const Trapped& error) {
            session.log("GetPushServerList  unable to open recordset at " + shown + " " +
                        error.description);
        });
    return servers;
}

bool ReadBesDatabase(AgentSession& session, const std::string& connection, BesServers& servers) {
    const WaitCursor cursor(session.ui());
    const DatabaseWait wait(session, std::string(kReading));
    const DbLimits limits = wait.limits();
    const auto database = Trap([&] { return session.platform.database.Open(connection, limits); },
                               [&](const Trapped& error) {
                                   session.log("Failed to open connection to " +
                                               MaskPassword(connection) + " " + error.description);
                               });
    if (!database)
        return false;
    servers.bes = GetBESServers(session, *database, connection, limits);
    servers.mds = GetPushServerList(session, database.get(), connection, limits);
    return true;
}

std::optional<std::vector<std::string>> GetServersForMbxConnector(AgentSession& session,
                                                                  const std::string& mailbox,
                                                                  std::string& connection) {
    const bool prefixed = ToLower(mailbox).find("smtp:") != std::string::npos;
    const RDOStorePtr store = Trap(
        [&] { return session.rdo->GetSharedMailbox(prefixed ? mailbox : "SMTP:" + mailbox); },
        [&](const Trapped& error) {
            session.log("error: unable to open mailbox for " + mailbox + " " + error.description);
        });
    if (!store)
        return std::nullopt;
    const RDOFolderPtr root = TrapSilently([&] { return store->RootFolder(); });
    if (!root) {
        session.log(" error: unable to retrieve root folder for " + mailbox);
        return std::nullopt;
    }
    std::vector<std::string> servers;
    Trap(
        [&] {
            const RDOFoldersPtr folders = root->Folders();
            for (int i = 1; i <= folders->Count(); ++i) {
                const RDOFolderPtr server = folders->Item(i);
                if (std::ranges::find(kOtherFolders, server->Name()) != kOtherFolders.end() ||
                    !server->Folders()->Item("Handhelds"))
                    continue;
                const RDOMessagePtr message = systemMessage(session, *server);
                if (!message)
                    continue;
                servers.push_back(server->Name() + ";" + message->Fields(kMachineName).text() +
                                  ";" + message->Fields(kSrpId).text() + ";" +
                                  message->Fields(kBesVersion).text());
                if (connection.empty())
                    connection = message->Fields(kCxnString).text();
            }
        },
        [&](const Trapped& error) {
            session.log("error: unable to read the mailbox of " + mailbox + " " +
                        error.description);
        });
    return servers;
}

std::vector<std::string> ReadMbxCxnString(AgentSession& session, const std::string& connection,
                                          const std::string& mailbox) {
    if (connection.empty())
        return {};
    const WaitCursor cursor(session.ui());
    const DatabaseWait wait(session, std::string(kReading));
    const DbLimits limits = wait.limits();
    const auto database =
        TrapSilently([&] { return session.platform.database.Open(connection, limits); });
    if (!database)
        return {};
    session.log("ReadMbxCxnString:retrieving push server list for " + mailbox + " using " +
                MaskPassword(connection));
    return GetPushServerList(session, database.get(), connection, limits);
}

// --- Push servers

bool IsValidPushServer(AgentSession& session, const std::string& host) {
    const std::string url = "http://" + host;
    const auto request = CreateWebRequest(session, "GET", url);
    if (!request) {
        session.log("unable to proceed: failed to instantiate WinHttpRequest object");
        return false;
    }
    request->SetAutoLogonPolicy(AutoLogonPolicy::Always);
    if (!WaitForWebResponse(session, *request)) {
        session.log("timed out waiting for response from " + url);
        return false;
    }
    const bool valid = request->Status() == 200;
    session.log("IsValidPushServer:" + host + (valid ? " is valid" : " is not valid") +
                "; received " + std::to_string(request->Status()) + ":" + request->StatusText());
    return valid;
}

std::string FindMdsHost(AgentSession& session, const std::vector<std::string>& servers) {
    if (servers.empty())
        session.log("FindMdsHost: server array is empty; nothing to check");
    for (const std::string& host : servers) {
        if (!IsValidPushServer(session, host))
            continue;
        session.log("FindMdsHost:returning " + host + " as MDS Host");
        return host;
    }
    return {};
}

std::string FindPushServer(AgentSession& session, TreeModel& tree, std::string_view besName) {
    LoadBesConnectors(session, tree);
    const std::string name(besName);
    const TreeNode* node = tree.Find(name + "bes!");
    if (!node || !node->parent) {
        session.log("FindPushServer error: unable to find BBServer node for " + name);
        return {};
    }
    const RDOMessagePtr connector = GetMessage(session, EntryID(node->parent->key));
    if (!connector) {
        session.log("FindPushServer error: unable to get parent Connector message for " + name);
        return {};
    }
    return TrapSilently([&] {
        std::string credential;
        const std::string initiator = KeyText(*connector, "Connector.MDS.PushInitiator");
        if (!initiator.empty())
            CBase64().BASE64_Encode(initiator, credential);
        std::string host;
        if (KeyFlag(*connector, "Connector.MDS.UseSelected"))
            host = KeyText(*connector, "Connector.MDS.Host");
        if (host.empty()) {
            const Value servers = GetKey(*connector, "Connector.MDS.Servers");
            const auto* list = servers.get<Strings>();
            host = FindMdsHost(session, list ? *list : Strings());
        }
        return credential.empty() ? host : host + "|" + credential;
    });
}

} // namespace kr
