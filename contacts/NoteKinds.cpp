#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "contacts/ContactKinds.h"
#include "contacts/basActivation.h"
#include "contacts/basNotes.h"
#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::string_view kNotes = "epsnotes";
constexpr std::string_view kNotesPF = "epsnotesPF";
constexpr std::string_view kNote = "epsnote";
constexpr std::string_view kInactiveNote = "xepsnote";
constexpr std::string_view kFolder = "epsnotePF";

constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kActivate = "mnuActionActivate";
constexpr std::string_view kInactivate = "mnuActionInactivate";

/// The selected rows, copied: questions let events run.
std::vector<ListRow> selectedRows(const Console& console) {
    std::vector<ListRow> rows;
    for (const ListRow* row : console.SelectedRows())
        rows.push_back(*row);
    return rows;
}

std::string textOf(const ListRow& row) { return row.texts.empty() ? "" : row.texts.front(); }

void removeRow(Console& console, const std::string& key, Counted what) {
    const size_t at = console.list().Find(key);
    if (at == ListModel::npos)
        return; // another list is shown by now
    console.list().Remove(at);
    console.ShowStatus(CountText(what, static_cast<int64_t>(console.list().Count())));
    console.UpdateMenu();
}

void showActivation(Console& console, const std::string& key, bool active) {
    const size_t at = console.list().Find(key);
    if (at == ListModel::npos)
        return;
    ListRow row = console.list().At(at);
    row.ghosted = !active;
    if (row.tag != kFolder)
        row.tag = active ? kNote : kInactiveNote;
    console.list().Change(at, std::move(row));
    console.UpdateMenu();
}

/// Rows that have the wanted state already are left alone.
void activateRows(Console& console, bool activate) {
    for (const ListRow& row : selectedRows(console))
        if (row.ghosted == activate &&
            ChangeActivation(console.session(), EntryID(row.key), textOf(row), activate))
            showActivation(console, row.key, activate);
}

// --- the lists

void LoadNotes(Console& console) {
    AgentSession& session = console.session();
    const RDOFolderPtr folder = GetNotesFolder(session);
    if (!folder) {
        const std::string reason = "Unable to retrieve Mandatory Notes folder at stored path!";
        console.ClearListView();
        console.ShowStatus(reason);
        console.UpdateMenu();
        session.ui().MsgBox(reason + "\nYou must reselect the location.", BoxIcon::Exclamation);
        return;
    }
    console.SetTitle("Mandatory Notes - " + TrapSilently([&] { return folder->Name(); }));
    console.LoadList({"Loading Mandatory Notes, please wait...", "loading Mandatory Notes",
                      NoteColumns(), CountText(Counted::Note, 1), " notes", [folder](Console& c) {
                          LoadNoteRows(*folder, [&c](ListRow row) {
                              c.AddRow(std::move(row));
                              return !c.LoadOvertaken();
                          });
                          return std::string();
                      }});
}

void LoadNotesFolders(Console& console) {
    console.LoadList({"Loading Mandatory Notes Folders, please wait...",
                      "loading Mandatory Notes Folders", NotesFolderColumns(),
                      CountText(Counted::Item, 1), " items", [](Console& c) {
                          LoadNotesFolderRows(c.session(), [&c](ListRow row) {
                              c.AddRow(std::move(row));
                              return !c.LoadOvertaken();
                          });
                          return std::string();
                      }});
}

/// Loads the node's list again, with that row selected.
void reload(Console& console, std::string_view node, const EntryID& record) {
    if (console.CurrentTag() != node)
        return;
    node == kNotes ? LoadNotes(console) : LoadNotesFolders(console);
    if (!record.empty() && console.CurrentTag() == node)
        console.GoToRow(record.text(), node);
}

void edit(Console& console, const ContactForms::Edit& form, const EntryID& record,
          std::string_view node) {
    const EntryID saved = form ? form(record) : EntryID();
    if (!saved.empty())
        reload(console, node, saved);
}

// --- the kinds

class NotesKind : public NodeKind {
public:
    NotesKind() : NodeKind(std::string(kNotes)) {}
    void Load(Console& console, TreeNode&) override { LoadNotes(console); }
};

class NotesFoldersKind : public NodeKind {
public:
    NotesFoldersKind() : NodeKind(std::string(kNotesPF)) {}
    void Load(Console& console, TreeNode&) override { LoadNotesFolders(console); }
    /// The entry stands in the node's set, but the node itself has no properties.
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        const auto entry = std::ranges::find(entries, kProperties, &MenuEntryState::name);
        if (entry != entries.end())
            entry->enabled = false;
    }
    bool Run(Console&, std::string_view command) override { return command == kProperties; }
};

/// A row of either list.
class NoteRowKind : public NodeKind {
public:
    NoteRowKind(std::string_view tag, std::string_view node, ContactForms::Edit form)
        : NodeKind(std::string(tag)), m_node(node), m_form(std::move(form)) {}
    std::string_view DeleteCommand() const override {
        return m_node == kNotes ? "mnuMandatoryDelete" : "mnuNotesPFDelete";
    }
    bool Run(Console& console, std::string_view command) override {
        if (command == kProperties)
            properties(console);
        else if (command == kActivate || command == kInactivate)
            activateRows(console, command == kActivate);
        else
            return false;
        return true;
    }

private:
    void properties(Console& console) {
        if (const auto rows = selectedRows(console); !rows.empty())
            edit(console, m_form, EntryID(rows.front().key), m_node);
    }
    std::string_view m_node;
    ContactForms::Edit m_form;
};

// --- the commands

void selectFolder(Console& console) {
    if (SelectNotesFolder(console.session()))
        reload(console, kNotes, {});
}

void deleteNotes(Console& console) {
    for (const ListRow& row : selectedRows(console))
        if (DeleteNote(console.session(), EntryID(row.key), textOf(row)))
            removeRow(console, row.key, Counted::Note);
}

void deleteFolders(Console& console) {
    for (const ListRow& row : selectedRows(console))
        if (DeleteNotesPF(console.session(), EntryID(row.key), textOf(row)))
            removeRow(console, row.key, Counted::Item);
}

} // namespace

void RegisterNoteKinds(Console& console, const ContactForms& forms) {
    console.RegisterKind(std::make_unique<NotesKind>());
    console.RegisterKind(std::make_unique<NotesFoldersKind>());
    for (const std::string_view tag : {kNote, kInactiveNote})
        console.RegisterKind(std::make_unique<NoteRowKind>(tag, kNotes, forms.frmMandatoryNote));
    console.RegisterKind(
        std::make_unique<NoteRowKind>(kFolder, kNotesPF, forms.frmMandatoryNotesPF));
    console.RegisterCommand("mnuMandatorySelect", selectFolder);
    console.RegisterCommand("mnuMandatoryAdd", [form = forms.frmMandatoryNote](Console& c) {
        edit(c, form, EntryID(), kNotes);
    });
    console.RegisterCommand("mnuMandatoryDelete", deleteNotes);
    console.RegisterCommand("mnuNotesPFAdd", [form = forms.frmMandatoryNotesPF](Console& c) {
        edit(c, form, EntryID(), kNotesPF);
    });
    console.RegisterCommand("mnuNotesPFDelete", deleteFolders);
}

} // namespace kr
