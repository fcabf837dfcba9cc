#include "handhelds/BesSqlForm.h"

#include "core/DatabaseWait.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basCxnString.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kInitiatorKey = "Connector.MDS.PushInitiator";

/// The connection string in a box: a part a line.
std::string inLines(std::string_view text) { return ReplaceAll(MaskPassword(text), ";", "\r\n  "); }

} // namespace

bool BesSqlForm::Load(AgentSession& session, const EntryID& connector) {
    m_id = connector;
    if (connector.empty())
        return true;
    const RDOMessagePtr record = OpenConnector(session, connector);
    if (!record)
        return false;
    connection = ParseBesConnection(KeyText(*record, "Connector.CxnString"));
    if (std::string server = KeyText(*record, "Connector.DataSource"); !server.empty())
        connection.dataSource = std::move(server);
    if (std::string catalog = KeyText(*record, "Connector.Catalog"); !catalog.empty())
        connection.catalog = std::move(catalog);
    push.Load(*record);
    const std::string identity = KeyText(*record, kInitiatorKey);
    initiator = !identity.empty();
    const size_t colon = std::min(identity.find(':'), identity.size());
    principal = identity.substr(0, colon);
    credentials = identity.substr(std::min(colon + 1, identity.size()));
    m_title = "BES SQL Connector - " + record->Subject();
    m_canRefresh = true;
    return true;
}

std::string_view BesSqlForm::RefreshCaption() const {
    return m_id.empty() ? "&Load List..." : "&Refresh List...";
}

std::string BesSqlForm::Subject() const {
    return Trim(connection.dataSource) + "[" + Trim(connection.catalog) + "]";
}

bool BesSqlForm::Test(AgentSession& session) {
    const std::string text = BuildBesConnection(connection);
    bool cancelled = false;
    std::string error;
    const bool open = Trap(
        [&] {
            const WaitCursor cursor(session.ui());
            const DatabaseWait wait(session, "Testing the connection");
            return session.platform.database.Open(text, wait.limits()) != nullptr;
        },
        [&](const Trapped& trapped) {
            cancelled = trapped.number == DB_E_CANCELED;
            error = DatabaseErrorText(trapped.number, trapped.description);
        });
    if (open) {
        session.log("Successfully tested connection string: " + MaskPassword(text));
        session.ui().MsgBox("Successfully connected using " + inLines(text), BoxIcon::Information);
        m_title = "BES Connector - " + Subject();
        m_canRefresh = true;
        return true;
    }
    session.log("Failure for connection string: " + MaskPassword(text) + "; error: " + error);
    // whoever cancelled knows
    if (!cancelled)
        session.ui().MsgBox("Failed to connect using " + inLines(text), BoxIcon::Stop);
    return false;
}

void BesSqlForm::Refresh(AgentSession& session) {
    const std::string text = BuildBesConnection(connection);
    const std::string shown = MaskPassword(text);
    std::optional<Trapped> error;
    BesServers servers;
    const bool open = Trap(
        [&] {
            const WaitCursor cursor(session.ui());
            const DatabaseWait wait(session, "Reading the BES servers");
            const auto database = session.platform.database.Open(text, wait.limits());
            if (!database)
                return false;
            servers.bes = GetBESServers(session, *database, text, wait.limits());
            servers.mds = GetPushServerList(session, database.get(), text, wait.limits());
            return true;
        },
        [&](const Trapped& trapped) { error = trapped; });
    if (error) {
        session.log("Connector Refresh error during connection open (" + shown +
                    "): " + error->text());
        if (error->number == DB_E_CANCELED)
            return; // whoever cancelled knows
        session.ui().MsgBox("Unable to refresh data becase there was an error connecting to the "
                            "SQL database!",
                            BoxIcon::Stop);
        return;
    }
    if (!open) {
        session.log("Connector Refresh failed: unable to open connection(" + shown + ")");
        session.ui().MsgBox("Unable to refresh data because the connection to the SQL database "
                            "failed to open!",
                            BoxIcon::Stop);
        return;
    }
    changed = true;
    if (servers.mds.empty())
        session.log("cmdRefresh: no server list returned for " + shown + " ");
    else
        push.Fill(servers.mds);
    m_servers = std::move(servers);
}

std::string BesSqlForm::missing(Focus& focus) const {
    const auto refuse = [&focus](Focus field, std::string text) {
        focus = field;
        return text;
    };
    if (Trim(connection.dataSource).empty())
        return refuse(Focus::DataSource, "You must supply the server name or IP address!");
    if (Trim(connection.catalog).empty())
        return refuse(Focus::Catalog, "You must supply the name of the database!");
    // the identity is deliberately not looked at with SQL Server authentication
    if (connection.ownLogin && Trim(connection.userID).empty())
        return refuse(Focus::UserID, "You must supply the User ID for SQL Server authentication!");
    if (connection.ownLogin && connection.password.empty())
        return refuse(Focus::Password,
                      "You must supply the Password for SQL Server authentication!");
    if (!connection.ownLogin && initiator && Trim(principal).empty())
        return refuse(Focus::Principal,
                      "You must supply the Principal Name for the Push Initiator identity!");
    focus = Focus::None;
    return {};
}

void BesSqlForm::write(RDOMessage& record) const {
    record.SetSubject(Subject());
    SetKey(record, "Connector.Type", std::string(kSqlConnector));
    SetKey(record, "Connector.CxnString", BuildBesConnection(connection));
    SetKey(record, "Connector.DataSource", connection.dataSource);
    SetKey(record, "Connector.Catalog", connection.catalog);
    push.Store(record);
    if (m_servers && !m_servers->bes.empty())
        SetKey(record, "Connector.BES.Servers", m_servers->bes);
    if (m_servers && !m_servers->mds.empty())
        SetKey(record, "Connector.MDS.Servers", m_servers->mds);
    SetKey(record, kInitiatorKey,
           initiator ? Value(Trim(principal) + ":" + Trim(credentials)) : Value());
}

std::string BesSqlForm::Save(AgentSession& session, Focus& focus) {
    if (std::string refusal = missing(focus); !refusal.empty() || !changed)
        return refusal;
    const auto exists = ConnectorExists(session, Subject(), m_id);
    if (!exists)
        return std::string(kConnectorNotSaved);
    if (*exists) {
        focus = Focus::DataSource;
        return "This BES connector has already been configured!";
    }
    BesServers servers;
    if (m_id.empty() && ReadBesDatabase(session, BuildBesConnection(connection), servers))
        m_servers = std::move(servers);
    const EntryID id = SaveConnector(session, m_id, [this](RDOMessage& record) { write(record); });
    if (id.empty())
        return std::string(kConnectorNotSaved);
    m_saved = m_id = id;
    changed = false;
    return {};
}

} // namespace kr
