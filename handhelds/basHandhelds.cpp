#include "handhelds/basHandhelds.h"

#include <algorithm>

#include "core/Keys.h"
#include "core/TableRowCells.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr auto kPin = static_cast<size_t>(HandheldField::PIN);

/// The table's columns: the recordset's fields in their order, then DeviceID and the class.
std::vector<PropTag> tableColumns(RDOFolder& folder) {
    std::vector<PropTag> tags;
    const auto named = [&](std::string_view name, PropType type) {
        tags.push_back(folder.GetIDsFromNames(PS_PUBLIC_STRINGS, name) |
                       static_cast<PropTag>(type));
    };
    for (const Field& field : HandheldRecordsetFields()) {
        if (field.name == "Email")
            tags.push_back(PR_CONVERSATION_TOPIC);
        else if (field.name == "EntryID")
            tags.push_back(PR_LONGTERM_ENTRYID_FROM_TABLE);
        else
            named(field.name, TypeOfKey(field.name));
    }
    named("DeviceID", PropType::String);
    tags.push_back(PR_MESSAGE_CLASS);
    return tags;
}

/// Turns table rows into rows of the recordset.
class HandheldReader {
public:
    HandheldReader(Recordset& handhelds, const Clock& clock)
        : m_handhelds(handhelds), m_cells(HandheldRecordsetFields(), clock) {}

    void Read(const TableCell* row) {
        const TableCell& type = row[kHandheldFieldCount + 1];
        if (type.bytes != kHandheldClass && !EqualNoCase(type.bytes, kHandheldClass))
            return;
        for (size_t i = 0; i < kHandheldFieldCount; ++i)
            m_cells.Fill(i, row[i]);
        if (noPin())
            m_cells.FillText(kPin, row[kHandheldFieldCount]);
        if (noPin())
            m_cells.Clear(kPin);
        m_handhelds.AppendCells(m_cells.cells());
    }

private:
    bool noPin() const { return m_cells.Empty(kPin) || m_cells.cells()[kPin].text == kNone; }

    Recordset& m_handhelds;
    TableRowCells m_cells;
};

std::shared_ptr<Recordset> newHandhelds() {
    auto handhelds = std::make_shared<Recordset>(HandheldRecordsetFields());
    for (const char* field : {"Email", "PIN", "ESN", "EntryID", "BB Server"})
        handhelds->AddIndex(field);
    return handhelds;
}

/// False when Cancel was pressed.
bool readHandhelds(AgentSession& session, RDOFolder& folder, Recordset& handhelds) {
    const RDOItemsPtr items = folder.Items();
    const MAPITablePtr table = items->Table();
    table->Columns(tableColumns(folder));
    const int64_t total = items->Count();
    const auto progress =
        session.ui().StartProgress("Retrieving handheld data...", ProgressKind::Plain);
    HandheldReader reader(handhelds, session.platform.clock);
    int64_t done = 0;
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows()) {
        for (size_t i = 0; i < rows.rows; ++i) {
            if (progress->Cancelled())
                return false;
            reader.Read(&rows.at(i, 0));
            session.ui().DoEvents();
        }
        done += static_cast<int64_t>(rows.rows);
        progress->SetValue(std::min(done, total), total);
    }
    return true;
}

/// A value as the details show it: dates in local time, flags as words.
std::string shownText(const Value& value, const Clock& clock) {
    if (const Time* time = value.get<Time>())
        return FormatDate(UTCToLocal(*time, clock));
    if (const bool* flag = value.get<bool>())
        return *flag ? "True" : "False";
    return value.text();
}

std::string_view iconOf(const Recordset& handheld) {
    const auto text = [&](HandheldField field) { return handheld.Text(Index(field)); };
    if (text(HandheldField::PIN).empty() && text(HandheldField::ESN).empty())
        return "imgUserOnly";
    return text(HandheldField::Email) == kNone ? "imgNoUser" : "imgUser";
}

} // namespace

RDOFolderPtr GetHandheldsFolder(AgentSession& session) {
    std::string id;
    const auto open = [&]() -> RDOFolderPtr {
        const RDOMessagePtr agent = GetAgentMessage(session);
        id = agent ? KeyText(*agent, "HHEntryID") : "";
        return id.empty() ? nullptr : GetFolder(session, EntryID(id));
    };
    RDOFolderPtr folder = TrapSilently(open);
    if (!folder)
        session.log("unable to get Handhelds folder using EntryID " + id);
    return folder;
}

bool DeviceInfo(AgentSession& session, bool force) {
    if (session.handhelds && !force)
        return true;
    const WaitCursor wait(session.ui());
    const auto handhelds = newHandhelds();
    bool whole = true;
    const bool good = Trap(
        [&] {
            const RDOFolderPtr folder = GetHandheldsFolder(session);
            if (!folder)
                return false;
            whole = readHandhelds(session, *folder, *handhelds);
            return true;
        },
        [&](const Trapped& error) { session.log("DeviceInfo:" + error.text()); });
    if (!good && handhelds->RecordCount() == 0)
        return false;
    handhelds->MoveFirst();
    session.handhelds = handhelds;
    if (!whole)
        session.ui().MsgBox("All handheld data has not been loaded!", BoxIcon::Exclamation);
    session.log("DeviceInfo:" + std::to_string(handhelds->RecordCount()));
    return good;
}

std::shared_ptr<Recordset> RequireHandhelds(AgentSession& session) {
    DeviceInfo(session);
    return session.handhelds;
}

ListRow HandheldRow(const Recordset& handheld, std::span<const HandheldColumn> columns,
                    std::string_view tag) {
    ListRow row;
    row.key = handheld.Text(Index(HandheldField::EntryID));
    row.tag = tag;
    row.icon = iconOf(handheld);
    row.ghosted = !handheld.Get(Index(HandheldField::NotInServiceDate)).empty();
    for (const HandheldColumn& column : columns)
        row.texts.emplace_back(handheld.Text(Index(column.field)));
    return row;
}

std::string HandheldFilter(std::string_view field, std::string_view value) {
    return "[" + std::string(field) + "]='" + ReplaceAll(value, "'", "''") + "'";
}

// --- Find

std::string FindHandheldFilter(const FindCriterion& pin, const FindCriterion& email) {
    std::string filter = FindClause("PIN", pin);
    const std::string second = FindClause("Email", email);
    return filter += (filter.empty() || second.empty() ? "" : " and ") + second;
}

int64_t FindHandhelds(AgentSession& session, ListModel& list, const FindCriterion& pin,
                      const FindCriterion& email) {
    list.Clear();
    list.SetColumns({{"PIN", "pin"}, {"Email", "email"}, {"Name", "name"}});
    const std::string filter = FindHandheldFilter(pin, email);
    if (filter.empty()) {
        session.ui().MsgBox("You must supply an PIN or Email Address on which to search.",
                            BoxIcon::Exclamation);
        return 0;
    }
    const auto all = RequireHandhelds(session);
    const auto found = all ? all->Clone() : nullptr;
    if (!found || !found->SetFilter(filter) || found->RecordCount() == 0) {
        session.ui().MsgBox("No handhelds found matching supplied parameters.",
                            BoxIcon::Information);
        return 0;
    }
    std::vector<ListRow> rows;
    rows.reserve(static_cast<size_t>(found->RecordCount()));
    for (found->MoveFirst(); !found->EOF_(); found->MoveNext()) {
        ListRow row;
        row.key = found->Text(Index(HandheldField::EntryID));
        row.icon = "imgUser";
        for (const HandheldField field :
             {HandheldField::PIN, HandheldField::Email, HandheldField::DisplayName})
            row.texts.emplace_back(found->Text(Index(field)));
        rows.push_back(std::move(row));
    }
    list.AddAll(std::move(rows));
    return static_cast<int64_t>(list.Count());
}

// --- Details

void LoadHandheldDetails(AgentSession& session, ListModel& list, const EntryID& handheld) {
    list.Clear();
    list.SetColumns({{"Field", "field"}, {"Value", "value"}});
    const RDOMessagePtr record = GetMessage(session, handheld);
    if (!record)
        return;
    std::vector<ListRow> rows;
    for (const HandheldDetail& detail : HandheldDetails()) {
        std::string value;
        TrapSilently([&] {
            value = detail.name == "Email"
                        ? record->Fields(PR_CONVERSATION_TOPIC).text()
                        : shownText(GetKey(*record, detail.name), session.platform.clock);
            if (detail.name == "PIN" && value.empty())
                value = KeyText(*record, "DeviceID");
        });
        ListRow row;
        row.key = detail.name;
        row.texts = {std::string(detail.heading), std::move(value)};
        rows.push_back(std::move(row));
    }
    list.AddAll(std::move(rows));
}

} // namespace kr
