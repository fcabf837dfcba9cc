#include "push/MplKinds.h"

#include "console/ListCounts.h"
#include "push/ListCommands.h"
#include "push/basMBL.h"
#include "push/basMPL.h"

namespace kr {

namespace {

constexpr std::string_view kRootTag = "mplroot";
constexpr std::string_view kListTag = "mpl";
constexpr std::string_view kDelete = "mnuMplDelete";
constexpr std::string_view kPush = "mnuMplPush";

void LvLoadPushLists(Console& console);

constexpr PushListKind kLists{
    kDelete,
    kPush,
    [](std::string_view tag) { return tag == kRootTag; },
    [](std::string_view tag) { return tag == kListTag; },
    LvLoadPushLists,
    [](AgentSession& session, RDOMessage& list) -> std::optional<ListRow> {
        return PushListRow(session, list);
    }};

// --- the list

std::string fillLists(Console& console) {
    std::string reason;
    const auto ids = ListRecords(GetMplFolder(console.session()), kMplClass, "push lists", reason);
    AddListRows(console, kLists, ids, "LvLoadPushLists");
    return reason;
}

void LvLoadPushLists(Console& console) {
    console.SetTitle("Mandatory Push Lists");
    console.LoadList({"Loading Mandatory Push Lists, please wait...",
                      "loading mandatory push lists",
                      {{"List Name", "txtname"},
                       {"Targets", "txttargets"},
                       {"Est. Targets", "inttargets"},
                       {"Last Push", "datlastpush"}},
                      CountText(Counted::List, 1),
                      " lists",
                      fillLists});
}

// --- the commands

void pushSelected(Console& console, const PushForms::Window& window) {
    const auto rows = SelectedLists(console, kLists);
    if (rows.empty())
        return;
    AgentSession& session = console.session();
    const EntryID id(rows.front().key);
    const std::string name = NameOfList(rows.front());
    const RDOMessagePtr list = OpenList(session, id, name);
    if (!list)
        return;
    if (const auto alert = ReadAlert(session, *list)) {
        PushAlertToList(session, console.tree(), window, *alert);
        RefreshListRow(console, kLists, id);
    } else {
        ReportLostList(session,
                       name); // an empty payload must not go out for one that can't be read
    }
}

void deleteLists(Console& console) {
    for (const ListRow& row : SelectedLists(console, kLists)) {
        const EntryID id(row.key);
        if (AskToDelete(console, row) && DeletePushList(console.session(), id, NameOfList(row)))
            RemoveListRow(console, id);
    }
}

// --- the kinds

class MplNodeKind : public NodeKind {
public:
    MplNodeKind() : NodeKind(std::string(kRootTag)) {}
    void Load(Console& console, TreeNode&) override { LvLoadPushLists(console); }
};

} // namespace

void RegisterMplKinds(Console& console, const PushForms& forms) {
    console.RegisterKind(std::make_unique<MplNodeKind>());
    console.RegisterKind(std::make_unique<PushListRowKind>(kListTag, kLists, forms.frmMPL));
    console.RegisterCommand(
        "mnuMplAdd", [form = forms.frmMPL](Console& c) { EditList(c, kLists, form, EntryID()); });
    console.RegisterCommand(
        kPush, [window = forms.frmPushResult](Console& c) { pushSelected(c, window); });
    console.RegisterCommand(kDelete, deleteLists);
}

} // namespace kr
