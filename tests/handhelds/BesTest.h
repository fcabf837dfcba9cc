#pragma once

#include <map>
#include <string>

#include "core/basStore.h"
#include "handhelds/basBES.h"
#include "tests/support/World.h"

namespace kr {

inline constexpr const char* kBesQuery =
    "SELECT DISTINCT ServiceName, MachineName, SRPid, BESVersion "
    "FROM ServerConfig ORDER BY ServiceName";
inline constexpr const char* kMdsQuery = "SELECT BESServerName, MDSHost, WebServerListenPort "
                                         "FROM vMDSConfig WHERE (IsPushServer = 1)";

/// A BES database of that connection string with the servers BES1 and BES2, and two push servers.
inline void addBesDatabase(World& world, const std::string& connection) {
    FakeDatabase::Source& source = world.database.sources[connection];
    source.answers[kBesQuery] = {{"ServiceName", "MachineName", "SRPid", "BESVersion"},
                                 {{"BES1", "m1", "S1", "4.1"}, {" BES2 ", Value(), "S2", 5}}};
    source.answers[kMdsQuery] = {{"BESServerName", "MDSHost", "WebServerListenPort"},
                                 {{"BES1", "mds1", 8080}, {"BES2", "mds2", 8081}}};
}

inline RDOMessagePtr addConnector(World& world, const std::string& name,
                                  const std::map<std::string, Value>& keys) {
    const RDOMessagePtr message = world.session->agentInfo->Items()->Add(kConnectorClass);
    message->SetSubject(name);
    for (const auto& [key, value] : keys)
        SetKey(*message, key, value);
    message->Save();
    return message;
}

/// A BES Agent's data in Bob's mailbox: one server BESA, whose message has the connection string.
inline void addBesMailbox(World& world, const std::string& connection) {
    const RDOStorePtr bob = world.session->rdo->GetSharedMailbox("SMTP:bob@example.test");
    const RDOFolderPtr folder = bob->RootFolder()->Folders()->Add("BESA");
    folder->Folders()->Add("Handhelds");
    const RDOMessagePtr system = folder->Folders()->Add("SysInfo")->Items()->Add("IPM.Note");
    system->SetFields(0x600C001E, "machine");
    system->SetFields(0x6003001E, "srp");
    system->SetFields(0x6013001E, "3.6");
    if (!connection.empty())
        system->SetFields(0x6020001E, connection);
    system->Save();
}

} // namespace kr
