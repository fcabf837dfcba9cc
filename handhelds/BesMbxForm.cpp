#include "handhelds/BesMbxForm.h"

#include "console/basPickers.h"
#include "core/Text.h"
#include "core/basStore.h"
#include "handhelds/basBES.h"

namespace kr {

bool BesMbxForm::Load(AgentSession& session, const EntryID& connector) {
    m_id = connector;
    if (connector.empty())
        return true;
    const RDOMessagePtr record = OpenConnector(session, connector);
    if (!record)
        return false;
    m_name = KeyText(*record, "Connector.Mbx.Name");
    m_address = KeyText(*record, "Connector.Mbx.Address");
    m_connection = KeyText(*record, "Connector.CxnString");
    const Value bes = GetKey(*record, "Connector.BES.Servers");
    if (const auto* servers = bes.get<Strings>())
        m_bes = *servers;
    push.Load(*record);
    m_title = "BES Mailbox Connector - " + record->Subject();
    return true;
}

std::vector<std::string> BesMbxForm::Servers() const {
    std::vector<std::string> names;
    for (const std::string& server : m_bes)
        names.push_back(BesName(server));
    return names;
}

void BesMbxForm::forgetMailbox() {
    m_name.clear();
    m_address.clear();
}

void BesMbxForm::Pick(AgentSession& session) {
    RecipientList list;
    if (!PickRecipients(session, "BES Agent Mailbox", list, true, "Agent") || list.Count() == 0 ||
        list.names == m_name)
        return;
    m_name = list.names;
    m_address = list.addresses;
    Refresh(session);
}

void BesMbxForm::Refresh(AgentSession& session) {
    changed = true;
    const std::string address = m_address;
    std::string connection;
    const auto servers = [&] {
        const WaitCursor cursor(session.ui());
        return GetServersForMbxConnector(session, address, connection);
    }();
    if (!servers) {
        forgetMailbox();
        session.ui().MsgBox("There was a problem retrieving data from " + address, BoxIcon::Stop);
        return;
    }
    if (servers->empty() || servers->front().empty()) {
        forgetMailbox();
        m_bes.clear();
        session.ui().MsgBox(address + " does not appear to have BES data", BoxIcon::Exclamation);
        return;
    }
    m_bes = *servers;
    m_connection = connection;
    m_mds = ReadMbxCxnString(session, connection, address);
    push.Fill(m_mds);
}

void BesMbxForm::write(RDOMessage& record) const {
    record.SetSubject(m_name + "[Mbx]");
    SetKey(record, "Connector.Type", std::string(kMbxConnector));
    SetKey(record, "Connector.Mbx.Name", m_name);
    SetKey(record, "Connector.Mbx.Address", m_address);
    if (!m_bes.empty())
        SetKey(record, "Connector.BES.Servers", m_bes);
    if (!m_mds.empty())
        SetKey(record, "Connector.MDS.Servers", m_mds);
    SetKey(record, "Connector.CxnString", m_connection);
    push.Store(record);
}

std::string BesMbxForm::Save(AgentSession& session) {
    if (Trim(m_name).empty())
        return "You must select the BES Agent mailbox!";
    if (!changed)
        return {};
    const auto exists = ConnectorExists(session, m_name + "[Mbx]", m_id);
    if (!exists)
        return std::string(kConnectorNotSaved);
    if (*exists)
        return "This BES connector has already been configured!";
    const EntryID id = SaveConnector(session, m_id, [this](RDOMessage& record) { write(record); });
    if (id.empty())
        return std::string(kConnectorNotSaved);
    m_saved = m_id = id;
    changed = false;
    return {};
}

} // namespace kr
