#include "push/MblKinds.h"

#include <algorithm>

#include "console/ListCounts.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "push/ListCommands.h"
#include "push/basMBL.h"
#include "push/basMBLDelete.h"
#include "push/basMBLPush.h"

namespace kr {

namespace {

constexpr std::string_view kNodes[] = {"mbl-eps", "mbl-bsr"};
constexpr std::string_view kChannelTag = "mbl:channel";
constexpr std::string_view kMessageTag = "mbl:message";
constexpr std::string_view kTitle = "Mandatory Browser Channels";

constexpr std::string_view kDelete = "mnuBrowserDelete";
constexpr std::string_view kPush = "mnuBrowserPush";

std::vector<ListColumn> columns() {
    return {{"List Name", "txtname"},       {"Title", "txttitle"},        {"Targets", "txttargets"},
            {"Est. Targets", "inttargets"}, {"Last Push", "datlastpush"}, {"URL", "txturl"}};
}

void LvLoadBrowserLists(Console& console);

constexpr PushListKind kLists{
    kDelete,
    kPush,
    [](std::string_view tag) { return std::ranges::find(kNodes, tag) != std::end(kNodes); },
    [](std::string_view tag) { return tag == kChannelTag || tag == kMessageTag; },
    LvLoadBrowserLists,
    BrowserListRow};

// --- the list

std::string fillLists(Console& console) {
    AgentSession& session = console.session();
    const RDOFolderPtr folder = GetMblFolder(session);
    if (!folder)
        session.log("LvLoadBrowserLists: no MBL folder");
    std::string reason;
    const auto ids = ListRecords(folder, kMblClass, "browser lists", reason);
    if (reason.empty())
        session.log("loading all browser lists, count: " + std::to_string(ids.size()));
    AddListRows(console, kLists, ids, "LvLoadBrowserLists");
    return reason;
}

void LvLoadBrowserLists(Console& console) {
    console.SetTitle(kTitle);
    console.LoadList({"Loading Mandatory Browser Channels, please wait...",
                      "loading Mandatory Browser Channels", columns(), CountText(Counted::List, 1),
                      " lists", fillLists});
}

// --- the commands

void pushList(Console& console, const PushForms& forms, const ListRow& row) {
    AgentSession& session = console.session();
    const EntryID id(row.key);
    const std::string name = NameOfList(row);
    if (!OpenList(session, id, name))
        return;
    console.ShowStatus("Preparing to push " + name + "...");
    {
        const WaitCursor wait(session.ui());
        RequireHandhelds(session);
    }
    if (forms.frmPushResult)
        forms.frmPushResult("imgGlobe", [&](WebProgress& progress) {
            const RDOMessagePtr list = GetMessage(session, id);
            const bool whole = list && PushToList({session, console.tree(), progress}, *list);
            // the window may stand for long yet
            RefreshListRow(console, kLists, id);
            return whole;
        });
    RefreshListRow(console, kLists, id);
}

void pushSelected(Console& console, const PushForms& forms) {
    if (const auto rows = SelectedLists(console, kLists); !rows.empty())
        pushList(console, forms, rows.front());
}

void deleteLists(Console& console, const PushForms::Window& window) {
    for (const ListRow& row : SelectedLists(console, kLists)) {
        const EntryID id(row.key);
        if (AskToDelete(console, row) &&
            DeleteBrowserList(console.session(), console.tree(), window, id))
            RemoveListRow(console, id);
    }
}

// --- the kinds

class MblNodeKind : public NodeKind {
public:
    using NodeKind::NodeKind;
    void Load(Console& console, TreeNode&) override { LvLoadBrowserLists(console); }
};

} // namespace

void RegisterMblKinds(Console& console, const PushForms& forms) {
    for (const std::string_view node : kNodes)
        console.RegisterKind(std::make_unique<MblNodeKind>(std::string(node)));
    console.RegisterKind(
        std::make_unique<PushListRowKind>(kChannelTag, kLists, forms.frmBrowserChannel));
    console.RegisterKind(
        std::make_unique<PushListRowKind>(kMessageTag, kLists, forms.frmBrowserMessage));
    console.RegisterCommand("mnuBrowserChannelAdd", [form = forms.frmBrowserChannel](Console& c) {
        EditList(c, kLists, form, EntryID());
    });
    console.RegisterCommand("mnuBrowserMessageAdd", [form = forms.frmBrowserMessage](Console& c) {
        EditList(c, kLists, form, EntryID());
    });
    console.RegisterCommand(kPush, [forms](Console& c) { pushSelected(c, forms); });
    console.RegisterCommand(kDelete,
                            [window = forms.frmPushResult](Console& c) { deleteLists(c, window); });
    console.RegisterCommand("mnuBrowserClear", [window = forms.frmPushResult](Console& c) {
        ClearBrowserChannels(c.session(), c.tree(), window);
    });
    console.RegisterCommand("mnuBrowserTARN", [form = forms.frmTarnProps](Console&) {
        if (form)
            form();
    });
}

} // namespace kr
