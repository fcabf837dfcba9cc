#include "console/basUsers.h"

#include <algorithm>
#include <array>

#include "core/TableRowCells.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

/// A record that is being taken away reads so in its first column.
constexpr std::string_view kDeletedMark = "deleted";

// The table's columns: the recordset's fields in their order; then, in place of the one field that
// no record has, two that the loader looks at itself: 32 in all.
constexpr size_t kEmailKeyColumn = kUserFieldCount - 1;
constexpr size_t kClassColumn = kUserFieldCount;

std::vector<PropTag> tableColumns(RDOFolder& folder) {
    std::vector<PropTag> tags;
    const auto named = [&](std::string_view name, PropType type) {
        tags.push_back(folder.GetIDsFromNames(PS_PUBLIC_STRINGS, name) |
                       static_cast<PropTag>(type));
    };
    for (const UserField& field : UserFields()) {
        switch (field.source) {
        case UserField::Source::Key:
            named(field.key, field.keyType);
            break;
        case UserField::Source::Subject:
            tags.push_back(PR_SUBJECT);
            break;
        case UserField::Source::EntryID:
            tags.push_back(PR_LONGTERM_ENTRYID_FROM_TABLE);
            break;
        case UserField::Source::None:
            break;
        }
    }
    named("Email", PropType::String);
    tags.push_back(PR_MESSAGE_CLASS);
    return tags;
}

/// Turns table rows into rows of the recordset.
class UserReader {
public:
    UserReader(Recordset& users, const Clock& clock)
        : m_users(users), m_cells(UserRecordsetFields(), clock) {
        int column = 0;
        for (size_t i = 0; i < kUserFieldCount; ++i) {
            const bool stored = UserFields()[i].source != UserField::Source::None;
            m_columns[i] = stored ? column++ : kNoColumn;
        }
    }

    void Read(const TableCell* row) {
        if (row[0].isText() && row[0].bytes == kDeletedMark)
            return;
        if (!isUserClass(row[kClassColumn]))
            return;
        static const TableCell none{};
        for (size_t i = 0; i < kUserFieldCount; ++i)
            m_cells.Fill(i, m_columns[i] == kNoColumn ? none : row[m_columns[i]]);
        constexpr auto kEmail = static_cast<size_t>(UserFieldID::Email);
        if (m_cells.Empty(kEmail)) // the subject was lost
            m_cells.FillText(kEmail, row[kEmailKeyColumn]);
        m_users.AppendCells(m_cells.cells());
    }

private:
    static constexpr int kNoColumn = -1;
    static bool isUserClass(const TableCell& cell) {
        return cell.bytes == kUserInfoClass || EqualNoCase(cell.bytes, kUserInfoClass);
    }

    Recordset& m_users;
    TableRowCells m_cells;
    std::array<int, kUserFieldCount> m_columns;
};

std::shared_ptr<Recordset> newUsers() {
    auto users = std::make_shared<Recordset>(UserRecordsetFields());
    for (const UserFieldID field :
         {UserFieldID::Email, UserFieldID::EntryID, UserFieldID::DisplayName})
        users->AddIndex(FieldOf(field).name);
    return users;
}

/// False when Cancel was pressed.
bool readUsers(AgentSession& session, RDOFolder& folder, Recordset& users) {
    const RDOItemsPtr items = folder.Items();
    const MAPITablePtr table = items->Table();
    table->Columns(tableColumns(folder));
    // the bar needs an estimate only, and counting costs a tenth of the load
    const int64_t total = session.users ? session.users->Clone()->RecordCount() : items->Count();
    session.ui().ShowStatus("Retrieving user data...");
    const auto progress = session.ui().StartProgress("Retrieving user data...", ProgressKind::User);
    UserReader reader(users, session.platform.clock);
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

} // namespace

bool LoadUsers(AgentSession& session) {
    session.log("initializing Users recordset");
    const std::shared_ptr<Recordset> users = newUsers();
    const WaitCursor wait(session.ui());
    session.ui().ShowStatus("Retrieving user data, please wait...");
    session.log("loading Users recordset");
    bool whole = true;
    const bool good = Trap(
        [&] {
            const RDOFolderPtr folder = session.userInfo;
            if (!folder)
                throw PlatformError(MAPI_E_NOT_FOUND, "the folder of user records is not open");
            whole = readUsers(session, *folder, *users);
            return true;
        },
        [&](const Trapped& error) {
            session.log("err loading users recordset: " + error.description);
        });
    users->MoveFirst();
    if (good || users->RecordCount() > 0) {
        session.users = users;
        session.usersLoaded = session.platform.clock.now();
    }
    if (!whole)
        session.ui().MsgBox("All user data has not been loaded!", BoxIcon::Exclamation);
    if (good)
        session.log("Users record count = " + std::to_string(users->RecordCount()));
    session.ui().ShowStatus("");
    return good;
}

std::shared_ptr<Recordset> RequireUsers(AgentSession& session) {
    if (!session.users)
        LoadUsers(session);
    return session.users;
}

bool ApplyFilter(AgentSession& session, Recordset& recordset, std::string_view filter) {
    if (recordset.SetFilter(filter))
        return true;
    session.log("filter can't be read: " + std::string(filter));
    return false;
}

std::string EntryIDFilter(const EntryID& id) {
    return "[EntryID]='" + EscapeQuotes(id.text()) + "'";
}

std::string EmailFilter(std::string_view address) {
    return "[Email]='" + EscapeQuotes(address) + "'";
}

std::shared_ptr<Recordset> RowOfUser(AgentSession& session, const EntryID& id) {
    if (!session.users)
        return nullptr;
    const std::shared_ptr<Recordset> row = session.users->Clone();
    ApplyFilter(session, *row, EntryIDFilter(id));
    return row->EOF_() ? nullptr : row;
}

} // namespace kr
