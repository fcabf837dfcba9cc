#include "contacts/SourceKind.h"

#include <algorithm>

#include "console/Console.h"
#include "contacts/PdlNodes.h"
#include "contacts/basACF.h"
#include "contacts/basACFChanges.h"
#include "contacts/basACFRecord.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr AcfKind kKinds[] = {AcfKind::PublicFolder, AcfKind::Mailbox, AcfKind::Data};

bool isSource(std::string_view tag) {
    return std::ranges::any_of(kKinds, [&](AcfKind kind) { return AcfTag(kind) == tag; });
}

/// A source that a command acts on, copied: boxes and dialogs let events run.
struct Selected {
    std::string key;
    std::string tag;
    std::string text;
    bool inactive = false;
};

/// The selected rows, else the node.
std::vector<Selected> selectedSources(Console& console) {
    std::vector<Selected> sources;
    const auto rows = console.SelectedRows();
    for (const ListRow* row : rows)
        if (isSource(row->tag))
            sources.push_back({row->key, row->tag, row->texts.front(), row->ghosted});
    const TreeNode* node = console.CurrentNode();
    if (rows.empty() && node && isSource(node->tag))
        sources.push_back({node->key, node->tag, node->text, node->ghosted});
    return sources;
}

MenuEntryState* find(std::vector<MenuEntryState>& entries, std::string_view name) {
    const auto found = std::ranges::find(entries, name, &MenuEntryState::name);
    return found == entries.end() ? nullptr : &*found;
}

void show(std::vector<MenuEntryState>& entries, std::string_view name, bool visible) {
    if (MenuEntryState* entry = find(entries, name))
        entry->visible = entry->visible && visible;
}

const TreeNode* sibling(const TreeNode& node, bool previous) {
    const auto& siblings = node.parent->children;
    const size_t row = node.row();
    if (previous)
        return row > 0 ? siblings[row - 1].get() : nullptr;
    return row + 1 < siblings.size() ? siblings[row + 1].get() : nullptr;
}

/// Where a node was removed that the console stood on, its list goes to that of all sources.
void leaveMissingNode(Console& console) {
    if (console.CurrentNode())
        ReloadSources(console);
    else
        console.GoToNode(kAcfRootKey);
}

void storeBranch(Console& console) {
    if (SaveTrustRanking(console.session(), console.tree()))
        LoadAcfTree(console.session(), console.tree());
}

/// Adds a node of that record as the least trusted source, or puts it in the place of a node.
void showSource(Console& console, const EntryID& id, const std::string& replaced) {
    const RDOMessagePtr acf = GetMessage(console.session(), id);
    if (!acf)
        return;
    TreeModel& tree = console.tree();
    const std::string image = AcfImage(*acf);
    TreeNode* node = tree.Find(id.text());
    if (!node)
        node = tree.Add(kAcfRootKey, id.text(), AcfTag(KindOfAcf(*acf)), acf->Subject(), image);
    if (!node)
        return;
    tree.SetText(*node, acf->Subject());
    tree.SetImage(*node, image);
    tree.SetGhosted(*node, image.ends_with(kGhostSuffix));
    if (TreeNode* old = replaced == node->key ? nullptr : tree.Find(replaced)) {
        tree.Move(*node, old->row());
        tree.Remove(*old);
    }
}

bool requireMCR(Console& console, const ContactForms& forms) {
    AgentSession& session = console.session();
    if (GetMCRMessage(session))
        return true;
    session.ui().MsgBox("You must select the Master Contact Repository before adding an Alternate "
                        "Contacts folder!",
                        BoxIcon::Exclamation);
    EditMCR(console, forms);
    return false;
}

void addSource(Console& console, const ContactForms& forms, const ContactForms::Edit& form) {
    if (!form || !requireMCR(console, forms))
        return;
    const EntryID id = form(EntryID());
    if (id.empty())
        return;
    // a branch that couldn't be read is no base for a ranking
    if (AcfNodeExists(console.tree(), EntryID(kMcrTag)))
        LoadAcfTree(console.session(), console.tree());
    showSource(console, id, "");
    storeBranch(console);
    ReloadSources(console);
    if (console.CurrentTag() == kAcfRootKey)
        console.GoToRow(id.text(), kAcfRootKey);
}

void removeSources(Console& console) {
    for (const Selected& source : selectedSources(console)) {
        const AcfChange removed = RemoveAcf(console.session(), EntryID(source.key), source.text);
        if (!removed)
            break;
        RemovePdlNode(console, removed.list);
        if (TreeNode* node = console.tree().Find(source.key))
            console.tree().Remove(*node);
        storeBranch(console);
    }
    leaveMissingNode(console);
}

void move(Console& console, bool up) {
    const auto sources = selectedSources(console);
    TreeNode* node = sources.empty() ? nullptr : console.tree().Find(sources.front().key);
    if (!node)
        return;
    MoveAcfNode(console.session(), console.tree(), *node, up);
    const bool inList = console.CurrentTag() == kAcfRootKey;
    if (inList)
        ReloadSources(console);
    if (!inList || !console.GoToRow(sources.front().key, kAcfRootKey))
        console.UpdateMenu();
}

void makeMCL(Console& console, const ContactForms& forms) {
    const auto sources = selectedSources(console);
    if (sources.empty())
        return;
    const auto source = SourceForMCL(console.session(), EntryID(sources.front().key));
    if (!source)
        return;
    const auto& form =
        sources.front().tag == AcfTag(AcfKind::Data) ? forms.newMclACDS : forms.newMclACF;
    if (form && !form(*source).empty())
        console.UpdateMenu();
}

/// Tree and list show whether the source is switched off.
void showActive(Console& console, const std::string& key, bool activate) {
    if (TreeNode* node = console.tree().Find(key)) {
        console.tree().SetImage(*node, GhostImage(node->image, !activate));
        console.tree().SetGhosted(*node, !activate);
    }
    const size_t at = console.list().Find(key);
    if (at == ListModel::npos)
        return;
    ListRow row = console.list().At(at);
    row.ghosted = !activate;
    row.icon = GhostImage(row.icon, !activate);
    console.list().Change(at, std::move(row));
}

void changeActivation(Console& console, bool activate) {
    for (const Selected& source : selectedSources(console)) {
        if (source.inactive != activate)
            continue;
        const AcfChange changed =
            ChangeActivationACF(console.session(), EntryID(source.key), source.text, activate);
        ShowPdlActive(console, changed.list, activate);
        if (changed)
            showActive(console, source.key, activate);
    }
    console.UpdateMenu();
}

void editSource(Console& console, const ContactForms::Edit& form) {
    const auto sources = selectedSources(console);
    if (sources.empty() || !form)
        return;
    const std::string key = sources.front().key;
    const bool current = console.CurrentNode() && console.CurrentNode()->key == key;
    const EntryID id = form(EntryID(key));
    if (id.empty())
        return;
    showSource(console, id, key);
    storeBranch(console);
    // the dialog may have taken up another record
    if (current && !console.CurrentNode())
        console.GoToNode(id.text());
    else
        ReloadSources(console);
}

} // namespace

SourceKind::SourceKind(std::string_view tag, const ContactForms& forms)
    : NodeKind(std::string(tag)), m_form(tag == AcfTag(AcfKind::Data)      ? forms.frmACDS
                                         : tag == AcfTag(AcfKind::Mailbox) ? forms.frmACFMbx
                                                                           : forms.frmACF) {}

void SourceKind::AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) {
    const auto sources = selectedSources(console);
    const bool single = sources.size() == 1;
    const TreeNode* node = single ? console.tree().Find(sources.front().key) : nullptr;
    const TreeNode* before = node ? sibling(*node, true) : nullptr;
    show(entries, "mnuAcfTrustMore", before && before->tag != kMcrTag);
    show(entries, "mnuAcfTrustLess", node && sibling(*node, false));
    show(entries, "mnuAcfMakeMCL", single);
    if (MenuEntryState* make = find(entries, "mnuAcfMakeMCL"); make && make->visible)
        make->enabled = CanMakeMCL(console.session(), EntryID(sources.front().key));
}

bool SourceKind::Run(Console& console, std::string_view command) {
    if (command == "mnuActionmnuProps")
        editSource(console, m_form);
    else if (command == "mnuActionActivate" || command == "mnuActionInactivate")
        changeActivation(console, command == "mnuActionActivate");
    else
        return false;
    return true;
}

void EditMCR(Console& console, const ContactForms& forms) {
    if (!forms.frmMCR)
        return;
    // the node's key says "mcr" when the record couldn't be had
    const RDOMessagePtr mcr = GetMCRMessage(console.session());
    const bool current = console.CurrentTag() == kMcrTag;
    if (forms.frmMCR(mcr ? mcr->ID() : EntryID()).empty())
        return;
    LoadAcfTree(console.session(), console.tree());
    const TreeNode* root = console.tree().Find(kAcfRootKey);
    if (current && !console.CurrentNode() && root && !root->children.empty())
        console.GoToNode(root->children.front()->key);
    else
        leaveMissingNode(console);
}

void ReloadSources(Console& console) {
    TreeNode* node = console.CurrentNode();
    if (!node || (node->tag != kAcfRootKey && node->tag != kMcrTag && !isSource(node->tag)))
        return;
    console.SetTitle(node->text);
    if (NodeKind* kind = console.Kind(node->tag))
        kind->Load(console, *node);
}

void RegisterSourceCommands(Console& console, const ContactForms& forms) {
    const auto add = [&](std::string_view command, const ContactForms::Edit& form) {
        console.RegisterCommand(command, [forms, form](Console& c) { addSource(c, forms, form); });
    };
    add("mnuAcfAddPF", forms.frmACF);
    add("mnuAcfAddMbx", forms.frmACFMbx);
    add("mnuAcfAddDS", forms.frmACDS);
    console.RegisterCommand("mnuAcfTrustMore", [](Console& c) { move(c, true); });
    console.RegisterCommand("mnuAcfTrustLess", [](Console& c) { move(c, false); });
    console.RegisterCommand("mnuAcfRemove", removeSources);
    console.RegisterCommand("mnuAcfMakeMCL", [forms](Console& c) { makeMCL(c, forms); });
}

} // namespace kr
