#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "contacts/ContactKinds.h"
#include "contacts/PdlNodes.h"
#include "contacts/basACFRecord.h"
#include "contacts/basMCLChanges.h"
#include "contacts/basMCLList.h"
#include "contacts/basMCLRecord.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kMclNode = "mclf";
constexpr std::string_view kMakePDL = "mnuMclMakePDL";
constexpr std::string_view kClearPDL = "mnuMclClearPDL";

/// A PIN distribution list's node gets the name that the list has by now, and shows where the view
/// has just switched it off.
void addRow(Console& console, ListRow row) {
    const EntryID list(row.key);
    RenamePdlNode(console, list, row.texts.front());
    if (row.ghosted) // a row that couldn't be read is not
        ShowPdlActive(console, list, false);
    console.AddRow(std::move(row));
}

void LoadMCLList(Console& console) {
    const MclFolder folder = GetMCLFolder(console.session());
    if (console.CurrentTag() != kMclNode)
        return; // another node was clicked while a box stood
    console.SetTitle(folder.path + " - " + std::string(kMclFolderName));
    console.LoadList({"Loading mandatory contact lists, please wait...", "loading MCL",
                      MclColumns(console.session().quickLoad), "1 list", " lists",
                      [&folder](Console& c) {
                          return LoadMclRows(c.session(), folder,
                                             {[&c](ListRow row) { addRow(c, std::move(row)); },
                                              [&c] { return c.LoadOvertaken(); }});
                      }});
}

void reload(Console& console) {
    if (console.CurrentTag() == kMclNode)
        LoadMCLList(console);
}

bool isMcl(std::string_view tag) {
    return tag == kMclTag || tag == kMclAcfTag || tag == kMclAcdsTag;
}

std::vector<SelectedMcl> selectedLists(const Console& console) {
    std::vector<SelectedMcl> lists;
    for (const ListRow* row : console.SelectedRows())
        if (isMcl(row->tag))
            lists.push_back(
                {EntryID(row->key), row->texts.front(), row->tag != kMclTag, row->ghosted});
    return lists;
}

/// The dialog's answer is the record that it saved.
void edit(Console& console, const ContactForms::Edit& form, const EntryID& record) {
    const EntryID saved = form ? form(record) : EntryID();
    if (saved.empty())
        return;
    reload(console);
    if (console.list().Find(saved.text()) != ListModel::npos)
        console.GoToRow(saved.text(), kMclNode);
}

void deleteLists(Console& console) {
    const auto gone = DeleteMCLs(console.session(), selectedLists(console));
    for (const EntryID& id : gone) {
        if (const size_t at = console.list().Find(id.text()); at != ListModel::npos)
            console.list().Remove(at);
        RemovePdlNode(console, id);
    }
    if (console.CurrentTag() == kMclNode)
        console.ShowStatus(CountText(Counted::List, static_cast<int64_t>(console.list().Count())));
}

void showActive(Console& console, const MclActivation& done, bool activate) {
    for (const EntryID& id : done.lists) {
        ShowPdlActive(console, id, activate);
        const size_t at = console.list().Find(id.text());
        if (at == ListModel::npos)
            continue;
        ListRow row = console.list().At(at);
        row.ghosted = !activate;
        console.list().Change(at, std::move(row));
    }
    for (const EntryID& id : done.sources)
        if (TreeNode* node = console.tree().Find(id.text())) {
            console.tree().SetImage(*node, GhostImage(node->image, false));
            console.tree().SetGhosted(*node, false);
        }
    console.UpdateMenu();
}

void setPath(Console& console) {
    if (!SetMCLPath(console.session()))
        return;
    // other lists may lie there: the branch of the PIN distribution lists is read anew
    if (PdlNodesRead(console))
        console.RefreshView();
    else
        reload(console);
}

class MclNodeKind : public NodeKind {
public:
    MclNodeKind() : NodeKind(std::string(kMclNode)) {}
    void Load(Console& console, TreeNode&) override { LoadMCLList(console); }
};

/// A row of one of the three kinds.
class MclRowKind : public NodeKind {
public:
    MclRowKind(std::string_view tag, const ContactForms& forms)
        : NodeKind(std::string(tag)), m_forms(forms) {}

    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override {
        const auto rows = console.SelectedRows();
        const auto show = [&](std::string_view name, bool visible) {
            const auto entry = std::ranges::find(entries, name, &MenuEntryState::name);
            if (entry != entries.end())
                entry->visible = entry->visible && visible;
        };
        // a data source's contacts have no PINs
        bool make = Tag() != kMclAcdsTag;
        bool clear = make;
        if (make && rows.size() == 1) {
            const RDOMessagePtr list = GetMessage(console.session(), EntryID(rows.front()->key));
            (list && KeyFlag(*list, "PDL") ? make : clear) = false;
        }
        show(kMakePDL, make);
        show(kClearPDL, clear);
    }
    std::string_view DeleteCommand() const override { return "mnuMclDelete"; }
    bool Run(Console& console, std::string_view command) override {
        if (command == "mnuActionmnuProps")
            properties(console);
        else if (command == "mnuActionActivate" || command == "mnuActionInactivate")
            changeActivation(console, command == "mnuActionActivate");
        else
            return false;
        return true;
    }

private:
    void properties(Console& console) {
        const auto lists = selectedLists(console);
        if (lists.empty())
            return;
        const EntryID id = lists.front().id;
        edit(console, formOf(console, id), id);
    }
    const ContactForms::Edit& formOf(Console& console, const EntryID& id) const {
        if (Tag() == kMclAcfTag)
            return m_forms.frmRegMclACF;
        if (Tag() == kMclAcdsTag)
            return m_forms.frmRegMclACDS;
        return HasPublicFolderTarget(console.session(), id) ? m_forms.frmRegMCLPf
                                                            : m_forms.frmRegMCL;
    }
    static void changeActivation(Console& console, bool activate) {
        const auto lists = selectedLists(console);
        if (!lists.empty())
            showActive(console, ChangeActivationMCL(console.session(), lists, activate), activate);
    }

    ContactForms m_forms;
};

} // namespace

void RegisterMclKinds(Console& console, const ContactForms& forms) {
    console.RegisterKind(std::make_unique<MclNodeKind>());
    for (const std::string_view tag : {kMclTag, kMclAcfTag, kMclAcdsTag})
        console.RegisterKind(std::make_unique<MclRowKind>(tag, forms));
    console.RegisterCommand("mnuMclAdd",
                            [forms](Console& c) { edit(c, forms.frmRegMCL, EntryID()); });
    console.RegisterCommand("mnuMclAddPF",
                            [forms](Console& c) { edit(c, forms.frmRegMCLPf, EntryID()); });
    console.RegisterCommand("mnuMclDelete", deleteLists);
    console.RegisterCommand("mnuMclSetPath", setPath);
}

} // namespace kr
