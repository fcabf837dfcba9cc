#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"
#include "handhelds/BesConnection.h"
#include "handhelds/PushServerChoice.h"
#include "handhelds/basBES.h"

namespace kr {

/// What frmBesCxnSQL shows and writes, without its window.
class BesSqlForm {
public:
    enum class Focus { None, DataSource, Catalog, UserID, Password, Principal };
    static constexpr std::string_view kSecurities[] = {"Integrated (use zandrelAgent logon)",
                                                       "SQL Server authentication"};

    /// An empty id is a new connector. False, with a box, when the record can't be opened.
    bool Load(AgentSession& session, const EntryID& connector);
    const std::string& Title() const { return m_title; }
    std::string_view RefreshCaption() const;
    /// The database was stored once, or tested well.
    bool CanRefresh() const { return m_canRefresh; }
    std::string Subject() const;
    /// Opens the connection and says what came of it.
    bool Test(AgentSession& session);
    /// Reads the servers of the database anew; they are written with all else.
    void Refresh(AgentSession& session);
    /// Checks and writes in the order of the dialog, and saves. The refusal where there is one; an
    /// empty one when all is written or nothing had changed.
    std::string Save(AgentSession& session, Focus& focus);
    /// The id of the record that was saved; empty when nothing was.
    const EntryID& saved() const { return m_saved; }

    BesConnection connection;
    PushServerChoice push;
    bool initiator = false;
    std::string principal, credentials;
    bool changed = false;

private:
    std::string missing(Focus& focus) const;
    void write(RDOMessage& record) const;

    EntryID m_id;
    EntryID m_saved;
    std::string m_title = "BES Connector - SQL";
    bool m_canRefresh = false;
    std::optional<BesServers> m_servers; // read since the dialog came
};

} // namespace kr
