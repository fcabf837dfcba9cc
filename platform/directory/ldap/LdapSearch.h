#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "platform/directory/ldap/LdapCore.h"
#include "platform/directory/ldap/LdapRow.h"

namespace kr {

/// One query under way: pages of a search, and the further values of long attributes, read message
/// by message as the connection's descriptor announces them.
class LdapSearch : public DirectorySearch, public std::enable_shared_from_this<LdapSearch> {
public:
    using OnRow = std::function<void(const DirectoryRow&)>;
    using OnDone = std::function<void(const PlatformError*)>;

    LdapSearch(std::shared_ptr<LdapCore> core, DirectoryQuery query, OnRow onRow, OnDone onDone);
    ~LdapSearch() override;

    /// Begins once events run, so that no call comes before its caller holds the search.
    void Begin();
    bool Done() const override { return m_done; }
    void Cancel() override;

private:
    using Clock = std::chrono::steady_clock;
    struct MessageFree {
        void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
    };
    using Message = std::unique_ptr<LDAPMessage, MessageFree>;
    /// Rows go out in the server's order; one whose values are still coming holds those behind it.
    struct Row {
        LdapRow row;
        int open = 0; // requests for further values under way
    };

    void start();
    void acquired(LdapConnectionPtr connection, const PlatformError* error);
    void sendPage();
    int send(const std::string& base, int scope, const std::string& filter,
             const std::vector<std::string>& attributes, LDAPControl* control);
    void pump();
    bool takeMessage();
    void onMessage(Message message);
    void onEntry(LDAPMessage* message);
    void onPageEnd(LDAPMessage* message);
    void onRangeEnd(LDAPMessage* message, int id);
    void askRanges(const std::shared_ptr<Row>& row);
    void deliver();
    void lost();

    void startDeadline(std::chrono::seconds time);
    void onDeadline();
    void finish(const PlatformError* error);
    void release(bool healthy);

    std::shared_ptr<LdapCore> m_core;
    DirectoryQuery m_query;
    std::string m_filter;
    OnRow m_onRow;
    OnDone m_onDone;
    LdapConnectionPtr m_connection;
    Events::Id m_watch = 0;
    Events::Id m_timer = 0;
    std::optional<Clock::time_point> m_deadline;
    int m_page = -1; // message id of the page under way
    std::string m_cookie;
    std::map<int, std::shared_ptr<Row>> m_ranges; // by message id
    std::deque<std::shared_ptr<Row>> m_rows;
    bool m_anything = false; // the server has answered on this connection
    bool m_lastPage = false;
    bool m_pumping = false;
    bool m_done = false;
};

} // namespace kr
