#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "handhelds/PushServerChoice.h"

namespace kr {

/// What frmBesCxnMbx shows and writes, without its window.
class BesMbxForm {
public:
    /// An empty id is a new connector. False, with a box, when the record can't be opened.
    bool Load(AgentSession& session, const EntryID& connector);
    const std::string& Title() const { return m_title; }
    /// The BES Agent mailbox's name.
    const std::string& Name() const { return m_name; }
    /// What lstServers shows.
    std::vector<std::string> Servers() const;
    bool CanRefresh() const { return !m_address.empty(); }
    /// Lets the person pick another mailbox and reads its servers.
    void Pick(AgentSession& session);
    void Refresh(AgentSession& session);
    /// As BesSqlForm::Save.
    std::string Save(AgentSession& session);
    const EntryID& saved() const { return m_saved; }

    PushServerChoice push;
    bool changed = false;

private:
    void forgetMailbox();
    void write(RDOMessage& record) const;

    EntryID m_id;
    EntryID m_saved;
    std::string m_title = "BES Connector - Mailbox ";
    std::string m_name, m_address, m_connection;
    std::vector<std::string> m_bes; // servers of the mailbox, as the record keeps them
    std::vector<std::string> m_mds;
};

} // namespace kr
