#include "push/PdlKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "contacts/PdlNodes.h"
#include "contacts/basACF.h"
#include "contacts/basActivation.h"
#include "contacts/basMCL.h"
#include "contacts/basMCLList.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "push/PdlMembers.h"

namespace kr {

namespace {

constexpr std::string_view kRootTag = "pdlroot";
constexpr std::string_view kListTag = "pdlt";
constexpr std::string_view kRecipientsTag = "pdlrootX";
constexpr std::string_view kImage = "imgPDL";
constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kClear = "mnuMclClearPDL";
constexpr std::string_view kNoList = "The list can't be opened.";

// --- the nodes

struct PdlNode {
    EntryID id;
    std::string name;
    bool inactive = false;
};

void addNode(Console& console, const PdlNode& list) {
    TreeNode* node = console.tree().Add(kRootTag, list.id.text(), kListTag, list.name, kImage);
    if (!node)
        return; // it is there already, or the tree has no root for it
    console.tree().SetGhosted(*node, list.inactive);
    PlacePdlNode(console, *node);
}

PdlNode nodeOf(const EntryID& id, RDOMessage& mcl) {
    return {id, mcl.Subject(), RequireKey(mcl, kInactiveKey).valueOr(false)};
}

/// Throws when the lists can't be read; one that can't be opened is left out.
std::vector<PdlNode> readLists(AgentSession& session, RDOFolder& folder) {
    std::vector<PdlNode> lists;
    for (const EntryID& id : RequireMessageIDs(folder, kMclClass, ""))
        Trap(
            [&] {
                const RDOMessagePtr mcl = GetMessage(session, id);
                if (!mcl)
                    throw PlatformError(MAPI_E_NOT_FOUND, std::string(kNoList));
                if (RequireKey(*mcl, "PDL").valueOr(false))
                    lists.push_back(nodeOf(id, *mcl));
            },
            [&](const Trapped& error) {
                session.log("LoadPDLs: err opening " + id.text() + " " + error.text());
            });
    return lists;
}

/// The reason why there are no nodes; "" when they stand.
std::string loadNodes(Console& console) {
    AgentSession& session = console.session();
    std::string failure;
    const auto lists = Trap(
        [&] {
            const RDOFolderPtr folder = GetMCLFolder(session).folder;
            if (!folder)
                throw PlatformError(MAPI_E_NOT_FOUND,
                                    "Unable to locate " + std::string(kMclFolderName) + " folder");
            return readLists(session, *folder);
        },
        [&](const Trapped& error) { failure = error.description; });
    for (const PdlNode& list : lists)
        addNode(console, list);
    return failure;
}

/// A list may have got another name, or been switched, since its node was made.
void refreshNode(Console& console, const PdlNode& list) {
    if (!console.tree().Find(list.id.text()))
        return;
    RenamePdlNode(console, list.id, list.name);
    ShowPdlActive(console, list.id, !list.inactive);
    console.SetTitle(list.name);
}

// --- the members

/// The members of the list that is the current node.
void LoadPDLMembers(Console& console) {
    AgentSession& session = console.session();
    const EntryID id(console.CurrentKey());
    CMsgPDL pdl(GetMessage(session, id));
    const bool open = pdl.Load(session);
    const PdlNode list = open ? TrapSilently([&] { return nodeOf(id, *pdl.Message); }) : PdlNode();
    if (!list.id.empty())
        refreshNode(console, list);
    console.LoadList({"Loading members, please wait...",
                      "LoadPDLMembers:loading members of " + (open ? list.name : id.text()),
                      PdlColumns(pdl), "1 member", " members", [&](Console& c) {
                          if (!open)
                              return std::string(kNoList);
                          return LoadPdlRows(c.session(), pdl,
                                             {[&c](ListRow row) { c.AddRow(std::move(row)); },
                                              [&c] { return c.LoadOvertaken(); }});
                      }});
}

bool showsList(const Console& console, const EntryID& id) {
    return console.CurrentTag() == kListTag && EntryID(console.CurrentKey()) == id;
}

/// The dialog of the list that is the current node.
void ShowPropsPDL(Console& console, const PushForms::Edit& form) {
    AgentSession& session = console.session();
    const TreeNode* node = console.CurrentNode();
    if (!node || node->tag != kListTag)
        return;
    const EntryID id(console.CurrentKey());
    const std::string name = node->text;
    if (!GetMessage(session, id)) {
        session.log("ShowPropsPDL:error retrieving message for list " + name);
        session.ui().MsgBox("There is a problem accessing " + name, BoxIcon::Exclamation);
        return;
    }
    const EntryID saved = form ? form(id) : EntryID();
    if (!saved.empty() && showsList(console, id))
        LoadPDLMembers(console);
}

// --- the commands on contact lists

bool isMcl(const ListRow& row) {
    return row.tag == kMclTag || row.tag == kMclAcfTag || row.tag == kMclAcdsTag;
}

struct NamedList {
    EntryID id;
    std::string name;
};
/// The selected contact lists; else the list of the current node.
std::vector<NamedList> contextLists(Console& console) {
    std::vector<NamedList> lists;
    for (const ListRow* row : console.SelectedRows())
        if (isMcl(*row))
            lists.push_back({EntryID(row->key), row->texts.empty() ? "" : row->texts.front()});
    const TreeNode* node = console.CurrentNode();
    if (lists.empty() && node && node->tag == kListTag)
        lists.push_back({EntryID(console.CurrentKey()), node->text});
    return lists;
}

void makePDL(Console& console) {
    AgentSession& session = console.session();
    for (const NamedList& list : contextLists(console)) {
        if (!SetPDL(session, list.id, list.name, true))
            continue;
        const RDOMessagePtr mcl = GetMessage(session, list.id);
        const bool inactive = mcl && KeyFlag(*mcl, kInactiveKey);
        addNode(console, {list.id, list.name, inactive});
    }
    console.UpdateMenu();
}

void clearPDL(Console& console) {
    for (const NamedList& list : contextLists(console)) {
        if (!SetPDL(console.session(), list.id, list.name, false))
            continue;
        TreeNode* node = console.tree().Find(list.id.text());
        if (!node || node->tag != kListTag)
            continue;
        const bool current = showsList(console, list.id);
        console.tree().Remove(*node);
        if (current)
            console.GoToNode(kRootTag);
    }
    console.UpdateMenu();
}

// --- the kinds

class PdlRootKind : public NodeKind {
public:
    explicit PdlRootKind(const PushForms& forms)
        : NodeKind(std::string(kRootTag)), m_form(forms.frmPdlProps) {}
    void Load(Console& console, TreeNode& node) override {
        if (NodeKind* recipients = console.Kind(kRecipientsTag)) {
            recipients->Load(console, node);
            return;
        }
        console.ClearListView();
        console.ShowStatus("");
    }
    bool Expand(Console& console, TreeNode& node) override {
        if (std::ranges::none_of(node.children, [](const auto& child) { return child->isDummy(); }))
            return true;
        const std::string failure = loadNodes(console);
        if (failure.empty())
            return true;
        console.session().log("LoadPDLs: " + failure);
        console.ShowStatus(failure);
        return false;
    }
    bool Run(Console&, std::string_view command) override {
        if (command != kProperties)
            return false;
        if (m_form)
            m_form();
        return true;
    }

private:
    std::function<void()> m_form;
};

/// A list's node and the rows of its members: both have the properties of the list.
class PdlKind : public NodeKind {
public:
    PdlKind(std::string_view tag, PushForms::Edit form)
        : NodeKind(std::string(tag)), m_form(std::move(form)) {}
    bool Run(Console& console, std::string_view command) override {
        if (command != kProperties)
            return false;
        ShowPropsPDL(console, m_form);
        return true;
    }

private:
    PushForms::Edit m_form;
};

class PdlNodeKind : public PdlKind {
public:
    using PdlKind::PdlKind;
    void Load(Console& console, TreeNode&) override { LoadPDLMembers(console); }
    /// The entries of the set are those of a recipient, which a node is not.
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        for (MenuEntryState& entry : entries) {
            const bool own = entry.name == kProperties || entry.name == kClear;
            entry.visible = entry.visible || own;
            entry.enabled = own;
        }
    }
};

} // namespace

void RegisterPdlKinds(Console& console, const PushForms& forms) {
    console.RegisterKind(std::make_unique<PdlRootKind>(forms));
    console.RegisterKind(std::make_unique<PdlNodeKind>(kListTag, forms.frmPDL));
    console.RegisterKind(std::make_unique<PdlKind>(kPdlMemberTag, forms.frmPDL));
    console.RegisterCommand("mnuMclMakePDL", makePDL);
    console.RegisterCommand("mnuMclClearPDL", clearPDL);
}

} // namespace kr
