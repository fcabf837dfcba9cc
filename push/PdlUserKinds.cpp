#include "push/PdlUserKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "console/basUsers.h"
#include "core/Text.h"
#include "push/basPDLPush.h"
#include "push/basPDLUsers.h"

namespace kr {

namespace {

constexpr std::string_view kListsTag = "pdlroot"; // a click there shows the recipients too
constexpr std::string_view kTag = "pdlrootX";
constexpr std::string_view kTitle = "PIN Distribution List Recipients";
constexpr std::string_view kProperties = "mnuActionmnuProps";
constexpr std::string_view kPush = "mnuPDLPush";
constexpr std::string_view kView = "mnuPDLView";
constexpr std::string_view kRemove = "mnuPDLRemoveUser";
constexpr std::string_view kNoUsers = "The user data can't be read.";
constexpr std::string_view kTextEnable = "mnuPDLTextEnable";
constexpr std::string_view kTextDisable = "mnuPDLTextDisable";

// --- the list

std::string fillRecipients(Console& console) {
    AgentSession& session = console.session();
    const auto users = RequireUsers(session);
    if (!users)
        return std::string(kNoUsers);
    const PushUserRows rows(session);
    const auto walk = users->Clone();
    ApplyFilter(session, *walk, "[PushSelected]=True");
    for (; !walk->EOF_() && !console.LoadOvertaken(); walk->MoveNext())
        console.AddRow(rows.RowOf(*walk));
    return rows.Failure();
}

void listRecipients(Console& console) {
    console.SetTitle(kTitle);
    console.LoadList({"Loading user data, please wait...", "loading PDL recipients",
                      PushUserColumns(), CountText(Counted::User, 1), " users", fillRecipients});
}

void reload(Console& console) {
    if (console.CurrentTag() == kTag || console.CurrentTag() == kListsTag)
        listRecipients(console);
}

/// The selected rows, copied: questions and requests let events run.
std::vector<ListRow> selectedUsers(const Console& console) {
    std::vector<ListRow> users;
    for (const ListRow* row : console.SelectedRows())
        if (row->tag == kPushUserTag)
            users.push_back(*row);
    return users;
}

std::string cell(const ListRow& row, PushColumn column) {
    return row.texts.at(static_cast<size_t>(Index(column)));
}

PDLRecipient recipientOf(const ListRow& row) {
    return {EntryID(row.key), cell(row, PushColumn::Name), cell(row, PushColumn::Email),
            cell(row, PushColumn::Server), row.icon == kTextBlastIcon};
}

void changeRow(Console& console, const std::string& key,
               const std::function<void(ListRow&)>& change) {
    const size_t at = console.list().Find(key);
    if (at == ListModel::npos || console.list().At(at).tag != kPushUserTag)
        return;
    ListRow row = console.list().At(at);
    change(row);
    console.list().Change(at, std::move(row));
    console.UpdateMenu();
}

/// Shows icon and check mark as the flags are now.
void refreshRow(Console& console, const std::string& key) {
    const auto user = RowOfUser(console.session(), EntryID(key));
    changeRow(console, key, [&](ListRow& row) {
        if (user)
            ShowPushState(row, *user);
    });
}

// --- the commands

void addUsers(Console& console, const std::function<std::string()>& form) {
    if (!RequireUsers(console.session())) {
        console.ShowStatus(kNoUsers); // the dialog would show none to choose from
        return;
    }
    const auto ids = SplitNonEmpty(form ? form() : "", ";");
    for (const std::string& id : ids)
        SelectForPush(console.session(), EntryID(id), true);
    if (!ids.empty())
        reload(console);
}

void removeUsers(Console& console) {
    const auto users = selectedUsers(console);
    for (const ListRow& row : users)
        SelectForPush(console.session(), EntryID(row.key), false);
    if (!users.empty())
        reload(console);
}

void push(Console& console) {
    const auto users = selectedUsers(console);
    if (users.empty())
        return;
    const ListRow& user = users.front();
    if (const auto date = PDLPush(console.session(), console.tree(), recipientOf(user)))
        changeRow(console, user.key, [&](ListRow& row) {
            row.texts.at(static_cast<size_t>(Index(PushColumn::LastPush))) = PushDateText(date);
        });
}

void view(Console& console) {
    if (const auto users = selectedUsers(console); !users.empty())
        ViewPDL(console.session(), recipientOf(users.front()));
}

void setTextBlast(Console& console, bool enabled) {
    for (const ListRow& row : selectedUsers(console)) {
        SetTextBlastEnabled(console.session(), EntryID(row.key), enabled);
        refreshRow(console, row.key);
    }
}

// --- the kinds

class PdlRecipientsKind : public NodeKind {
public:
    explicit PdlRecipientsKind(std::function<void()> properties)
        : NodeKind(std::string(kTag)), m_properties(std::move(properties)) {}
    void Load(Console& console, TreeNode&) override { listRecipients(console); }
    bool Run(Console&, std::string_view command) override {
        if (command != kProperties)
            return false;
        if (m_properties)
            m_properties();
        return true;
    }

private:
    std::function<void()> m_properties;
};

class PushUserKind : public NodeKind {
public:
    PushUserKind() : NodeKind(std::string(kPushUserTag)) {}
    std::string_view DeleteCommand() const override { return kRemove; }
    void Checked(Console& console, size_t position, bool checked) override {
        AgentSession& session = console.session();
        const ListRow row = console.list().At(position);
        if (!checked ||
            VerifyPushEnable(session, cell(row, PushColumn::Email), cell(row, PushColumn::Server)))
            SetPushEnabled(session, EntryID(row.key), checked);
        refreshRow(console, row.key);
    }
    /// One user is told or looked at; text blast is switched where there is something to switch.
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override {
        const auto users = selectedUsers(console);
        const auto any = [&](std::string_view icon) {
            return std::ranges::find(users, icon, &ListRow::icon) != users.end();
        };
        for (MenuEntryState& entry : entries) {
            if (entry.name == kPush || entry.name == kView)
                entry.enabled = users.size() == 1;
            else if (entry.name == kTextEnable)
                entry.enabled = any(kPushEnabledIcon);
            else if (entry.name == kTextDisable)
                entry.enabled = any(kTextBlastIcon);
        }
    }
};

/// Behind the node of the lists.
void addNode(Console& console) {
    const TreeNode* lists = console.tree().Find(kListsTag);
    if (!lists || !lists->parent)
        return;
    TreeNode* node = console.tree().Add(lists->parent->key, kTag, kTag, kTitle, "imgUser");
    if (node)
        console.tree().Move(*node, lists->row() + 1);
}

} // namespace

void RegisterPdlUserKinds(Console& console, const PushForms& forms) {
    console.RegisterKind(std::make_unique<PdlRecipientsKind>(forms.frmPdlProps));
    console.RegisterKind(std::make_unique<PushUserKind>());
    console.OnTreeBuilt(addNode);
    console.RegisterCommand("mnuPDLAddUser",
                            [form = forms.frmAddPushUser](Console& c) { addUsers(c, form); });
    console.RegisterCommand(kRemove, removeUsers);
    console.RegisterCommand(kPush, push);
    console.RegisterCommand(kView, view);
    console.RegisterCommand(kTextEnable, [](Console& c) { setTextBlast(c, true); });
    console.RegisterCommand(kTextDisable, [](Console& c) { setTextBlast(c, false); });
}

} // namespace kr
