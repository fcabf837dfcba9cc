#include "contacts/basADList.h"

#include <array>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDirectory.h"

namespace kr {

namespace {

constexpr std::string_view kFilter =
    "(&(objectCategory=person)(objectClass=user)(mailnickname=*)(msExchHomeServerName=*)"
    "(!userAccountControl:1.2.840.113556.1.4.803:=2)(!msExchHideFromAddressLists=True))";
constexpr std::string_view kAttributes =
    "name,mail,msExchHomeServerName,displayName,distinguishedName,mailNickname,givenName,sn,"
    "telephoneNumber,company,proxyAddresses";
constexpr int kTextSize = 4096;

/// The recordset's fields; those of one value are read as they stand.
enum FieldNumber : int { Name, Mail, Proxies = 10, FieldCount };
constexpr std::array<const char*, FieldCount> kFields = {
    "name",      "mail", "msExchHomeServerName", "displayName", "distinguishedName", "mailNickname",
    "givenName", "sn",   "telephoneNumber",      "company",     "proxyAddresses"};
constexpr std::array<const char*, 2> kSortFields = {"[name]", "[mail]"};

std::vector<Field> fields() {
    std::vector<Field> result;
    for (const char* name : kFields)
        result.push_back({name, FieldType::Text, kTextSize});
    return result;
}

/// The text behind "smtp:"; capitals mark the primary one, where there is one.
std::string primaryAddress(const DirectoryRow& row) {
    constexpr std::string_view prefix = "smtp:";
    std::string address;
    for (const std::string& proxy : row.Values("proxyAddresses")) {
        if (proxy.starts_with("SMTP:"))
            return proxy.substr(prefix.size());
        if (address.empty() && StartsWithNoCase(proxy, prefix))
            address = proxy.substr(prefix.size());
    }
    return address;
}

ListRow rowOf(std::string_view name, std::string_view mail, uint64_t bookmark) {
    ListRow row;
    row.key = std::to_string(bookmark);
    row.texts = {std::string(name), std::string(mail)};
    return row;
}

} // namespace

ADList::ADList(AgentSession& session, ListModel& list)
    : m_session(session), m_list(list), m_rows(std::make_shared<Recordset>(fields())) {
    m_list.SetColumns({{"Name", "txtName"}, {"Email", "txtEmail"}});
}

ADList::~ADList() {
    if (m_search)
        m_search->Cancel();
    if (m_directory)
        m_directory->Close();
}

void ADList::Load(std::function<void()> onDone) {
    m_onDone = std::move(onDone);
    m_loading = true;
    Trap(
        [&] {
            m_directory = m_session.platform.directory.CreateConnection();
            m_directory->StartOpen("rootDomainNamingContext",
                                   [this](const std::string& root, const PlatformError* error) {
                                       if (error == nullptr)
                                           query(root);
                                       else
                                           finish(error);
                                   });
        },
        [&](const Trapped& error) {
            const PlatformError failed(error.number, error.description);
            finish(&failed);
        });
}

void ADList::query(const std::string& root) {
    const QueryParts parts{"<GC://" + root + ">", std::string(kFilter), std::string(kAttributes),
                           "subTree"};
    m_text = Join(parts, ";");
    Trap(
        [&] {
            auto search = m_directory->Start(
                QueryOf(parts), [this](const DirectoryRow& row) { take(row); },
                [this](const PlatformError* error) { finish(error); });
            if (m_loading)
                m_search = std::move(search);
        },
        [&](const Trapped& error) {
            const PlatformError failed(error.number, error.description);
            finish(&failed);
        });
}

void ADList::take(const DirectoryRow& row) {
    std::array<std::string, FieldCount> texts;
    std::array<RecordsetCell, FieldCount> cells;
    for (size_t i = 0; i < FieldCount; ++i) {
        texts[i] = i == Proxies ? primaryAddress(row) : row.First(kFields[i]);
        cells[i] = {RecordsetCell::Kind::Text, {0}, texts[i]};
    }
    m_rows->AppendCells(cells);
    ++m_loaded;
    m_new.push_back(rowOf(texts[Name], texts[Mail], m_loaded));
}

void ADList::ShowNew() {
    if (m_new.empty())
        return;
    if (!m_filter.empty()) {
        m_new.clear();
        refill();
        return;
    }
    m_list.AddAll(std::exchange(m_new, {}));
}

void ADList::finish(const PlatformError* error) {
    if (!std::exchange(m_loading, false))
        return;
    m_search.reset();
    if (error != nullptr)
        m_session.log("frmADList:" + std::to_string(error->number()) + " " + error->description());
    if (m_text.empty()) {
        m_session.log("frmADList:failed to open AD connection");
        m_session.ui().MsgBox("Unable to open Active Directory connection!", BoxIcon::Stop);
    } else {
        m_session.log("recordset.State=" + std::string(error == nullptr ? "1" : "0") +
                      " for query " + m_text);
        m_new.clear();
        refill();
    }
    if (m_onDone)
        m_onDone();
}

void ADList::refill() {
    const std::string sort = std::string(kSortFields[static_cast<size_t>(m_sortColumn)]) +
                             (m_order == SortOrder::Ascending ? " ASC" : " DESC");
    // either one alone sorts all rows anew
    if (m_rows->Filter() != m_filter)
        m_rows->SetFilter(m_filter);
    if (m_rows->Sort() != sort)
        m_rows->SetSort(sort);
    std::vector<ListRow> rows;
    rows.reserve(static_cast<size_t>(m_rows->RecordCount()));
    for (m_rows->MoveFirst(); !m_rows->EOF_(); m_rows->MoveNext())
        rows.push_back(rowOf(m_rows->Text(Name), m_rows->Text(Mail), m_rows->Bookmark()));
    if (m_loading) {
        // rows that come are only appended: an order would be kept at every one of them
        m_rows->SetSort("");
        m_rows->SetFilter("");
    }
    m_list.Clear();
    m_list.AddAll(std::move(rows));
}

void ADList::ColumnClick(int column) {
    if (column < 0 || column >= static_cast<int>(kSortFields.size()))
        return;
    const bool again = std::exchange(m_clicked, column) == column;
    m_order =
        again && m_order == SortOrder::Ascending ? SortOrder::Descending : SortOrder::Ascending;
    m_sortColumn = column;
    m_new.clear();
    refill();
}

void ADList::Find(Column column, std::string_view text) {
    // an apostrophe in the text deliberately isn't escaped: such a filter doesn't parse, no row
    m_filter = text.empty() ? std::string()
                            : (column == Column::Name ? "[name] LIKE '" : "[mail] LIKE '") +
                                  std::string(text) + "*'";
    m_new.clear();
    refill();
}

size_t ADList::JumpTo(char letter) const {
    const std::string_view prefix(&letter, 1);
    for (size_t i = 0; i < m_list.Count(); ++i)
        if (StartsWithNoCase(m_list.Text(i, 0), prefix))
            return i;
    return ListModel::npos;
}

ADPerson ADList::PersonAt(size_t position) const {
    const std::shared_ptr<Recordset> row = m_rows->Clone();
    if (!row->SetBookmark(std::stoull("0" + m_list.At(position).key)))
        return {};
    const auto text = [&](const char* field) {
        return std::string(row->Text(row->FieldIndex(field)));
    };
    return {text("mail"),
            text("mailNickname"),
            text("msExchHomeServerName"),
            text("distinguishedName"),
            text("displayName"),
            text("givenName"),
            text("sn"),
            text("company"),
            text("telephoneNumber"),
            text("proxyAddresses")};
}

} // namespace kr
