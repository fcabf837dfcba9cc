#include "push/MblKinds.h"

#include <algorithm>

#include "console/ListCounts.h"
#include "contacts/basActivation.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "push/ListCommands.h"
#include "push/basMBL.h"

namespace kr {

namespace {

constexpr std::string_view kNodes[] = {"mbl-eps", "mbl-bsr"};
constexpr std::string_view kChannelTag = "mbl:channel";
constexpr std::string_view kMessageTag = "mbl:message";
constexpr std::string_view kTitle = "Mandatory Browser Channels";

constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kActivate = "mnuActionActivate";
constexpr std::string_view kInactivate = "mnuActionInactivate";

std::vector<ListColumn> columns() {
    return {{"List Name", "txtname"},       {"Title", "txttitle"},        {"Targets", "txttargets"},
            {"Est. Targets", "inttargets"}, {"Last Push", "datlastpush"}, {"URL", "txturl"}};
}

void LvLoadBrowserLists(Console& console);

constexpr PushListKind kLists{
    [](std::string_view tag) { return std::ranges::find(kNodes, tag) != std::end(kNodes); },
    [](std::string_view tag) { return tag == kChannelTag || tag == kMessageTag; },
    LvLoadBrowserLists, BrowserListRow};

// --- the list

std::string fillLists(Console& console) {
    AgentSession& session = console.session();
    const RDOFolderPtr folder = GetMblFolder(session);
    if (!folder) {
        session.log("LvLoadBrowserLists: no MBL folder");
        return "The folder of the browser lists can't be opened.";
    }
    const auto ids = GetMessageIDs(session, *folder, kMblClass, "");
    session.log("loading all browser lists, count: " + std::to_string(ids.size()));
    AddListRows(console, kLists, ids, "LvLoadBrowserLists");
    return {};
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
            return list && PushToList({session, console.tree(), progress}, *list);
        });
    RefreshListRow(console, kLists, id);
}

void pushSelected(Console& console, const PushForms& forms) {
    if (const auto rows = SelectedLists(console, kLists); !rows.empty())
        pushList(console, forms, rows.front());
}

void deleteLists(Console& console) {
    AgentSession& session = console.session();
    for (const ListRow& row : SelectedLists(console, kLists)) {
        if (!AskToDelete(console, row))
            continue;
        const bool gone = [&] {
            const WaitCursor wait(session.ui());
            return DeleteBrowserList(session, console.tree(), EntryID(row.key));
        }();
        if (gone)
            RemoveListRow(console, EntryID(row.key));
    }
}

void activateRows(Console& console, bool activate) {
    for (const ListRow& row : SelectedLists(console, kLists))
        if (row.ghosted == activate &&
            ChangeActivation(console.session(), EntryID(row.key), NameOfList(row), activate))
            RefreshListRow(console, kLists, EntryID(row.key));
}

// --- the kinds

class MblNodeKind : public NodeKind {
public:
    using NodeKind::NodeKind;
    void Load(Console& console, TreeNode&) override { LvLoadBrowserLists(console); }
};

class MblRowKind : public NodeKind {
public:
    MblRowKind(std::string_view tag, PushForms::Edit form)
        : NodeKind(std::string(tag)), m_form(std::move(form)) {}
    std::string_view DeleteCommand() const override { return "mnuBrowserDelete"; }
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
        if (const auto rows = SelectedLists(console, kLists); !rows.empty())
            EditList(console, kLists, m_form, EntryID(rows.front().key));
    }
    PushForms::Edit m_form;
};

} // namespace

void RegisterMblKinds(Console& console, const PushForms& forms) {
    for (const std::string_view node : kNodes)
        console.RegisterKind(std::make_unique<MblNodeKind>(std::string(node)));
    console.RegisterKind(std::make_unique<MblRowKind>(kChannelTag, forms.frmBrowserChannel));
    console.RegisterKind(std::make_unique<MblRowKind>(kMessageTag, forms.frmBrowserMessage));
    console.RegisterCommand("mnuBrowserChannelAdd", [form = forms.frmBrowserChannel](Console& c) {
        EditList(c, kLists, form, EntryID());
    });
    console.RegisterCommand("mnuBrowserMessageAdd", [form = forms.frmBrowserMessage](Console& c) {
        EditList(c, kLists, form, EntryID());
    });
    console.RegisterCommand("mnuBrowserPush", [forms](Console& c) { pushSelected(c, forms); });
    console.RegisterCommand("mnuBrowserDelete", deleteLists);
    console.RegisterCommand("mnuBrowserClear",
                            [](Console& c) { ClearBrowserChannels(c.session(), c.tree()); });
    console.RegisterCommand("mnuBrowserTARN", [form = forms.frmTarnProps](Console&) {
        if (form)
            form();
    });
}

} // namespace kr
