#include "console/kinds/UserKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "console/basPickers.h"
#include "console/basUsers.h"

namespace kr {

namespace {

constexpr std::string_view kUser = "user";       // a row of the list of all users
constexpr std::string_view kEpsUser = "epsuser"; // a row of the user statistics

/// Walks the Users recordset into the list being loaded.
std::string fillUsers(Console& console, const std::function<ListRow(const Recordset&)>& row) {
    const auto users = RequireUsers(console.session());
    if (!users)
        return "The user data can't be read.";
    const auto walk = users->Clone();
    for (walk->MoveFirst(); !walk->EOF_() && !console.LoadOvertaken(); walk->MoveNext())
        console.AddRow(row(*walk));
    return {};
}

Console::LoadPlan usersPlan(std::string logText, std::vector<ListColumn> columns,
                            std::function<ListRow(const Recordset&)> row) {
    return {"Loading user data, please wait...",
            std::move(logText),
            std::move(columns),
            "1 user",
            " users",
            [row = std::move(row)](Console& console) { return fillUsers(console, row); }};
}

void loadStatistics(Console& console) {
    console.LoadList(usersPlan("loading EPS user data", UserStatisticsColumns(),
                               [](const Recordset& user) { return UserStatisticsRow(user); }));
}

void listUsers(Console& console) {
    console.LoadList(usersPlan("loading user data", UserColumns(), [](const Recordset& user) {
        return UserRow(user, UserListOptions{});
    }));
}

void reload(Console& console) {
    if (console.CurrentTag() == "epsuserroot")
        loadStatistics(console);
    else
        listUsers(console);
}

class UserStatisticsKind : public NodeKind {
public:
    UserStatisticsKind() : NodeKind("epsuserroot") {}
    void Load(Console& console, TreeNode& node) override {
        const std::string heading = node.text + " ";
        loadStatistics(console);
        if (console.CurrentTag() != Tag())
            return; // another node was clicked meanwhile
        const auto count = static_cast<int64_t>(console.list().Count());
        console.view().SetTitle(heading + UserStatisticsTitle(console.session(), count));
    }
};

class UserRowKind : public NodeKind {
public:
    using NodeKind::NodeKind;
    /// The key deletes on the list of all users alone.
    std::string_view DeleteCommand() const override {
        return Tag() == kUser ? "mnuActionmnuDeleteUser" : "";
    }
};

std::vector<EntryID> selectedUsers(const Console& console) {
    std::vector<EntryID> ids;
    for (const ListRow* row : console.SelectedRows())
        if (row->tag == kUser || row->tag == kEpsUser || row->tag == "ssuser")
            ids.emplace_back(row->key);
    return ids;
}

void removeRows(Console& console, const std::vector<EntryID>& ids) {
    for (const EntryID& id : ids)
        if (const size_t at = console.list().Find(id.text()); at != ListModel::npos)
            console.list().Remove(at);
    console.ShowStatus(CountText(Counted::User, static_cast<int64_t>(console.list().Count())));
}

void ghostRows(Console& console, const std::vector<EntryID>& ids) {
    for (const EntryID& id : ids) {
        const size_t at = console.list().Find(id.text());
        if (at == ListModel::npos)
            continue;
        ListRow row = console.list().At(at);
        row.ghosted = true;
        console.list().Change(at, std::move(row));
    }
}

void deleteUsers(Console& console) {
    const bool statistics = console.ContextTag() == kEpsUser;
    const auto gone = DeleteUsers(console.session(), selectedUsers(console));
    if (gone.empty())
        return;
    if (statistics)
        removeRows(console, gone);
    else
        listUsers(console);
}

void disableUsers(Console& console) {
    const bool statistics = console.ContextTag() == kEpsUser;
    const auto disabled = DisableUsers(console.session(), selectedUsers(console));
    if (statistics)
        ghostRows(console, disabled);
    else if (!disabled.empty())
        removeRows(console, disabled);
}

void addUsers(Console& console) {
    AgentSession& session = console.session();
    const auto pick = [&session](std::string_view title, std::string& ids, std::string& names,
                                 std::string& addresses, bool oneAddress) {
        RecipientList list{ids, names, addresses};
        if (!PickRecipients(session, title, list, oneAddress))
            return false;
        ids = list.ids;
        names = list.names;
        addresses = list.addresses;
        return true;
    };
    if (!AddUsers(session, pick).empty())
        reload(console);
}

void setLanguage(Console& console, int32_t lcid, const std::string& language) {
    const auto which =
        console.ContextTag() == "ssuser" ? UserLanguage::SelfService : UserLanguage::Agent;
    SetUserLanguage(console.session(), lcid, language, selectedUsers(console), which);
}

} // namespace

void RegisterUserKinds(Console& console) {
    console.RegisterKind(std::make_unique<UserStatisticsKind>());
    for (const std::string_view tag : {kUser, kEpsUser})
        console.RegisterKind(std::make_unique<UserRowKind>(std::string(tag)));
    console.RegisterCommand("mnuActionmnuAddUser", addUsers);
    console.RegisterCommand("mnuActionmnuDeleteUser", deleteUsers);
    console.RegisterCommand("mnuActionmnuDisable", disableUsers);
    console.RegisterCommand("mnuActionmnuLoad", [](Console& c) {
        if (LoadUsers(c.session()))
            listUsers(c);
    });
}

void OfferUserLanguages(Console& console,
                        const std::vector<std::pair<int32_t, std::string>>& languages) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (const auto& [lcid, name] : languages) {
        const std::string command = "mnuSSULanguagePack(" + std::to_string(lcid) + ")";
        entries.emplace_back(command, name);
        console.RegisterCommand(
            command, [lcid = lcid, name = name](Console& c) { setLanguage(c, lcid, name); });
    }
    console.view().SetSubEntries("mnuSSULanguage", entries);
}

} // namespace kr
