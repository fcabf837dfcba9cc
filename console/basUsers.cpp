#include "console/basUsers.h"

#include <algorithm>
#include <array>

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

/// Turns table rows into rows of the recordset. A cell of an unexpected type counts as empty.
class UserReader {
public:
    UserReader(Recordset& users, const Clock& clock)
        : m_users(users), m_offset(LocalOffset(clock).count()) {
        int column = 0;
        for (size_t i = 0; i < kUserFieldCount; ++i) {
            const bool stored = UserFields()[i].source != UserField::Source::None;
            m_plan[i] = {UserFields()[i].type, stored ? column++ : kNoColumn};
        }
    }

    void Read(const TableCell* row) {
        if (row[0].isText() && row[0].bytes == kDeletedMark)
            return;
        if (!isUserClass(row[kClassColumn]))
            return;
        static const TableCell none;
        for (size_t i = 0; i < kUserFieldCount; ++i) {
            const auto [type, column] = m_plan[i];
            fill(m_cells[i], type, column == kNoColumn ? none : row[column], i);
        }
        RecordsetCell& email = m_cells[Index(UserFieldID::Email)];
        if (email.kind == Kind::Null || email.text.empty()) // the subject was lost
            setText(email, row[kEmailKeyColumn], Index(UserFieldID::Email));
        m_users.AppendCells(m_cells);
    }

private:
    using Kind = RecordsetCell::Kind;
    static constexpr int kNoColumn = -1;
    struct Step {
        FieldType type;
        int column;
    };

    static bool isUserClass(const TableCell& cell) {
        return cell.bytes == kUserInfoClass || EqualNoCase(cell.bytes, kUserInfoClass);
    }
    static bool isWhole(const TableCell& cell) {
        return cell.type == PropType::Long || cell.type == PropType::Short;
    }
    static void setInteger(RecordsetCell& out, int64_t number) {
        out.kind = Kind::Integer;
        out.integer = number;
    }

    void fill(RecordsetCell& out, FieldType type, const TableCell& cell, size_t index) {
        out.kind = Kind::Null;
        switch (type) {
        case FieldType::Boolean: // null reads as False, and State as 0: filters rely on it
            setInteger(out, cell.type == PropType::Boolean && cell.integer != 0 ? 1 : 0);
            break;
        case FieldType::SmallInt:
            setInteger(out, isWhole(cell) ? cell.integer : 0);
            break;
        case FieldType::Integer:
            if (isWhole(cell))
                setInteger(out, cell.integer);
            break;
        case FieldType::Date:
            if (cell.type == PropType::Time)
                setInteger(out, cell.integer + m_offset);
            break;
        default:
            setText(out, cell, index);
        }
    }

    /// Texts as they are; an override may also be stored as a Boolean or a number.
    void setText(RecordsetCell& out, const TableCell& cell, size_t index) {
        if (cell.empty())
            return;
        out.kind = Kind::Text;
        std::string& own = m_texts[index];
        if (cell.isText())
            out.text = cell.bytes;
        else if (cell.type == PropType::Binary)
            out.text = hexOf(cell.bytes, own);
        else if (cell.type == PropType::Boolean)
            out.text = cell.integer != 0 ? "True" : "False";
        else if (isWhole(cell))
            out.text = own = std::to_string(cell.integer);
        else
            out.kind = Kind::Null;
    }

    /// Ids of one folder differ in their last bytes only, so the digits of the one before serve.
    std::string_view hexOf(std::string_view bytes, std::string& digits) {
        if (m_lastID.size() != bytes.size()) {
            m_lastID = bytes;
            return digits = HexOf(bytes.data(), bytes.size());
        }
        const auto changed = std::mismatch(bytes.begin(), bytes.end(), m_lastID.begin()).first;
        const auto same = static_cast<size_t>(changed - bytes.begin());
        const std::string tail = HexOf(bytes.data() + same, bytes.size() - same);
        digits.replace(same * 2, tail.size(), tail);
        m_lastID = bytes;
        return digits;
    }

    Recordset& m_users;
    int64_t m_offset; // one offset for all dates, as UTCToLocal has it
    std::array<Step, kUserFieldCount> m_plan;
    std::array<RecordsetCell, kUserFieldCount> m_cells;
    std::array<std::string, kUserFieldCount> m_texts;
    std::string m_lastID;
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

} // namespace kr
