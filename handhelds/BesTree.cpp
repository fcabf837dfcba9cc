#include <algorithm>
#include <functional>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "handhelds/basBES.h"

/// The connectors in the tree: a node for each, and below it one for each of its servers.
namespace kr {

namespace {

constexpr std::string_view kPlaceholder = "dummybb";
constexpr std::string_view kExcluded = "%X";
constexpr const char* kBes = "bes";
constexpr const char* kActiveIcon = "imgBES";
constexpr const char* kGhostIcon = "imgBESGhost";

std::string activeKey(const std::string& name) { return name + "bes!"; }

/// A key for an excluded server that no node has.
std::string excludedKey(TreeModel& tree, const std::string& name) {
    const std::string key = activeKey(name);
    std::string candidate = std::string(kExcluded) + key;
    for (int i = 1; tree.Find(candidate); ++i)
        candidate = std::string(kExcluded) + std::to_string(i) + key;
    return candidate;
}

bool isExcluded(std::string_view list, const std::string& name) {
    const std::string whole = ";" + ToLower(list) + ";";
    return whole.find(";" + ToLower(name) + ";") != std::string::npos;
}

std::string stripped(std::string list) {
    while (list.find(";;") != std::string::npos)
        list = ReplaceAll(list, ";;", ";");
    while (list.starts_with(';'))
        list.erase(0, 1);
    while (list.ends_with(';'))
        list.pop_back();
    return list;
}

/// What was stored, else what a query of the connector's source gives, which is stored then.
const Strings* storedServers(const Value& value) { return value.get<Strings>(); }

bool querySource(AgentSession& session, RDOMessage& connector, bool mailbox, BesServers& servers) {
    if (!mailbox) {
        const std::string connection = KeyText(connector, "Connector.CxnString");
        if (connection.empty())
            return false;
        session.ui().ShowStatus("Querying " + connector.Subject() + ", please wait...");
        return ReadBesDatabase(session, connection, servers);
    }
    session.ui().ShowStatus("Querying " + connector.Subject() + ", please wait...");
    const std::string address = KeyText(connector, "Connector.Mbx.Address");
    std::string connection;
    const auto found = GetServersForMbxConnector(session, address, connection);
    if (!found)
        return false;
    servers.bes = *found;
    servers.mds = ReadMbxCxnString(session, connection, address);
    return true;
}

void loadConnector(AgentSession& session, TreeModel& tree, RDOMessage& connector) {
    std::string type = KeyText(connector, "Connector.Type");
    if (type.empty()) {
        type = kSqlConnector;
        SetKey(connector, "Connector.Type", type);
        connector.Save();
    }
    const bool mailbox = type == kMbxConnector;
    TreeNode* node = AddConnectorNode(tree, connector, mailbox);
    if (!node)
        return;
    const Value stored = GetKey(connector, "Connector.BES.Servers");
    if (const Strings* list = storedServers(stored)) {
        const std::string exclude = KeyText(connector, "Connector.Exclude");
        const std::string now = LoadBesServers(session, tree, *node, *list, exclude);
        if (EqualNoCase(now, exclude))
            return;
        SetKey(connector, "Connector.Exclude", now);
        connector.Save();
        return;
    }
    BesServers servers;
    if (!querySource(session, connector, mailbox, servers))
        return;
    const std::string exclude = LoadBesServers(session, tree, *node, servers.bes, "");
    if (servers.bes.empty() || servers.bes.front().empty())
        return;
    SetKey(connector, "Connector.BES.Servers", servers.bes);
    SetKey(connector, "Connector.MDS.Servers", servers.mds);
    SetKey(connector, "Connector.Exclude", exclude);
    connector.Save();
}

bool rekey(TreeModel& tree, TreeNode& node, const std::string& key, const char* image) {
    if (!tree.SetKey(node, key))
        return false;
    tree.SetImage(node, image);
    return true;
}

bool showsServers(const TreeNode& connector, const Strings& servers) {
    return std::ranges::equal(
        connector.children, servers,
        [](const auto& node, const std::string& server) { return node->text == BesName(server); });
}

/// Changes the list of excluded servers of a connector.
bool changeExclude(AgentSession& session, const TreeNode& bes,
                   const std::function<std::string(const std::string&)>& change) {
    const RDOMessagePtr connector = GetMessage(session, EntryID(bes.parent->key));
    const bool saved = connector && TrapSilently([&] {
                           const std::string now = KeyText(*connector, "Connector.Exclude");
                           SetKey(*connector, "Connector.Exclude", change(now));
                           connector->Save();
                           return true;
                       });
    if (saved)
        return true;
    session.log("BesExclude error: unable to retrieve parent domain message");
    session.ui().MsgBox("Unable to save changes for this BES", BoxIcon::Exclamation);
    return false;
}

} // namespace

std::string WithName(std::string_view list, std::string_view name) {
    return list.empty() ? std::string(name) : std::string(list) + ";" + std::string(name);
}

std::string WithoutName(std::string_view list, std::string_view name) {
    std::string rest;
    for (const std::string& element : Split(list, ";"))
        if (!EqualNoCase(element, name))
            rest += element + ";";
    return stripped(rest);
}

TreeNode* AddConnectorNode(TreeModel& tree, const RDOMessage& connector, bool mailbox) {
    return tree.Add(kConnectorRoot, connector.ID().text(),
                    mailbox ? "connector:mbx" : "connector:sql", connector.Subject(),
                    "imgConnectorBES");
}

bool LoadBesConnectors(AgentSession& session, TreeModel& tree) {
    TreeNode* placeholder = tree.Find(kPlaceholder);
    if (!placeholder)
        return true;
    if (!session.agentInfo)
        return false;
    const auto failed = [&](const Trapped& error) {
        session.log("LoadBesConnectors:" + error.text());
    };
    return Trap(
        [&] {
            const auto ids = RequireMessageIDs(*session.agentInfo, kConnectorClass, "");
            tree.Remove(*placeholder);
            for (const EntryID& id : ids)
                Trap(
                    [&] {
                        if (const RDOMessagePtr connector = GetMessage(session, id))
                            loadConnector(session, tree, *connector);
                    },
                    failed);
            return true;
        },
        failed);
}

std::string LoadBesServers(AgentSession& session, TreeModel& tree, TreeNode& connector,
                           const std::vector<std::string>& servers, std::string_view exclude) {
    std::string excluded;
    for (const std::string& server : servers) {
        const std::string name = BesName(server);
        const bool wanted = isExcluded(exclude, name);
        const TreeNode* other = wanted ? nullptr : tree.Find(activeKey(name));
        if (!wanted && !other) {
            tree.Add(connector.key, activeKey(name), kBes, name, kActiveIcon);
            continue;
        }
        if (other)
            session.ui().MsgBox("The server named " + name + " is being added to the " +
                                    connector.text +
                                    " connector as Excluded because\r\n"
                                    "it also appears under the " +
                                    other->parent->text + " connector.",
                                BoxIcon::Exclamation);
        excluded = WithName(excluded, name);
        tree.Add(connector.key, excludedKey(tree, name), kBes, name, kGhostIcon);
    }
    return stripped(excluded);
}

bool IsExcludedBes(const TreeNode& bes) { return bes.image == kGhostIcon; }

TreeNode* ShowConnector(AgentSession& session, TreeModel& tree, RDOMessage& connector) {
    TreeNode* node = tree.Find(connector.ID().text());
    if (node)
        tree.SetText(*node, connector.Subject());
    else
        node = AddConnectorNode(tree, connector,
                                KeyText(connector, "Connector.Type") == kMbxConnector);
    const Value stored = GetKey(connector, "Connector.BES.Servers");
    const Strings* servers = storedServers(stored);
    if (!node || !servers || showsServers(*node, *servers))
        return node;
    tree.RemoveChildren(*node);
    const std::string exclude = KeyText(connector, "Connector.Exclude");
    const std::string now = LoadBesServers(session, tree, *node, *servers, exclude);
    if (!EqualNoCase(now, exclude)) {
        SetKey(connector, "Connector.Exclude", now);
        connector.Save();
    }
    return node;
}

RDOMessagePtr OpenConnector(AgentSession& session, const EntryID& id) {
    RDOMessagePtr connector = GetMessage(session, id);
    if (!connector) {
        session.log("unable to open connector " + id.text());
        session.ui().MsgBox("Unable to open this BES connector", BoxIcon::Stop);
    }
    return connector;
}

EntryID SaveConnector(AgentSession& session, const EntryID& id,
                      const std::function<void(RDOMessage&)>& write) {
    return Trap(
        [&]() -> EntryID {
            const RDOMessagePtr connector = id.empty() && session.agentInfo
                                                ? session.agentInfo->Items()->Add(kConnectorClass)
                                                : GetMessage(session, id);
            if (!connector)
                throw PlatformError(MAPI_E_NOT_FOUND, "the connector is not there");
            write(*connector);
            connector->Save();
            return connector->ID();
        },
        [&](const Trapped& error) { session.log("SaveConnector:" + error.text()); });
}

std::optional<bool> ConnectorExists(AgentSession& session, std::string_view subject,
                                    const EntryID& own) {
    return Trap(
        [&]() -> std::optional<bool> {
            if (!session.agentInfo)
                throw PlatformError(MAPI_E_NOT_FOUND, "the connectors are not there");
            const RDOStorePtr store = session.rdo->Stores().DefaultStore();
            return std::ranges::any_of(
                RequireMessageIDs(*session.agentInfo, kConnectorClass, subject),
                [&](const EntryID& id) { return own.empty() || !store->CompareEntryIDs(id, own); });
        },
        [&](const Trapped& error) { session.log("ConnectorExists:" + error.text()); });
}

bool ExcludeBes(AgentSession& session, TreeModel& tree, TreeNode& bes) {
    const std::string name = bes.text;
    if (!changeExclude(session, bes, [&](const std::string& list) { return WithName(list, name); }))
        return false;
    return rekey(tree, bes, excludedKey(tree, name), kGhostIcon);
}

bool IncludeBes(AgentSession& session, TreeModel& tree, TreeNode& bes) {
    const std::string name = bes.text;
    if (tree.Find(activeKey(name))) {
        session.ui().MsgBox("A BES server named " + name +
                                " exists in another domain.\r\nYou will need to exclude that one "
                                "before this BES can be included.",
                            BoxIcon::Exclamation);
        return false;
    }
    if (!changeExclude(session, bes,
                       [&](const std::string& list) { return WithoutName(list, name); }))
        return false;
    return rekey(tree, bes, activeKey(name), kActiveIcon);
}

} // namespace kr
