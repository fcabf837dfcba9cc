#include <algorithm>

#include "console/Console.h"
#include "core/Text.h"
#include "core/basStore.h"
#include "handhelds/HandheldKinds.h"
#include "handhelds/basBES.h"

namespace kr {

namespace {

constexpr std::string_view kBesTag = "bes"; // a node, and its row in the list of a connector
constexpr std::string_view kInclude = "mnuBesInclude";
constexpr std::string_view kExclude = "mnuBesExclude";

/// What the list shows of one server; `node` is empty where the tree hasn't got it.
struct BesEntry {
    std::string server;
    std::string node;
    bool excluded = false;
};

/// The servers of the record, each with its node. A name that stands twice has two nodes.
std::vector<BesEntry> entriesOf(const TreeNode& connector, const Strings& servers) {
    std::vector<const TreeNode*> nodes;
    for (const auto& child : connector.children)
        nodes.push_back(child.get());
    std::vector<BesEntry> entries;
    for (const std::string& server : servers) {
        BesEntry entry{server, "", false};
        const std::string name = BesName(server);
        const auto found = std::ranges::find_if(
            nodes, [&](const TreeNode* node) { return node && node->text == name; });
        if (found != nodes.end()) {
            entry.node = (*found)->key;
            entry.excluded = IsExcludedBes(**found);
            *found = nullptr;
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

ListRow besRow(const BesEntry& entry) {
    std::vector<std::string> fields = Split(entry.server, ";");
    fields.resize(4);
    ListRow row;
    row.key = entry.node;
    row.tag = kBesTag;
    row.icon = "imgBES";
    row.ghosted = entry.excluded;
    row.texts = {Trim(fields[0]), fields[1], fields[3], fields[2]};
    return row;
}

std::string fillBes(Console& console, const EntryID& id) {
    const RDOMessagePtr connector = GetMessage(console.session(), id);
    const TreeNode* node = console.tree().Find(id.text());
    if (!connector || !node)
        return "The connector can't be opened.";
    const Value stored = GetKey(*connector, "Connector.BES.Servers");
    const auto* servers = stored.get<Strings>();
    if (!servers)
        return {};
    for (const BesEntry& entry : entriesOf(*node, *servers)) {
        if (console.LoadOvertaken())
            break;
        console.AddRow(besRow(entry));
    }
    return {};
}

/// Keys of the nodes of the selected servers, or of the one whose node commands act on.
std::vector<std::string> selectedBes(Console& console) {
    std::vector<std::string> keys;
    const auto rows = console.SelectedRows();
    for (const ListRow* row : rows)
        if (row->tag == kBesTag)
            keys.push_back(row->key);
    const TreeNode* node = console.CurrentNode();
    if (rows.empty() && node && node->tag == kBesTag)
        keys.push_back(node->key);
    return keys;
}

/// Gives the row the node's new key and look.
void showBes(Console& console, const std::string& former, const TreeNode& bes) {
    const size_t at = console.list().Find(former);
    if (at == ListModel::npos)
        return;
    ListRow row = console.list().At(at);
    row.key = bes.key;
    row.ghosted = IsExcludedBes(bes);
    console.list().Change(at, std::move(row));
}

void changeBes(Console& console, bool exclude) {
    AgentSession& session = console.session();
    for (const std::string& key : selectedBes(console)) {
        TreeNode* node = console.tree().Find(key);
        if (!node || node->tag != kBesTag || IsExcludedBes(*node) == exclude)
            continue;
        const bool current = console.CurrentNode() == node;
        if (!(exclude ? ExcludeBes : IncludeBes)(session, console.tree(), *node))
            continue;
        showBes(console, key, *node);
        if (current)
            console.GoToNode(node->key); // under its new key
    }
    console.UpdateMenu();
}

/// A BES in the tree, and its row in the list of its connector.
class BesKind : public NodeKind {
public:
    BesKind() : NodeKind(std::string(kBesTag)) {}
    void Load(Console& console, TreeNode& node) override { LoadBesHandhelds(console, node.text); }
    /// Offered is what changes something.
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override {
        bool included = false;
        bool excluded = false;
        for (const std::string& key : selectedBes(console))
            if (const TreeNode* node = console.tree().Find(key))
                (IsExcludedBes(*node) ? excluded : included) = true;
        for (MenuEntryState& entry : entries) {
            if (entry.name == kInclude)
                entry.visible = excluded;
            else if (entry.name == kExclude)
                entry.visible = included;
        }
    }
};

} // namespace

void LoadBesList(Console& console, const TreeNode& connector) {
    const EntryID id(connector.key);
    console.LoadList({"Loading BES, please wait...",
                      "loading BES",
                      {{"Service Name", "Service Name"},
                       {"Machine Name", "Machine Name"},
                       {"Version", "Version"},
                       {"SRPid", "SRPid"}},
                      "1 server",
                      " servers",
                      [id](Console& c) { return fillBes(c, id); }});
}

void RegisterBesKinds(Console& console) {
    console.RegisterKind(std::make_unique<BesKind>());
    console.RegisterCommand(kInclude, [](Console& c) { changeBes(c, false); });
    console.RegisterCommand(kExclude, [](Console& c) { changeBes(c, true); });
}

} // namespace kr
