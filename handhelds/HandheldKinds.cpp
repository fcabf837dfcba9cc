#include "handhelds/HandheldKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "handhelds/basHandhelds.h"

namespace kr {

namespace {

constexpr std::string_view kRegNode = "reg";
constexpr std::string_view kHandheldRow = "reghh";     // a row of the list of all handhelds
constexpr std::string_view kBesHandheldRow = "regbes"; // a row of the handhelds of a BES
constexpr std::string_view kBesNode = "bes";
constexpr std::string_view kServerPrefix = "BBServer-";
constexpr std::string_view kLoading = "Loading handhelds, please wait...";
constexpr std::string_view kDeleting = "Deleting handhelds, please wait...";
constexpr std::string_view kCsvFiles = "CSV file (*.csv)|*.csv";
/// Where View > Quick Load stops the list of all handhelds.
constexpr int64_t kQuickHandhelds = 5000;

std::vector<ListColumn> columnsOf(std::span<const HandheldColumn> columns) {
    std::vector<ListColumn> shown;
    for (const HandheldColumn& column : columns)
        shown.push_back({std::string(column.heading),
                         std::string(column.key.empty() ? column.heading : column.key)});
    return shown;
}

/// Which handhelds a list shows, and how.
struct HandheldList {
    std::span<const HandheldColumn> columns;
    std::string_view rowTag;
    std::string logText;
    int64_t limit = 0; // 0: all
};

std::string fillHandhelds(Console& console, const HandheldList& list, Recordset* handhelds) {
    if (!handhelds)
        return "The handheld data can't be read.";
    int64_t shown = 0;
    for (handhelds->MoveFirst(); !handhelds->EOF_() && !console.LoadOvertaken();
         handhelds->MoveNext()) {
        if (list.limit && shown++ >= list.limit)
            break;
        console.AddRow(HandheldRow(*handhelds, list.columns, list.rowTag));
    }
    return {};
}

void loadHandhelds(Console& console, const HandheldList& list, Recordset* handhelds) {
    console.LoadList({std::string(kLoading), list.logText, columnsOf(list.columns), "1 handheld",
                      " handhelds", [&](Console& c) { return fillHandhelds(c, list, handhelds); }});
}

void ListReg(Console& console) {
    console.ShowStatus(kLoading, true);
    const auto all = RequireHandhelds(console.session());
    if (console.CurrentTag() != kRegNode)
        return; // another node was clicked while the records were read
    const auto walk = all ? all->Clone() : nullptr;
    const int64_t total = walk ? walk->RecordCount() : 0;
    const bool cut = console.session().quickLoad && total > kQuickHandhelds;
    loadHandhelds(console,
                  {HandheldColumns(), kHandheldRow,
                   "loading handhelds (reg); count = " + std::to_string(total),
                   cut ? kQuickHandhelds : 0},
                  walk.get());
    if (cut && console.CurrentTag() == kRegNode)
        console.ShowStatus(std::to_string(console.list().Count()) + " of " + std::to_string(total) +
                           " handheld records - disable View > Quick Load to see full list");
}

/// Loads the list anew when it shows handhelds.
void reload(Console& console) {
    TreeNode* node = console.CurrentNode();
    const bool handhelds = node && (node->tag == kRegNode || node->tag == kBesNode);
    if (NodeKind* kind = handhelds ? console.Kind(node->tag) : nullptr)
        kind->Load(console, *node);
}

std::vector<ListRow> selectedHandhelds(const Console& console) {
    std::vector<ListRow> rows;
    for (const ListRow* row : console.SelectedRows())
        if (row->tag == kHandheldRow || row->tag == kBesHandheldRow)
            rows.push_back(*row);
    return rows;
}

/// The text of that column in a row of one of the two lists.
std::string cellOf(const ListRow& row, HandheldField field) {
    const auto columns = row.tag == kHandheldRow ? HandheldColumns() : BesHandheldColumns();
    const auto column = std::ranges::find(columns, field, &HandheldColumn::field);
    const auto at = static_cast<size_t>(column - columns.begin());
    return at < row.texts.size() ? row.texts[at] : std::string();
}

void deleteHandhelds(Console& console) {
    const std::vector<ListRow> rows = selectedHandhelds(console);
    if (rows.empty())
        return;
    const auto count = static_cast<int64_t>(rows.size());
    Ui& ui = console.session().ui();
    const std::string question = count == 1 ? "Are you sure you want to delete this handheld?"
                                            : "Are you sure you want to delete these " +
                                                  std::to_string(count) + " handhelds?";
    if (ui.MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return;
    console.ShowStatus(kDeleting);
    {
        const WaitCursor wait(ui);
        const auto progress =
            count > 1 ? ui.StartProgress(kDeleting, ProgressKind::Plain) : nullptr;
        for (int64_t done = 0; done < count && !(progress && progress->Cancelled()); ++done) {
            const std::string& key = rows[static_cast<size_t>(done)].key;
            if (DeleteHandheld(console.session(), EntryID(key)))
                if (const size_t at = console.list().Find(key); at != ListModel::npos)
                    console.list().Remove(at);
            if (progress)
                progress->SetValue(done + 1, count);
            ui.DoEvents();
        }
    }
    console.ShowStatus(CountText(Counted::Handheld, static_cast<int64_t>(console.list().Count())));
    console.UpdateMenu();
}

void deleteAll(Console& console) {
    if (console.session().ui().MsgBox(
            "Are you sure you want to delete all of the records in the Handhelds folder?",
            BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return;
    DeleteAllHandhelds(console.session());
    reload(console);
}

void importFile(Console& console, std::string_view title,
                bool (*import)(AgentSession&, const std::string&)) {
    const auto file = console.session().ui().OpenFileName(title, kCsvFiles);
    if (file && import(console.session(), *file))
        reload(console);
}

void history(Console& console, HandheldField field,
             bool (*exportFile)(AgentSession&, std::string_view, const EntryID&)) {
    const std::vector<ListRow> rows = selectedHandhelds(console);
    if (!rows.empty())
        exportFile(console.session(), cellOf(rows.front(), field), EntryID(rows.front().key));
}

void showDetails(Console& console, const HandheldForms& forms) {
    const std::vector<ListRow> rows = selectedHandhelds(console);
    if (!rows.empty() && forms.frmRegDetail)
        forms.frmRegDetail(EntryID(rows.front().key));
}

void findHandheld(Console& console, const HandheldForms& forms) {
    if (forms.frmFindReg)
        forms.frmFindReg([&console](const std::string& handheld) {
            // the row may stand in the list of a BES as well
            if (console.CurrentTag() != kRegNode)
                console.GoToNode(kRegNode);
            console.GoToRow(handheld, kRegNode);
        });
}

MenuEntryState* entryOf(std::vector<MenuEntryState>& entries, std::string_view name) {
    const auto found = std::ranges::find(entries, name, &MenuEntryState::name);
    return found == entries.end() ? nullptr : &*found;
}

void showPinImport(std::vector<MenuEntryState>& entries) {
    if (MenuEntryState* entry = entryOf(entries, "mnuRegImportPIN"))
        entry->visible = true;
}

class RegNodeKind : public NodeKind {
public:
    RegNodeKind() : NodeKind(std::string(kRegNode)) {}
    void Load(Console& console, TreeNode&) override { ListReg(console); }
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        showPinImport(entries);
    }
};

/// A handheld in the list of all.
class HandheldRowKind : public NodeKind {
public:
    HandheldRowKind() : NodeKind(std::string(kHandheldRow)) {}
    std::string_view DeleteCommand() const override { return "mnuRegDelete"; }
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override {
        showPinImport(entries);
        const auto rows = console.SelectedRows();
        const auto enable = [&](std::string_view name, bool enabled) {
            if (MenuEntryState* entry = entryOf(entries, name))
                entry->enabled = enabled;
        };
        const bool one = rows.size() == 1;
        enable("mnuRegDetail", one);
        enable("mnuRegHistory", one && !cellOf(*rows.front(), HandheldField::PIN).empty());
        const std::string user = one ? cellOf(*rows.front(), HandheldField::Email) : "";
        enable("mnuUserHistory", !user.empty() && user != kNone);
    }
};

/// The handhelds of a BES: a node of its own has its name behind a prefix.
class BesHandheldKind : public NodeKind {
public:
    BesHandheldKind() : NodeKind(std::string(kBesHandheldRow)) {}
    void Load(Console& console, TreeNode& node) override {
        std::string_view name = node.key;
        if (name.starts_with(kServerPrefix))
            name.remove_prefix(kServerPrefix.size());
        LoadBesHandhelds(console, std::string(name));
    }
};

} // namespace

void LoadBesHandhelds(Console& console, std::string_view besName) {
    const std::string name(besName);
    const std::string key = console.CurrentKey();
    console.ShowStatus(kLoading, true);
    const auto all = RequireHandhelds(console.session());
    if (console.CurrentKey() != key)
        return; // another node was clicked while the records were read
    const auto rows = all ? all->Clone() : nullptr;
    const bool found = rows && rows->SetFilter(HandheldFilter("BB Server", name));
    loadHandhelds(console,
                  {BesHandheldColumns(), kBesHandheldRow,
                   "loading handhelds (" + name +
                       "); count = " + std::to_string(found ? rows->RecordCount() : 0)},
                  found ? rows.get() : nullptr);
}

void RegisterRegKinds(Console& console, const HandheldForms& forms) {
    console.RegisterKind(std::make_unique<RegNodeKind>());
    console.RegisterKind(std::make_unique<HandheldRowKind>());
    console.RegisterKind(std::make_unique<BesHandheldKind>());
    console.RegisterCommand("mnuRegDelete", deleteHandhelds);
    console.RegisterCommand("mnuRegDeleteAll", deleteAll);
    console.RegisterCommand("mnuRegImportData", [](Console& c) {
        importFile(c, "Import from CSV", ImportHandheldData);
    });
    console.RegisterCommand(
        "mnuRegImportPIN", [](Console& c) { importFile(c, "Import PIN CSV", ImportHandheldPINs); });
    console.RegisterCommand(
        "mnuRegHistory", [](Console& c) { history(c, HandheldField::PIN, ExportHandheldHistory); });
    console.RegisterCommand(
        "mnuUserHistory", [](Console& c) { history(c, HandheldField::Email, ExportUserHistory); });
    for (const std::string_view details : {"mnuRegDetail", "mnuRegBesDetails"})
        console.RegisterCommand(details, [forms](Console& c) { showDetails(c, forms); });
    console.RegisterCommand("mnuRegFindHandheld", [forms](Console& c) { findHandheld(c, forms); });
}

void RegisterHandheldKinds(Console& console, const HandheldForms& forms) {
    RegisterConnectorKinds(console, forms);
    RegisterBesKinds(console);
    RegisterRegKinds(console, forms);
}

} // namespace kr
