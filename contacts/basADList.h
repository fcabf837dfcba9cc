#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

namespace kr {

/// A mailbox of the directory, with what a caller of the address picker may want of it.
struct ADPerson {
    std::string mail;
    std::string mailNickname;
    std::string msExchHomeServerName;
    std::string distinguishedName;
    std::string displayName;
    std::string givenName;
    std::string sn;
    std::string company;
    std::string telephoneNumber;
    std::string primaryAddress; // out of proxyAddresses
};

/// The forest's mailboxes that are enabled and not hidden. They are read without waiting into a
/// recordset; a list shows its rows by the recordset's filter and order.
class ADList {
public:
    enum class Column { Name, Mail };

    ADList(AgentSession& session, ListModel& list);
    /// Ends the reading.
    ~ADList();
    ADList(const ADList&) = delete;
    ADList& operator=(const ADList&) = delete;

    /// Begins to read; `onDone` comes once, when all is read and sorted or the reading has failed.
    /// What came before a failure stays.
    void Load(std::function<void()> onDone);
    bool Loading() const { return m_loading; }
    size_t Loaded() const { return m_loaded; }
    /// Hands the rows that came since the last time to the list.
    void ShowNew();

    /// Ascending at first, at each further click on the same column the other way round.
    void ColumnClick(int column);
    int SortColumn() const { return m_sortColumn; }
    SortOrder Order() const { return m_order; }
    /// Shows the rows whose column begins with the text; "" shows all.
    void Find(Column column, std::string_view text);
    /// Position of the first row whose name begins with the letter; ListModel::npos when none does.
    size_t JumpTo(char letter) const;
    /// The person of the row at that position of the list.
    ADPerson PersonAt(size_t position) const;

private:
    void query(const std::string& root);
    void take(const DirectoryRow& row);
    void finish(const PlatformError* error);
    void refill();

    AgentSession& m_session;
    ListModel& m_list;
    std::unique_ptr<Directory> m_directory;
    std::shared_ptr<DirectorySearch> m_search;
    std::shared_ptr<Recordset> m_rows;
    std::vector<ListRow> m_new; // not in the list yet
    std::function<void()> m_onDone;
    std::string m_text; // of the query, for the log
    std::string m_filter;
    size_t m_loaded = 0;
    int m_sortColumn = 0;
    int m_clicked = -1; // the column of the last click
    SortOrder m_order = SortOrder::Ascending;
    bool m_loading = false;
};

} // namespace kr
