#include "push/PdlForm.h"

#include "contacts/basExpand.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kSourceTexts[] = {"Source: Mandatory Contact List",
                                             "Source: Mandatory Contact Folder",
                                             "Source: Mandatory Contact Data Source"};
constexpr std::string_view kNoProtocols =
    "This DL has no communication protocols configured!\r\nIt cannot be used to send "
    "messages!\r\n\r\nAre you sure you want to save these changes?";
constexpr std::string_view kPushKey = "EPS.PushPINDL";
constexpr std::string_view kUrlKey = "TARN.URL";

/// The protocols in the order of PdlProtocol, which is that of the columns behind the name.
constexpr bool CMsgPDL::*kProtocols[] = {&CMsgPDL::PIN, &CMsgPDL::SMS, &CMsgPDL::Email};

RDOMessagePtr requireAgent(AgentSession& session) {
    RDOMessagePtr agent = GetAgentMessage(session);
    if (!agent)
        throw PlatformError(MAPI_E_NOT_FOUND, "the agent message is not there");
    return agent;
}

} // namespace

bool PdlForm::Load(AgentSession& session, const EntryID& list) {
    m_pdl.Message = GetMessage(session, list);
    sources.SetColumns(
        {{"Name", "txtname"}, {"PIN", "txtpin"}, {"Mobile", "txtmobile"}, {"E-mail", "txtemail"}});
    targets.SetColumns({{"Name", "txtname"}, {"E-mail", "txtemail"}});
    if (!m_pdl.Load(session))
        return false;
    m_name = TrapSilently([&] { return m_pdl.Message->Subject(); });
    m_source = PdlSourceOf(session, *m_pdl.Message);
    return true;
}

void PdlForm::LoadLists(AgentSession& session, const PdlStop& stop) {
    if (!m_pdl.Message)
        return;
    const PdlContacts contacts = ReadPdlContacts(session, *m_pdl.Message, stop);
    if (stop())
        return;
    if (!contacts.failure.empty())
        m_failure = PdlFailureText(session, m_pdl, contacts);
    m_pinsKnown = contacts.pinsKnown;
    std::vector<ListRow> rows;
    for (; !contacts.table->EOF_(); contacts.table->MoveNext()) {
        ListRow& row = rows.emplace_back();
        row.icon = "imgUser";
        row.texts = PdlTexts(*contacts.table);
        row.ghosted = !reached(row);
    }
    sources.AddAll(std::move(rows));
    sources.Sort(0, SortOrder::Ascending);
    loadTargets(session, stop);
}

void PdlForm::loadTargets(AgentSession& session, const PdlStop& stop) {
    const auto add = [](std::vector<ListRow>& rows, std::string_view icon, std::string name,
                        std::string address) {
        ListRow& row = rows.emplace_back();
        row.icon = icon;
        row.texts = {std::move(name), std::move(address)};
    };
    std::vector<ListRow> rows;
    Trap(
        [&] {
            RDOMessage& mcl = *m_pdl.Message;
            if (RequireKey(mcl, "MCL PF").valueOr(false))
                add(rows, "imgFolder", RequireKey(mcl, "MCL Target").text(), "");
            else
                ExpandMembers(
                    session, RequireKey(mcl, "MCL Target Email").text(),
                    [&](const Member& member) {
                        add(rows, "imgUser", member.name, member.address);
                    },
                    stop);
        },
        [&](const Trapped& error) {
            session.log("frmPDL: " + error.text());
            rows.clear(); // a part would pass for all
            m_targetFailure = "The targets can't be read: " + error.description;
        });
    targets.AddAll(std::move(rows));
    targets.Sort(0, SortOrder::Ascending);
}

std::string_view PdlForm::SourceText() const { return kSourceTexts[static_cast<size_t>(m_source)]; }

bool PdlForm::IsEnabled(PdlProtocol protocol) const {
    return m_pdl.*kProtocols[static_cast<size_t>(protocol)];
}

void PdlForm::Enable(PdlProtocol protocol, bool enable) {
    bool& enabled = m_pdl.*kProtocols[static_cast<size_t>(protocol)];
    if (enabled == enable)
        return;
    enabled = enable;
    m_changed = true;
    ghost();
}

bool PdlForm::reached(const ListRow& row) const {
    for (size_t i = 0; i < std::size(kProtocols); ++i)
        if (m_pdl.*kProtocols[i] && !row.texts[i + 1].empty())
            return true;
    return false;
}

void PdlForm::ghost() {
    for (size_t i = 0; i < sources.Count(); ++i) {
        const ListRow& row = sources.At(i);
        if (row.ghosted != reached(row))
            continue;
        ListRow changed = row;
        changed.ghosted = !row.ghosted;
        sources.Change(i, std::move(changed));
    }
}

std::string PdlForm::SourceCount() const {
    if (!m_failure.empty())
        return m_failure;
    if (IsEnabled(PdlProtocol::PIN) && !m_pinsKnown)
        return std::string(kNoPins);
    size_t count = 0;
    for (size_t i = 0; i < sources.Count(); ++i)
        count += sources.At(i).ghosted ? 0 : 1;
    return "DL includes " + std::to_string(count) + " of " + std::to_string(sources.Count()) +
           " source contacts";
}

std::string PdlForm::TargetCount() const {
    if (!m_targetFailure.empty())
        return m_targetFailure;
    return "DL is available to " + std::to_string(targets.Count()) + " targets";
}

PdlForm::Outcome PdlForm::Save(AgentSession& session) {
    if (!m_changed)
        return Outcome::Unchanged;
    if (m_pdl.silent() &&
        session.ui().MsgBox(kNoProtocols, BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return Outcome::Refused;
    return m_pdl.Save(session) ? Outcome::Saved : Outcome::Failed;
}

bool ReadPdlSettings(AgentSession& session, PdlSettings& settings) {
    return Trap(
        [&] {
            const RDOMessagePtr agent = requireAgent(session);
            settings.push = RequireKey(*agent, kPushKey).valueOr(false);
            settings.url = RequireKey(*agent, kUrlKey).text();
            return true;
        },
        [&](const Trapped& error) { session.log("frmPdlProps: " + error.text()); });
}

bool SavePdlSettings(AgentSession& session, const PdlSettings& settings, bool newUrl) {
    if (newUrl && !settings.url.empty())
        session.log("Saving new TARN URL: " + settings.url);
    return Trap(
        [&] {
            const RDOMessagePtr agent = requireAgent(session);
            SetKey(*agent, kPushKey, settings.push);
            SetKey(*agent, kUrlKey, settings.url);
            agent->Save();
            return true;
        },
        [&](const Trapped& error) {
            session.log("Error saving changes to agent message " + std::to_string(error.number));
        });
}

} // namespace kr
