#include <algorithm>
#include <cstdio>

#include "console/ListCounts.h"
#include "console/basUsers.h"
#include "core/basDate.h"

namespace kr {

namespace {

constexpr std::string_view kWaitText = "Loading user data, please wait...";

std::string dateText(const Recordset& user, UserFieldID field) {
    const Value date = user.Get(Index(field));
    const auto* time = date.get<Time>();
    return time ? FormatDate(*time) : std::string();
}

std::string numberText(const Recordset& user, UserFieldID field) {
    const Value number = user.Get(Index(field));
    return number.empty() ? std::string() : std::to_string(number.integerOr(0));
}

std::string text(const Recordset& user, UserFieldID field) {
    return std::string(user.Text(Index(field)));
}

std::optional<Time> dateOf(const Recordset& user, UserFieldID field) {
    const Value date = user.Get(Index(field));
    const auto* time = date.get<Time>();
    return time ? std::optional(*time) : std::nullopt;
}

/// Seconds of the last run; nothing while one is under way or when none was finished.
std::string elapsedText(const Recordset& user) {
    const auto start = dateOf(user, UserFieldID::EPS_LastStart);
    const auto end = dateOf(user, UserFieldID::EPS_LastCompletion);
    if (!start || !end || *end < *start)
        return {};
    return std::to_string((*end - *start).count());
}

/// The later one of start and end of the last run, in a form that sorts as text.
std::string lastActionKey(const Recordset& user) {
    const auto start = dateOf(user, UserFieldID::EPS_LastStart);
    const auto end = dateOf(user, UserFieldID::EPS_LastCompletion);
    if (!start && !end)
        return {};
    SystemTime t;
    DateToSystemTime(std::max(start.value_or(Time::min()), end.value_or(Time::min())), t);
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%04d%02d%02d%02d%02d%02d", t.year, t.month, t.day, t.hour,
                  t.minute, t.second);
    return buffer;
}

std::string languageText(const Recordset& user, const UserListOptions& options) {
    const Value lcid = user.Get(Index(UserFieldID::LCID));
    if (lcid.empty())
        return {};
    return options.languageName ? options.languageName(lcid.integerOr(0))
                                : std::to_string(lcid.integerOr(0));
}

bool isDisabled(const Recordset& user) {
    return user.Get(Index(UserFieldID::State)).integerOr(0) == kUserDisabled;
}

ListRow rowOf(const Recordset& user, std::string_view tag) {
    ListRow row;
    row.key = text(user, UserFieldID::EntryID);
    row.tag = tag;
    row.ghosted = isDisabled(user);
    return row;
}

/// The frame of both lists.
int64_t fillList(AgentSession& session, ListModel& list, std::string_view logText,
                 std::vector<ListColumn> columns, std::string_view filter,
                 const std::function<ListRow(const Recordset&)>& rowOfUser) {
    const WaitCursor wait(session.ui());
    session.ui().ShowStatus(kWaitText);
    session.log(logText);
    std::vector<ListRow> rows;
    if (const std::shared_ptr<Recordset> users = RequireUsers(session)) {
        const std::shared_ptr<Recordset> shown = users->Clone();
        ApplyFilter(session, *shown, filter);
        rows.reserve(static_cast<size_t>(shown->RecordCount()));
        for (; !shown->EOF_(); shown->MoveNext())
            rows.push_back(rowOfUser(*shown));
    }
    const auto count = static_cast<int64_t>(rows.size());
    list.Clear();
    list.SetColumns(std::move(columns));
    list.AddAll(std::move(rows));
    list.Sort(0, SortOrder::Ascending);
    session.ui().ShowStatus(CountText(Counted::User, count));
    return count;
}

} // namespace

std::vector<ListColumn> UserColumns() {
    return {{"Name", "Name"},           {"SMTP Address", "SMTP"},    {"First Use", "datfirstuse"},
            {"Last Use", "datlastuse"}, {"Requests", "intrequests"}, {"Language", "Language"}};
}

std::vector<ListColumn> UserStatisticsColumns() {
    return {{"Name", "Name"},
            {"Status", "Status"},
            {"Last Update", "datlastcomplete"},
            {"Task Initiation", "datlaststart"},
            {"Cumulative Updates", "intlifetime"},
            {"MCL Count", "intMCL"},
            {"Contact Tally", "intContacts"},
            {"Elapsed Time", "intET"},
            {"zandrel Server", "zandrel Server"},
            {"Version", "Version"},
            {"Exchange Server", "EX Server"},
            {"Email", "Email"},
            {"", "sortAction"}};
}

std::string UserName(const Recordset& user) {
    std::string name = text(user, UserFieldID::DisplayName);
    return name.empty() ? text(user, UserFieldID::Email) : name;
}

std::string_view UserIcon(const Recordset& user) {
    for (const UserFieldID field :
         {UserFieldID::SendUpdate, UserFieldID::UseSubfolder, UserFieldID::FileAsFormat,
          UserFieldID::RespectPrivate, UserFieldID::MoveMC})
        if (!user.Text(Index(field)).empty())
            return "imgUserCustom";
    return "imgUser";
}

ListRow UserRow(const Recordset& user, const UserListOptions& options) {
    ListRow row = rowOf(user, "user");
    row.icon = "imgUser";
    row.texts = {UserName(user),
                 text(user, UserFieldID::Email),
                 dateText(user, UserFieldID::FirstAccess),
                 dateText(user, UserFieldID::LatestAccess),
                 numberText(user, UserFieldID::TotalRequests),
                 languageText(user, options)};
    return row;
}

ListRow UserStatisticsRow(const Recordset& user) {
    ListRow row = rowOf(user, "epsuser");
    row.icon = UserIcon(user);
    row.texts = {UserName(user),
                 text(user, UserFieldID::EPS_Status),
                 dateText(user, UserFieldID::EPS_LastCompletion),
                 dateText(user, UserFieldID::EPS_LastStart),
                 numberText(user, UserFieldID::EPS_LifetimeUpdateCount),
                 numberText(user, UserFieldID::EPS_TotalMC),
                 numberText(user, UserFieldID::EPS_TotalUserContacts),
                 elapsedText(user),
                 text(user, UserFieldID::EPS_Server),
                 text(user, UserFieldID::EPS_Version),
                 text(user, UserFieldID::EX_Server),
                 text(user, UserFieldID::Email),
                 lastActionKey(user)};
    return row;
}

int64_t ListUsers(AgentSession& session, ListModel& list, const UserListOptions& options) {
    return fillList(session, list, "loading user data", UserColumns(), options.filter,
                    [&](const Recordset& user) { return UserRow(user, options); });
}

int64_t LoadUserStatistics(AgentSession& session, ListModel& list, std::string_view filter) {
    return fillList(session, list, "loading EPS user data", UserStatisticsColumns(), filter,
                    UserStatisticsRow);
}

std::string UserStatisticsTitle(const AgentSession& session, int64_t count) {
    return "(" + std::to_string(count) + ") - current as of " +
           FormatDate(UTCToLocal(session.usersLoaded, session.platform.clock));
}

} // namespace kr
