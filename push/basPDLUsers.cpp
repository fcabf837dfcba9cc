#include "push/basPDLUsers.h"

#include "console/basUsers.h"
#include "contacts/RequireTag.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "push/basPDL.h"
#include "push/basTargets.h"

namespace kr {

namespace {

constexpr std::string_view kFetchFolder = "zandrelPDL";
constexpr std::string_view kFetchKey = "PDL.LastFetch";
constexpr std::string_view kAnyway = "Do you want to enable for push anyway?";

bool confirmed(AgentSession& session, std::string_view reason) {
    return session.ui().MsgBox(std::string(reason) + std::string(kAnyway), BoxIcon::Question,
                               BoxButtons::YesNo) == BoxAnswer::Yes;
}

std::string text(const Recordset& user, UserFieldID field) {
    return std::string(user.Text(Index(field)));
}

std::string nameOf(AgentSession& session, std::string_view email) {
    if (!session.users)
        return std::string(email);
    const auto user = session.users->Clone();
    ApplyFilter(session, *user, EmailFilter(email));
    return user->EOF_() ? std::string(email) : UserName(*user);
}

/// Writes that key of the user's record.
void writeKey(AgentSession& session, const EntryID& user, UserFieldID field, const Value& value) {
    const RDOMessagePtr record = GetMessage(session, user);
    if (!record)
        throw PlatformError(MAPI_E_NOT_FOUND, "the record of the user can't be opened");
    SetKey(*record, FieldOf(field).key, value);
    record->Save();
}

bool setFlag(AgentSession& session, const EntryID& user, UserFieldID field, bool flag,
             const std::string& procedure) {
    return Trap(
        [&] {
            writeKey(session, user, field, flag);
            if (const auto row = RowOfUser(session, user))
                row->Set(Index(field), flag);
            return true;
        },
        [&](const Trapped& error) { session.log(procedure + ":" + error.text()); });
}

bool flagOf(const Recordset& user, UserFieldID field) {
    return user.Get(Index(field)).valueOr(false);
}

using FetchDates = std::unordered_map<std::string, std::optional<Time>>;

/// The agent's notes of the last fetches, by PIN in lower case, local.
FetchDates fetchesByPin(AgentSession& session, std::string& failure) {
    FetchDates fetches;
    const auto read = [&] {
        const RDOFolderPtr folder = GetHiddenFolder(session, kFetchFolder);
        if (!folder) { // there is none before the first fetch, or it can't be opened
            if (session.agentInfo && session.agentInfo->Folders()->Item(kFetchFolder))
                throw PlatformError(MAPI_E_CALL_FAILED, "The folder can't be opened.");
            return;
        }
        const std::chrono::seconds offset = LocalOffset(session.platform.clock);
        const auto items = folder->Items();
        const MAPITablePtr table = items->Table();
        table->Columns({PR_CONVERSATION_TOPIC, RequireTag(*folder, kFetchKey, PropType::Time)});
        for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
            for (size_t i = 0; i < rows.rows; ++i) {
                const TableCell& pin = rows.at(i, 0);
                const TableCell& date = rows.at(i, 1);
                if (pin.isText() && date.type == PropType::Time)
                    fetches.emplace(ToLower(pin.bytes),
                                    Time(std::chrono::seconds(date.integer) + offset));
            }
    };
    Trap(read, [&](const Trapped& error) {
        session.log("LastFetch:" + error.text());
        failure = "The last fetches can't be read: " + error.description;
    });
    return fetches;
}

/// The same by address in lower case. The first handheld of an address counts, fetched or not.
FetchDates fetchesByAddress(AgentSession& session, std::string& failure) {
    const FetchDates byPin = fetchesByPin(session, failure);
    FetchDates fetches;
    if (byPin.empty())
        return fetches;
    const auto handhelds = RequireHandhelds(session);
    if (!handhelds) {
        failure = "The last fetches can't be told: " + std::string(kNoHandhelds);
        return fetches;
    }
    const auto walk = handhelds->Clone();
    for (; !walk->EOF_(); walk->MoveNext()) {
        const auto found = byPin.find(ToLower(walk->Text(Index(HandheldField::PIN))));
        fetches.emplace(ToLower(walk->Text(Index(HandheldField::Email))),
                        found == byPin.end() ? std::nullopt : found->second);
    }
    return fetches;
}

} // namespace

bool VerifyPushEnable(AgentSession& session, std::string_view email, std::string_view hostName) {
    const std::string host(hostName);
    const std::string who = std::string(email) + " and Host:" + host;
    const std::string pin = FindPIN(session, email);
    const std::string server = HostText(session, host, "EPS.MDS.MDSHost");
    if (host.empty()) {
        const bool yes = confirmed(session, "Unable to verify that the Mobile Data Service is "
                                            "available for this user!\r\n");
        session.log(
            (yes ? "User-enabled push with Email:" : "VerifyPushEnable = false for Email:") + who);
        return yes;
    }
    const std::string found = who + " with PIN:" + pin + " and Server:" + server;
    if (!pin.empty() && !server.empty()) {
        session.log("VerifyPushEnable = True for Email:" + found);
        return true;
    }
    const std::string reason =
        pin.empty() ? "There is no record of a PIN for " + nameOf(session, email) +
                          ".\r\nPush notifications will fail!\r\n"
                    : "There is no BES push server configured for the zandrel Agent on " + host +
                          ".\r\nNo push notifications can be sent until that step is completed."
                          "\r\n";
    const bool yes = confirmed(session, reason);
    session.log(
        (yes ? "User-enabled push for Email:" : "No user override to push enable for Email:") +
        found);
    return yes;
}

bool SetPushEnabled(AgentSession& session, const EntryID& user, bool enabled) {
    return setFlag(session, user, UserFieldID::PushEnabled, enabled, "SetPushEnabled");
}

bool SetTextBlastEnabled(AgentSession& session, const EntryID& user, bool enabled) {
    return setFlag(session, user, UserFieldID::TextBlastEnabled, enabled, "SetTextBlastEnabled");
}

bool IsTextBlastEnabled(AgentSession& session, const EntryID& user) {
    const auto stored = TrapSilently([&]() -> std::optional<bool> {
        const RDOMessagePtr record = GetMessage(session, user);
        if (!record)
            return std::nullopt;
        return RequireKey(*record, FieldOf(UserFieldID::TextBlastEnabled).key).valueOr(false);
    });
    if (stored)
        return *stored;
    const auto row = RowOfUser(session, user);
    return row && flagOf(*row, UserFieldID::TextBlastEnabled);
}

void SelectForPush(AgentSession& session, const EntryID& user, bool selected) {
    if (const auto row = RowOfUser(session, user))
        row->Set(Index(UserFieldID::PushSelected), selected);
    SetPushEnabled(session, user, selected);
}

Time RecordPush(AgentSession& session, const EntryID& user, std::string_view email) {
    const Clock& clock = session.platform.clock;
    const Time now = clock.now();
    const Time local = UTCToLocal(now, clock);
    if (session.users) {
        const auto row = session.users->Clone();
        if (ApplyFilter(session, *row, EmailFilter(email)) && !row->EOF_())
            row->Set(Index(UserFieldID::PushLastDate), local);
    }
    Trap([&] { writeKey(session, user, UserFieldID::PushLastDate, now); },
         [&](const Trapped& error) { session.log("PDLPush:" + error.text()); });
    return local;
}

// --- the list

std::vector<ListColumn> PushUserColumns() {
    return {{"Push", "chkenabled"},
            {"Name", "Name"},
            {"Email", "Email"},
            {"Last Push", "datlastpush"},
            {"Last Fetch", "datlastfetch"},
            {"zandrel Server", "zandrel Server"},
            {"Exchange Server", "EX Server"}};
}

std::string PushDateText(std::optional<Time> local) {
    return local ? FormatShortDate(*local) + " " + FormatTime24(*local) : std::string();
}

void ShowPushState(ListRow& row, const Recordset& user) {
    row.checkable = true;
    row.checked = flagOf(user, UserFieldID::PushEnabled);
    row.icon = !row.checked                                  ? "imgUser"
               : flagOf(user, UserFieldID::TextBlastEnabled) ? kTextBlastIcon
                                                             : kPushEnabledIcon;
}

PushUserRows::PushUserRows(AgentSession& session)
    : m_fetches(fetchesByAddress(session, m_failure)) {}

ListRow PushUserRows::RowOf(const Recordset& user) const {
    const std::string email = text(user, UserFieldID::Email);
    const Value pushed = user.Get(Index(UserFieldID::PushLastDate));
    const Time* lastPush = pushed.get<Time>();
    const auto fetch = m_fetches.find(ToLower(email));
    ListRow row;
    row.key = text(user, UserFieldID::EntryID);
    row.tag = kPushUserTag;
    row.texts = {"",
                 UserName(user),
                 email,
                 PushDateText(lastPush ? std::optional(*lastPush) : std::nullopt),
                 PushDateText(fetch == m_fetches.end() ? std::nullopt : fetch->second),
                 text(user, UserFieldID::EPS_Server),
                 text(user, UserFieldID::EX_Server)};
    ShowPushState(row, user);
    return row;
}

} // namespace kr
