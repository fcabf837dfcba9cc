#include "push/MblKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "contacts/basActivation.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
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

bool isShown(const Console& console) {
    return std::ranges::find(kNodes, console.CurrentTag()) != std::end(kNodes);
}

bool isList(const ListRow& row) { return row.tag == kChannelTag || row.tag == kMessageTag; }

/// The selected rows, copied: questions let events run.
std::vector<ListRow> selectedRows(const Console& console) {
    std::vector<ListRow> rows;
    for (const ListRow* row : console.SelectedRows())
        if (isList(*row))
            rows.push_back(*row);
    return rows;
}

std::string nameOf(const ListRow& row) { return row.texts.empty() ? "" : row.texts.front(); }

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
    for (const EntryID& id : ids) {
        if (console.LoadOvertaken())
            break;
        const auto row = Trap(
            [&]() -> std::optional<ListRow> {
                const RDOMessagePtr list = GetMessage(session, id);
                return list ? BrowserListRow(session, *list) : std::nullopt;
            },
            [&](const Trapped& error) { session.log("LvLoadBrowserLists: " + error.text()); });
        if (row)
            console.AddRow(*row);
    }
    return {};
}

void LvLoadBrowserLists(Console& console) {
    console.SetTitle(kTitle);
    console.LoadList({"Loading Mandatory Browser Channels, please wait...",
                      "loading Mandatory Browser Channels", columns(), CountText(Counted::List, 1),
                      " lists", fillLists});
}

/// Shows a row as its record is now.
void refreshRow(Console& console, const EntryID& id) {
    if (console.list().Find(id.text()) == ListModel::npos)
        return;
    const auto row = TrapSilently([&]() -> std::optional<ListRow> {
        const RDOMessagePtr list = GetMessage(console.session(), id);
        return list ? BrowserListRow(console.session(), *list) : std::nullopt;
    });
    if (const size_t at = console.list().Find(id.text()); row && at != ListModel::npos)
        console.list().Change(at, *row);
    console.UpdateMenu();
}

void edit(Console& console, const PushForms::Edit& form, const EntryID& record) {
    const EntryID saved = form ? form(record) : EntryID();
    if (saved.empty() || !isShown(console))
        return;
    const std::string node(console.CurrentTag());
    LvLoadBrowserLists(console);
    if (console.CurrentTag() == node)
        console.GoToRow(saved.text(), node);
}

// --- the commands

void pushList(Console& console, const PushForms& forms, const ListRow& row) {
    AgentSession& session = console.session();
    const EntryID id(row.key);
    const std::string name = nameOf(row);
    if (!GetMessage(session, id)) {
        session.log("Error retrieving message for list " + name);
        session.ui().MsgBox("There is a problem accessing " + name, BoxIcon::Exclamation);
        return;
    }
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
    refreshRow(console, id);
    if (isShown(console))
        console.ShowStatus(CountText(Counted::List, static_cast<int64_t>(console.list().Count())));
}

void pushSelected(Console& console, const PushForms& forms) {
    if (const auto rows = selectedRows(console); !rows.empty())
        pushList(console, forms, rows.front());
}

void deleteLists(Console& console) {
    AgentSession& session = console.session();
    for (const ListRow& row : selectedRows(console)) {
        const std::string question = "Delete " + nameOf(row) + "?";
        if (session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
            continue;
        const bool gone = [&] {
            const WaitCursor wait(session.ui());
            return DeleteBrowserList(session, console.tree(), EntryID(row.key));
        }();
        const size_t at = console.list().Find(row.key);
        if (!gone || at == ListModel::npos)
            continue;
        console.list().Remove(at);
        console.ShowStatus(CountText(Counted::List, static_cast<int64_t>(console.list().Count())));
        console.UpdateMenu();
    }
}

void activateRows(Console& console, bool activate) {
    for (const ListRow& row : selectedRows(console))
        if (row.ghosted == activate &&
            ChangeActivation(console.session(), EntryID(row.key), nameOf(row), activate))
            refreshRow(console, EntryID(row.key));
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
        if (const auto rows = selectedRows(console); !rows.empty())
            edit(console, m_form, EntryID(rows.front().key));
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
        edit(c, form, EntryID());
    });
    console.RegisterCommand("mnuBrowserMessageAdd", [form = forms.frmBrowserMessage](Console& c) {
        edit(c, form, EntryID());
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
