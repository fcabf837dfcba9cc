#include "contacts/basACFContacts.h"

#include "contacts/RequireTag.h"
#include <algorithm>
#include <span>
#include <unordered_map>

#include "console/ListCounts.h"
#include "core/Text.h"
#include "core/basStore.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kSortColumn = "sortdupes";
/// Sort key of a contact without an address: behind all others.
constexpr std::string_view kNoAddress = "ZZZZZZZZ";

struct ContactColumn {
    std::string_view title;
    PropTag tag;                // 0: the property of that name
    std::string_view set = {};  // PSETID_Address or PS_PUBLIC_STRINGS
    std::string_view name = {}; // within the set
    bool isAddress = false;
    std::string_view smtpName = {}; // where the address of an Exchange entry stands instead
};
constexpr ContactColumn kMcrContacts[] = {
    {"Name", PR_DISPLAY_NAME},
    {"E-mail 1", 0, PSETID_Address, "0x8083", true, "0x8084"},
    {"Granted Access", 0, PS_PUBLIC_STRINGS, "EPS Access List Names"},
    {"Additional Restricted Fields", 0, PS_PUBLIC_STRINGS, "EPS Private Fields"},
};
constexpr ContactColumn kAcfContacts[] = {
    {"Name", PR_SUBJECT},
    {"E-mail 1", 0, PSETID_Address, "0x8084", true},
    {"E-mail 2", 0, PSETID_Address, "0x8094", true},
    {"Last Name", PR_SURNAME},
    {"First Name", PR_GIVEN_NAME},
    {"Mobile Phone", PR_MOBILE_TELEPHONE_NUMBER},
    {"Office Phone", PR_BUSINESS_TELEPHONE_NUMBER},
    {"Fax", PR_BUSINESS_FAX_NUMBER},
};

/// What the two lists differ in.
struct ContactView {
    std::span<const ContactColumn> columns;
    std::string_view tag;
    size_t turn;             // rows between two turns of the event loop
    bool namedOnly;          // a row without a name isn't shown
    std::string_view noSort; // sort key of a row without an address
};
constexpr ContactView kMcrView{kMcrContacts, kMasterContactTag, 100, true, ""};
constexpr ContactView kAcfView{kAcfContacts, kAltContactTag, 50, false, kNoAddress};

std::vector<ListColumn> columnsOf(const ContactView& view) {
    std::vector<ListColumn> columns;
    for (const ContactColumn& column : view.columns)
        columns.push_back({std::string(column.title), ""});
    columns.push_back({std::string(kSortColumn), std::string(kSortColumn)});
    return columns;
}

std::vector<PropTag> tagsOf(RDOFolder& folder, const ContactView& view) {
    std::vector<PropTag> tags{PR_LONGTERM_ENTRYID_FROM_TABLE};
    for (const ContactColumn& column : view.columns)
        tags.push_back(column.tag != 0
                           ? column.tag
                           : RequireTag(folder, column.name, PropType::String, column.set));
    for (const ContactColumn& column : view.columns)
        if (!column.smtpName.empty())
            tags.push_back(RequireTag(folder, column.smtpName, PropType::String, column.set));
    return tags;
}

std::string textOf(const TableCell& cell) { return cell.isText() ? Trim(cell.bytes) : ""; }

ListRow rowOf(const TableRows& rows, size_t at, const ContactView& view) {
    ListRow row;
    row.key = CoerceToPropType(rows.at(at, 0).value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text();
    row.tag = view.tag;
    row.icon = "imgContact";
    std::string sortKey;
    size_t smtp = view.columns.size() + 1;
    for (size_t i = 0; i < view.columns.size(); ++i) {
        std::string text = textOf(rows.at(at, i + 1));
        if (!view.columns[i].smtpName.empty())
            if (std::string address = textOf(rows.at(at, smtp++));
                !address.empty() && (text.empty() || IsX500(text)))
                text = std::move(address);
        row.texts.push_back(std::move(text));
        if (view.columns[i].isAddress && sortKey.empty())
            sortKey = row.texts.back();
    }
    row.ghosted = sortKey.empty();
    row.texts.push_back(sortKey.empty() ? std::string(view.noSort) : sortKey);
    return row;
}

void markDuplicate(ListRow& row) {
    if (row.bold)
        return;
    row.bold = true;
    row.texts.back() += "_";
}

/// Marks the rows that have an address of another row.
void markDuplicates(ContactRows& contacts, const ContactView& view) {
    std::unordered_map<std::string, size_t> firstRows;
    for (size_t i = 0; i < contacts.rows.size(); ++i)
        for (size_t column = 0; column < view.columns.size(); ++column) {
            const std::string& address = contacts.rows[i].texts[column];
            if (!view.columns[column].isAddress || address.empty())
                continue;
            const size_t first = firstRows.emplace(Fold(address), i).first->second;
            if (first == i)
                continue;
            markDuplicate(contacts.rows[first]);
            markDuplicate(contacts.rows[i]);
            contacts.duplicates = true;
        }
}

ContactRows readContacts(AgentSession& session, RDOFolder& folder, const ContactView& view,
                         const std::function<bool()>& stop) {
    ContactRows contacts;
    const auto full = [&] {
        return session.quickLoad && static_cast<int64_t>(contacts.rows.size()) >= kQuickLoadRows;
    };
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns(tagsOf(folder, view));
    for (TableRows rows = table->GetRows(view.turn); !rows.empty() && !full() && !stop();
         rows = table->GetRows(view.turn)) {
        for (size_t i = 0; i < rows.rows && !full(); ++i)
            if (!view.namedOnly || rows.at(i, 1).isText())
                contacts.rows.push_back(rowOf(rows, i, view));
        session.ui().DoEvents();
    }
    const auto read = static_cast<int64_t>(contacts.rows.size());
    contacts.total = full() ? std::max<int64_t>(read, folder.Items()->Count()) : read;
    markDuplicates(contacts, view);
    return contacts;
}

} // namespace

std::vector<ListColumn> McrColumns() { return columnsOf(kMcrView); }
std::vector<ListColumn> AcfColumns() { return columnsOf(kAcfView); }

ContactRows ReadMcrContacts(AgentSession& session, RDOFolder& folder,
                            const std::function<bool()>& stop) {
    return readContacts(session, folder, kMcrView, stop);
}

ContactRows ReadAcfContacts(AgentSession& session, RDOFolder& folder,
                            const std::function<bool()>& stop) {
    return readContacts(session, folder, kAcfView, stop);
}

} // namespace kr
