#include "push/ListCommands.h"

#include "console/ListCounts.h"
#include "contacts/basActivation.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kActivate = "mnuActionActivate";
constexpr std::string_view kInactivate = "mnuActionInactivate";

void showCount(Console& console) {
    console.ShowStatus(CountText(Counted::List, static_cast<int64_t>(console.list().Count())));
}

} // namespace

std::vector<EntryID> ListRecords(const RDOFolderPtr& folder, std::string_view messageClass,
                                 std::string_view what, std::string& reason) {
    if (!folder) {
        reason = "The folder of the " + std::string(what) + " can't be opened.";
        return {};
    }
    return Trap([&] { return RequireMessageIDs(*folder, messageClass, ""); },
                [&](const Trapped& error) {
                    reason = "The " + std::string(what) + " can't be read: " + error.description;
                });
}

void AddListRows(Console& console, const PushListKind& kind, const std::vector<EntryID>& lists,
                 std::string_view tag) {
    AgentSession& session = console.session();
    const std::string logged = std::string(tag) + " err creating item ";
    for (const EntryID& id : lists) {
        if (console.LoadOvertaken())
            break;
        const auto row = Trap(
            [&]() -> std::optional<ListRow> {
                const RDOMessagePtr list = GetMessage(session, id);
                if (!list)
                    throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
                return kind.row(session, *list);
            },
            [&](const Trapped& error) { session.log(logged + id.text() + " " + error.text()); });
        if (row)
            console.AddRow(*row);
    }
}

void ShowListCount(Console& console, const PushListKind& kind) {
    if (kind.isNode(console.CurrentTag()))
        showCount(console);
    else
        console.ShowStatus("");
}

void RefreshListRow(Console& console, const PushListKind& kind, const EntryID& id) {
    ShowListCount(console, kind);
    if (console.list().Find(id.text()) == ListModel::npos)
        return;
    const auto row = TrapSilently([&]() -> std::optional<ListRow> {
        const RDOMessagePtr list = GetMessage(console.session(), id);
        return list ? kind.row(console.session(), *list) : std::nullopt;
    });
    if (const size_t at = console.list().Find(id.text()); row && at != ListModel::npos)
        console.list().Change(at, *row);
    console.UpdateMenu();
}

void RemoveListRow(Console& console, const EntryID& id) {
    const size_t at = console.list().Find(id.text());
    if (at == ListModel::npos)
        return;
    console.list().Remove(at);
    showCount(console);
    console.UpdateMenu();
}

std::vector<ListRow> SelectedLists(const Console& console, const PushListKind& kind) {
    std::vector<ListRow> rows;
    for (const ListRow* row : console.SelectedRows())
        if (kind.isRow(row->tag))
            rows.push_back(*row);
    return rows;
}

std::string NameOfList(const ListRow& row) { return row.texts.empty() ? "" : row.texts.front(); }

void EditList(Console& console, const PushListKind& kind, const PushForms::Edit& form,
              const EntryID& list) {
    const EntryID saved = form ? form(list) : EntryID();
    if (saved.empty() || !kind.isNode(console.CurrentTag()))
        return;
    const std::string node(console.CurrentTag());
    kind.load(console);
    if (console.CurrentTag() == node)
        console.GoToRow(saved.text(), node);
}

void ActivateLists(Console& console, const PushListKind& kind, bool activate) {
    for (const ListRow& row : SelectedLists(console, kind))
        if (row.ghosted == activate &&
            ChangeActivation(console.session(), EntryID(row.key), NameOfList(row), activate))
            RefreshListRow(console, kind, EntryID(row.key));
}

bool AskToDelete(Console& console, const ListRow& row) {
    return console.session().ui().MsgBox("Delete " + NameOfList(row) + "?", BoxIcon::Question,
                                         BoxButtons::YesNo) == BoxAnswer::Yes;
}

bool PushListRowKind::Run(Console& console, std::string_view command) {
    if (command == kActivate || command == kInactivate) {
        ActivateLists(console, m_kind, command == kActivate);
        return true;
    }
    if (command != kProperties)
        return false;
    if (const auto rows = SelectedLists(console, m_kind); !rows.empty())
        EditList(console, m_kind, m_form, EntryID(rows.front().key));
    return true;
}

/// A push of several would begin, and end, with the first of them.
void PushListRowKind::AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) {
    const bool one = SelectedLists(console, m_kind).size() == 1;
    for (MenuEntryState& entry : entries)
        if (entry.name == m_kind.pushCommand)
            entry.enabled = entry.enabled && one;
}

} // namespace kr
