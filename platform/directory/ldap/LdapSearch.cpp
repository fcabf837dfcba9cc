#include "platform/directory/ldap/LdapSearch.h"

#include <algorithm>
#include <utility>

#include "platform/directory/ldap/LdapError.h"

namespace kr {

namespace {

/// Messages in one turn of the event loop: some 15 ms.
constexpr int kMostMessages = 50;
/// For connecting, TLS and binding together, with the look-ups that they take.
constexpr std::chrono::seconds kConnectTime(30);
constexpr std::chrono::milliseconds kDeadlineGrain(50);

struct ControlFree {
    void operator()(LDAPControl* control) const { ldap_control_free(control); }
};

int scopeOf(DirectoryQuery::Scope scope) {
    switch (scope) {
    case DirectoryQuery::Scope::Base:
        return LDAP_SCOPE_BASE;
    case DirectoryQuery::Scope::OneLevel:
        return LDAP_SCOPE_ONELEVEL;
    case DirectoryQuery::Scope::SubTree:
        break;
    }
    return LDAP_SCOPE_SUBTREE;
}

/// The cookie of a page's end; empty on the last page and from a server that doesn't page.
std::string cookieOf(LDAP* handle, LDAPControl** controls) {
    std::string cookie;
    if (LDAPControl* page = ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, controls, nullptr)) {
        ber_int_t estimate = 0;
        berval value{};
        if (ldap_parse_pageresponse_control(handle, page, &estimate, &value) == LDAP_SUCCESS)
            cookie.assign(value.bv_val != nullptr ? value.bv_val : "", value.bv_len);
        ber_memfree(value.bv_val);
    }
    return cookie;
}

} // namespace

LdapSearch::LdapSearch(std::shared_ptr<LdapCore> core, DirectoryQuery query, OnRow onRow,
                       OnDone onDone)
    : m_core(std::move(core)), m_query(std::move(query)), m_onRow(std::move(onRow)),
      m_onDone(std::move(onDone)) {}

LdapSearch::~LdapSearch() {
    // one that has ended may be held longer than there are events
    if (m_done)
        return;
    m_core->events().Cancel(m_timer);
    m_core->events().Cancel(m_watch);
}

void LdapSearch::Begin() {
    m_core->Add(shared_from_this());
    m_core->events().Post([weak = weak_from_this()] {
        if (const auto self = weak.lock(); self != nullptr && !self->m_done)
            self->start();
    });
}

void LdapSearch::start() {
    if (!m_core->isOpen) {
        const PlatformError error(3709, "The connection to the directory is not open.",
                                  "Directory");
        finish(&error);
        return;
    }
    if (!NormalizeFilter(m_query.filter, m_filter)) {
        const PlatformError error = LdapError(LDAP_FILTER_ERROR, m_query.filter);
        finish(&error);
        return;
    }
    startDeadline(kConnectTime);
    m_core->Acquire(m_query.port, [weak = weak_from_this()](LdapConnectionPtr connection,
                                                            const PlatformError* error) {
        if (const auto self = weak.lock(); self != nullptr && !self->m_done)
            self->acquired(std::move(connection), error);
    });
}

void LdapSearch::acquired(LdapConnectionPtr connection, const PlatformError* error) {
    if (error != nullptr) {
        finish(error);
        return;
    }
    m_connection = std::move(connection);
    m_anything = false;
    m_watch = m_core->events().AddWatch(m_connection->fd(), Events::Readable,
                                        [weak = weak_from_this()](unsigned) {
                                            if (const auto self = weak.lock())
                                                self->pump();
                                        });
    sendPage();
}

int LdapSearch::send(const std::string& base, int scope, const std::string& filter,
                     const std::vector<std::string>& attributes, LDAPControl* control) {
    std::vector<char*> names;
    names.reserve(attributes.size() + 1);
    for (const auto& attribute : attributes)
        names.push_back(const_cast<char*>(attribute.c_str()));
    names.push_back(nullptr);
    LDAPControl* controls[] = {control, nullptr};
    int id = -1;
    const int result = ldap_search_ext(m_connection->handle(), base.c_str(), scope, filter.c_str(),
                                       attributes.empty() ? nullptr : names.data(), 0,
                                       control != nullptr ? controls : nullptr, nullptr, nullptr,
                                       LDAP_NO_LIMIT, &id);
    if (result == LDAP_SUCCESS)
        return id;
    if (result == LDAP_SERVER_DOWN) {
        lost();
        return -1;
    }
    const PlatformError error = m_connection->error(result);
    finish(&error);
    return -1;
}

void LdapSearch::sendPage() {
    std::unique_ptr<LDAPControl, ControlFree> paging;
    if (m_query.pageSize > 0) {
        berval cookie{};
        cookie.bv_val = m_cookie.data();
        cookie.bv_len = m_cookie.size();
        LDAPControl* control = nullptr;
        ldap_create_page_control(m_connection->handle(), m_query.pageSize,
                                 m_cookie.empty() ? nullptr : &cookie, 0, &control);
        paging.reset(control);
    }
    startDeadline(std::chrono::seconds(m_query.timeoutSeconds));
    m_page = send(m_query.base, scopeOf(m_query.scope), m_filter, m_query.attributes, paging.get());
}

/// Takes what has come. The watch sleeps meanwhile: a row's receiver may run a nested loop, in
/// which the same messages would announce themselves over and over.
void LdapSearch::pump() {
    if (m_pumping || m_done || m_connection == nullptr)
        return;
    const auto keep = shared_from_this();
    struct Guard {
        LdapSearch& search;
        explicit Guard(LdapSearch& s) : search(s) {
            search.m_pumping = true;
            search.m_core->events().SetWatch(search.m_watch, 0);
        }
        ~Guard() {
            search.m_pumping = false;
            search.m_core->events().SetWatch(search.m_watch, Events::Readable);
        }
    };
    const Guard guard(*this);
    bool more = true;
    for (int i = 0; i < kMostMessages && more && !m_done; ++i)
        more = takeMessage();
    // what lies in the library's buffer makes no descriptor readable
    if (more && !m_done)
        m_core->events().Post([weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->pump();
        });
}

bool LdapSearch::takeMessage() {
    LDAPMessage* raw = nullptr;
    timeval none{0, 0};
    const int type = ldap_result(m_connection->handle(), LDAP_RES_ANY, LDAP_MSG_ONE, &none, &raw);
    Message message(raw);
    if (type == 0)
        return false;
    if (type < 0) {
        lost();
        return false;
    }
    m_anything = true;
    onMessage(std::move(message));
    return true;
}

void LdapSearch::onMessage(Message message) {
    const int id = ldap_msgid(message.get());
    const bool range = m_ranges.contains(id);
    if (id != m_page && !range)
        return;
    switch (ldap_msgtype(message.get())) {
    case LDAP_RES_SEARCH_ENTRY:
        onEntry(message.get());
        break;
    case LDAP_RES_SEARCH_RESULT:
        if (range)
            onRangeEnd(message.get(), id);
        else
            onPageEnd(message.get());
        break;
    default: // references to other servers are not followed
        break;
    }
    message.reset();
    if (!m_done)
        deliver();
}

void LdapSearch::onEntry(LDAPMessage* message) {
    LdapRow row(m_connection->handle(), message);
    const auto range = m_ranges.find(ldap_msgid(message));
    if (range != m_ranges.end()) {
        range->second->row.Merge(row);
        return;
    }
    m_rows.push_back(std::make_shared<Row>(Row{std::move(row), 0}));
    askRanges(m_rows.back());
}

void LdapSearch::askRanges(const std::shared_ptr<Row>& row) {
    for (const auto& range : std::exchange(row->row.missing(), {})) {
        const std::string attribute =
            range.attribute + ";range=" + std::to_string(range.next) + "-*";
        const int id =
            send(row->row.entryDN(), LDAP_SCOPE_BASE, "(objectClass=*)", {attribute}, nullptr);
        if (id < 0)
            return;
        ++row->open;
        m_ranges[id] = row;
    }
}

void LdapSearch::onRangeEnd(LDAPMessage* message, int id) {
    const auto row = m_ranges.extract(id).mapped();
    --row->open;
    int code = LDAP_SUCCESS;
    ldap_parse_result(m_connection->handle(), message, &code, nullptr, nullptr, nullptr, nullptr,
                      0);
    if (code == LDAP_SUCCESS) {
        askRanges(row);
        return;
    }
    const PlatformError error = m_connection->error(code);
    finish(&error);
}

void LdapSearch::onPageEnd(LDAPMessage* message) {
    LDAP* handle = m_connection->handle();
    int code = LDAP_SUCCESS;
    LDAPControl** controls = nullptr;
    const int parsed =
        ldap_parse_result(handle, message, &code, nullptr, nullptr, nullptr, &controls, 0);
    m_cookie = controls != nullptr ? cookieOf(handle, controls) : std::string();
    ldap_controls_free(controls);
    m_page = -1;
    if (parsed != LDAP_SUCCESS)
        code = parsed;
    if (code == LDAP_SUCCESS) {
        m_lastPage = m_cookie.empty();
        if (!m_lastPage)
            sendPage();
        return;
    }
    // the rows that came before the error count
    const PlatformError error = m_connection->error(code);
    const auto keep = shared_from_this();
    for (const auto& row : m_rows)
        row->open = 0;
    m_lastPage = false;
    deliver();
    finish(&error);
}

/// Hands out the complete rows at the front; the time that their receiver takes is not the
/// server's.
void LdapSearch::deliver() {
    while (!m_done && !m_rows.empty() && m_rows.front()->open == 0) {
        const auto row = m_rows.front();
        m_rows.pop_front();
        const auto begin = Clock::now();
        if (m_onRow)
            m_onRow(row->row);
        if (m_deadline)
            *m_deadline += Clock::now() - begin;
    }
    if (!m_done && m_lastPage && m_rows.empty())
        finish(nullptr);
}

/// An idle connection may have been closed by the server long ago; that is worth a second try.
void LdapSearch::lost() {
    if (m_connection->reused && !m_anything && m_cookie.empty()) {
        release(false);
        startDeadline(kConnectTime);
        m_core->Connect(m_query.port, [weak = weak_from_this()](LdapConnectionPtr connection,
                                                                const PlatformError* error) {
            if (const auto self = weak.lock(); self != nullptr && !self->m_done)
                self->acquired(std::move(connection), error);
        });
        return;
    }
    const PlatformError error = m_connection->error(LDAP_SERVER_DOWN);
    finish(&error);
}

void LdapSearch::startDeadline(std::chrono::seconds time) {
    m_core->events().Cancel(m_timer);
    m_timer = 0;
    m_deadline.reset();
    if (time.count() <= 0)
        return;
    m_deadline = Clock::now() + time;
    m_timer = m_core->events().AddTimer(time, [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->onDeadline();
    });
}

void LdapSearch::onDeadline() {
    if (m_done)
        return;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_deadline - Clock::now());
    // while a row's receiver works the server isn't being waited for
    if (left.count() > 0 || m_pumping) {
        m_core->events().Cancel(m_timer);
        m_timer =
            m_core->events().AddTimer(std::max(left, kDeadlineGrain), [weak = weak_from_this()] {
                if (const auto self = weak.lock())
                    self->onDeadline();
            });
        return;
    }
    const PlatformError error =
        LdapError(LDAP_TIMEOUT, m_connection != nullptr ? m_connection->where() : "");
    finish(&error);
}

void LdapSearch::Cancel() {
    m_onDone = nullptr;
    m_onRow = nullptr;
    finish(nullptr);
}

void LdapSearch::finish(const PlatformError* error) {
    if (m_done)
        return;
    m_done = true;
    const bool healthy = error == nullptr && m_lastPage && m_rows.empty() && m_ranges.empty();
    m_core->events().Cancel(m_timer);
    m_timer = 0;
    release(healthy);
    const auto keep = shared_from_this();
    m_core->Remove(keep);
    // the calls may hold what holds us
    const auto onDone = std::exchange(m_onDone, nullptr);
    const auto onRow = std::exchange(m_onRow, nullptr);
    if (onDone)
        onDone(error);
}

void LdapSearch::release(bool healthy) {
    m_core->events().Cancel(m_watch);
    m_watch = 0;
    m_ranges.clear();
    auto connection = std::exchange(m_connection, nullptr);
    if (connection != nullptr && healthy)
        m_core->Release(std::move(connection));
}

} // namespace kr
