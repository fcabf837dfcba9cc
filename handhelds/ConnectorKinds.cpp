#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "core/basStore.h"
#include "handhelds/HandheldKinds.h"
#include "handhelds/PushServerChoice.h"
#include "handhelds/basBES.h"

namespace kr {

namespace {

constexpr std::string_view kSqlTag = "connector:sql"; // a node, and its row in the list
constexpr std::string_view kMbxTag = "connector:mbx";
/// The row of a mailbox connector that was made since the list was loaded.
constexpr std::string_view kNewMbxTag = "bescxn-mbx";
constexpr const char* kConnectorIcon = "imgConnectorBES";
constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kDelete = "mnuBesConnectorDelete";

bool isConnector(std::string_view tag) {
    return tag == kSqlTag || tag == kMbxTag || tag == kNewMbxTag;
}

bool isMailbox(RDOMessage& connector) {
    return KeyText(connector, "Connector.Type") == kMbxConnector;
}

/// The chosen push server, else the first of the list.
std::string pushServerOf(RDOMessage& connector) {
    const std::string host = KeyText(connector, "Connector.MDS.Host");
    const Value stored = GetKey(connector, "Connector.MDS.Servers");
    const auto* servers = stored.get<Strings>();
    return host.empty() && servers && !servers->empty() ? servers->front() : host;
}

ListRow connectorRow(RDOMessage& connector) {
    const bool mailbox = isMailbox(connector);
    ListRow row;
    row.key = connector.ID().text();
    row.tag = mailbox ? kMbxTag : kSqlTag;
    row.icon = kConnectorIcon;
    row.texts = {connector.Subject(), std::string(mailbox ? kMbxConnector : kSqlConnector),
                 pushServerOf(connector)};
    return row;
}

std::string fillConnectors(Console& console) {
    AgentSession& session = console.session();
    if (!session.agentInfo)
        return "The connectors can't be read.";
    LoadBesConnectors(session, console.tree());
    for (const EntryID& id : RequireMessageIDs(*session.agentInfo, kConnectorClass, "")) {
        if (console.LoadOvertaken())
            break;
        if (const RDOMessagePtr connector = GetMessage(session, id))
            console.AddRow(connectorRow(*connector));
    }
    return {};
}

/// The ids of the selected connectors, or of the connector whose node commands act on.
std::vector<EntryID> selectedConnectors(Console& console) {
    std::vector<EntryID> ids;
    const auto rows = console.SelectedRows();
    for (const ListRow* row : rows)
        if (isConnector(row->tag))
            ids.emplace_back(row->key);
    const TreeNode* node = console.CurrentNode();
    if (rows.empty() && node && isConnector(node->tag))
        ids.emplace_back(node->key);
    return ids;
}

void countConnectors(Console& console) {
    console.ShowStatus(CountText(Counted::Connector, static_cast<int64_t>(console.list().Count())));
}

void addConnector(Console& console, const HandheldForms::Edit& form) {
    AgentSession& session = console.session();
    const EntryID id = form ? form(EntryID()) : EntryID();
    const RDOMessagePtr connector = id.empty() ? nullptr : GetMessage(session, id);
    if (!connector)
        return;
    // the others first, where nobody has asked for them yet: their servers win
    LoadBesConnectors(session, console.tree());
    ShowConnector(session, console.tree(), *connector);
    if (console.CurrentTag() != kConnectorRoot || console.list().Find(id.text()) != ListModel::npos)
        return;
    ListRow row = connectorRow(*connector);
    if (row.tag == kMbxTag)
        row.tag = kNewMbxTag;
    row.texts.back() = KeyText(*connector, "Connector.MDS.Host");
    if (row.texts.back().empty())
        row.texts.back() = PushServerChoice::kNotConfigured;
    console.list().Add(std::move(row));
    countConnectors(console);
}

/// False: stop.
bool deleteConnector(Console& console, const EntryID& id) {
    AgentSession& session = console.session();
    const RDOMessagePtr connector = GetMessage(session, id);
    if (!connector) {
        session.log("unable to find message for selected item in BesConnectorDelete");
        return false;
    }
    if (session.ui().MsgBox("Delete " + connector->Subject() + "?", BoxIcon::Question,
                            BoxButtons::YesNo) != BoxAnswer::Yes)
        return true;
    connector->Delete();
    const bool current = console.CurrentKey() == id.text();
    if (TreeNode* node = console.tree().Find(id.text()))
        console.tree().Remove(*node);
    if (const size_t at = console.list().Find(id.text()); at != ListModel::npos) {
        console.list().Remove(at);
        countConnectors(console);
    }
    if (current)
        console.GoToNode(kConnectorRoot);
    return true;
}

void deleteConnectors(Console& console) {
    for (const EntryID& id : selectedConnectors(console))
        if (!deleteConnector(console, id))
            return;
}

/// Brings node, row and list up to date after the properties were changed.
void showChanged(Console& console, const EntryID& id) {
    AgentSession& session = console.session();
    const RDOMessagePtr connector = GetMessage(session, id);
    if (!connector)
        return;
    TreeNode* node = ShowConnector(session, console.tree(), *connector);
    if (const size_t at = console.list().Find(id.text()); at != ListModel::npos)
        console.list().Change(at, connectorRow(*connector));
    if (!node || console.CurrentKey() != id.text())
        return;
    console.SetTitle(node->text);
    if (NodeKind* kind = console.Kind(node->tag))
        kind->Load(console, *node);
}

void editConnector(Console& console, const HandheldForms& forms) {
    const std::vector<EntryID> ids = selectedConnectors(console);
    const RDOMessagePtr connector =
        ids.empty() ? nullptr : OpenConnector(console.session(), ids.front());
    if (!connector)
        return;
    const HandheldForms::Edit& form =
        isMailbox(*connector) ? forms.frmBesCxnMbx : forms.frmBesCxnSQL;
    const EntryID saved = form ? form(ids.front()) : EntryID();
    if (!saved.empty())
        showChanged(console, saved);
}

class ConnectorRootKind : public NodeKind {
public:
    ConnectorRootKind() : NodeKind(std::string(kConnectorRoot)) {}
    void Load(Console& console, TreeNode&) override {
        console.LoadList(
            {"Loading Connectors, please wait...",
             "loading connectors",
             {{"Connector", "Connector"}, {"Type", "Type"}, {"Push Server", "Push Server"}},
             "1 connector",
             " connectors",
             fillConnectors});
    }
    bool Expand(Console& console, TreeNode&) override {
        return LoadBesConnectors(console.session(), console.tree());
    }
};

/// A connector in the tree, and its row in the list.
class ConnectorKind : public NodeKind {
public:
    ConnectorKind(std::string_view tag, const HandheldForms& forms)
        : NodeKind(std::string(tag)), m_forms(forms) {}
    void Load(Console& console, TreeNode& node) override { LoadBesList(console, node); }
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override {
        const bool one = selectedConnectors(console).size() == 1;
        for (MenuEntryState& entry : entries) {
            // the row of a new mailbox connector has no set of its own
            if (entry.name == kDelete)
                entry.visible = true;
            else if (entry.name == kProperties)
                entry.enabled = one;
        }
    }
    void Activate(Console& console, const ListRow&) override { console.RunCommand(kProperties); }
    std::string_view DeleteCommand() const override { return kDelete; }
    bool Run(Console& console, std::string_view command) override {
        if (command != kProperties)
            return false;
        editConnector(console, m_forms);
        return true;
    }

private:
    HandheldForms m_forms;
};

} // namespace

void RegisterConnectorKinds(Console& console, const HandheldForms& forms) {
    console.RegisterKind(std::make_unique<ConnectorRootKind>());
    for (const std::string_view tag : {kSqlTag, kMbxTag, kNewMbxTag})
        console.RegisterKind(std::make_unique<ConnectorKind>(tag, forms));
    console.RegisterCommand("mnuBesConnectorSQLAdd",
                            [forms](Console& c) { addConnector(c, forms.frmBesCxnSQL); });
    console.RegisterCommand("mnuBesConnectorMbxAdd",
                            [forms](Console& c) { addConnector(c, forms.frmBesCxnMbx); });
    console.RegisterCommand(kDelete, deleteConnectors);
}

} // namespace kr
