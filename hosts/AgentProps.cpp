// AgentProps: from the agent message to the fields and back.
#include "hosts/AgentProps.h"

#include <algorithm>
#include <variant>

#include "core/Settings.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kDefaultExtensions =
    "ade;adp;asx;bas;chm;cmd;com;cpl;crt;exe;hlp;hta;inf;ins;isp;js;jse;lnk;mda;mdb;mde;mdz;msc;"
    "msi;msp;mst;pcd;pif;scf;scr;sct;shb;shs;vb;vbe;vbs;wsc;wsf;wsh";

using FieldRef = std::variant<int*, bool*, std::string*, Strings*, Time*, FaxSyntax*>;

enum class KeyRule {
    Plain,
    /// Taken only when numeric, also from a text.
    Numeric,
    /// An unset key stays unset until somebody changes its field.
    KeepsUnset
};

/// One row for each key: where its value lives.
struct FieldRow {
    std::string_view key;
    FieldRef (*field)(AgentFields&);
    KeyRule rule = KeyRule::Plain;
};

constexpr FieldRow kRows[] = {
    {"DeleteDelay", [](AgentFields& f) -> FieldRef { return &f.deleteDelay; }},
    {"CleanSender", [](AgentFields& f) -> FieldRef { return &f.cleanSender; }},
    {"MaxAttach", [](AgentFields& f) -> FieldRef { return &f.maxAttach; }},
    {"MaxList", [](AgentFields& f) -> FieldRef { return &f.maxList; }},
    {"BrowserWait", [](AgentFields& f) -> FieldRef { return &f.browserWait; }},
    {"StaleDate", [](AgentFields& f) -> FieldRef { return &f.staleDate; }, KeyRule::Numeric},
    {"Reporting", [](AgentFields& f) -> FieldRef { return &f.reporting; }, KeyRule::KeepsUnset},
    {"AdminNames", [](AgentFields& f) -> FieldRef { return &f.admins.names; }},
    {"AdminEmail", [](AgentFields& f) -> FieldRef { return &f.admins.addresses; }},
    {"ReportNames", [](AgentFields& f) -> FieldRef { return &f.reporters.names; }},
    {"ReportEmail", [](AgentFields& f) -> FieldRef { return &f.reporters.addresses; }},
    {"SenderDomains", [](AgentFields& f) -> FieldRef { return &f.senderDomains; }},
    {"RefuseDomains", [](AgentFields& f) -> FieldRef { return &f.refuseDomains; }},
    {"ExcludeExt", [](AgentFields& f) -> FieldRef { return &f.excludeExt; }},
    {"BPE.TrustedDomains", [](AgentFields& f) -> FieldRef { return &f.trustedDomains; }},
    {"Fax", [](AgentFields& f) -> FieldRef { return &f.fax; }},
    {"FaxSyntax", [](AgentFields& f) -> FieldRef { return &f.faxSyntax; }},
    {"FaxSendAs", [](AgentFields& f) -> FieldRef { return &f.faxSendAs; }},
    {"DailyBackup.Disable", [](AgentFields& f) -> FieldRef { return &f.backupDisabled; }},
    {"DailyBackup.Time", [](AgentFields& f) -> FieldRef { return &f.backupTime; }},
    {"CustomAttribute.PIN", [](AgentFields& f) -> FieldRef { return &f.custom[0]; }},
    {"CustomAttribute.User1", [](AgentFields& f) -> FieldRef { return &f.custom[1]; }},
    {"CustomAttribute.User2", [](AgentFields& f) -> FieldRef { return &f.custom[2]; }},
    {"CustomAttribute.User3", [](AgentFields& f) -> FieldRef { return &f.custom[3]; }},
    {"CustomAttribute.User4", [](AgentFields& f) -> FieldRef { return &f.custom[4]; }},
};

/// Takes a value that is there into its field. A wrong type reads as 0, "" or False; where the
/// result says nothing, the default stays.
struct Taker {
    const Value& value;
    KeyRule rule;
    const Clock& clock;

    void operator()(int* field) const {
        if (rule != KeyRule::Numeric || value.is<int32_t>() || value.is<int16_t>())
            *field = value.integerOr(0);
        else if (const auto number = ParseNumber(value.text()))
            *field = LimitNumber(value.text(), kStaleLimits);
    }
    void operator()(bool* field) const { *field = value.valueOr(false); }
    void operator()(std::string* field) const { *field = value.text(); }
    /// Deliberately also where somebody has emptied the list: the blocked file types come back.
    void operator()(Strings* field) const {
        if (Strings entries = SplitNonEmpty(value.text(), ";"); !entries.empty())
            *field = std::move(entries);
    }
    void operator()(Time* field) const {
        if (const Time* utc = value.get<Time>())
            *field = UTCToLocal(*utc, clock);
    }
    void operator()(FaxSyntax* field) const {
        const std::string text = value.text();
        const size_t end = std::min(text.find(';'), text.size());
        if (end > 0)
            field->syntax = text.substr(0, end);
        if (end + 1 < text.size())
            field->relay = text.substr(end + 1);
    }
};

struct Giver {
    const Clock& clock;

    Value operator()(const int* field) const { return int32_t{*field}; }
    Value operator()(const bool* field) const { return *field; }
    Value operator()(const std::string* field) const { return *field; }
    Value operator()(const Strings* field) const { return Join(*field, ";"); }
    Value operator()(const Time* field) const { return LocalToUTC(*field, clock); }
    Value operator()(const FaxSyntax* field) const { return field->syntax + ";" + field->relay; }
};

AgentFields defaultFields(AgentSession& session) {
    const Clock& clock = session.platform.clock;
    AgentFields fields;
    fields.excludeExt = Split(kDefaultExtensions, ";");
    fields.faxSyntax.relay =
        TrapSilently([&] { return Trim(MachineValue(session.platform.registry, kFaxRelayValue)); });
    fields.backupTime = std::chrono::floor<std::chrono::days>(UTCToLocal(clock.now(), clock));
    return fields;
}

} // namespace

void LimitFields(AgentFields& fields) {
    const auto limit = [](int& number, const NumberLimits& limits) {
        number = std::clamp(number, limits.lowest, limits.highest);
    };
    limit(fields.deleteDelay, kDeleteLimits);
    if (fields.maxAttach < kAttachLimits.lowest)
        fields.maxAttach = kAttachDefault;
    limit(fields.maxAttach, kAttachLimits);
    limit(fields.maxList, ListLimits(fields.maxAttach));
    limit(fields.browserWait, kBrowserLimits);
    limit(fields.staleDate, kStaleLimits);
    if (fields.fax < kFaxNone || fields.fax > kFaxModem)
        fields.fax = kFaxNone;
}

AgentProps::AgentProps(AgentSession& session) : m_session(session) {}

void AgentProps::GetParameters() {
    fields = defaultFields(m_session);
    m_keeps.assign(std::size(kRows), true);
    dirty = false;
    if (const auto message = GetMessage(m_session, m_session.AgentMsgID))
        read(*message);
    else
        m_session.log("frmAgentProps: missing agent message");
    LimitFields(fields);
    m_stored = fields;
}

void AgentProps::read(RDOMessage& message) {
    const auto log = [&](const Trapped& trapped) {
        m_session.log("frmAgentProps: " + trapped.text());
    };
    m_session.log("frmAgentProps: GetParameters from " +
                  Trap([&] { return message.Subject(); }, log));
    for (size_t i = 0; i < std::size(kRows); ++i) {
        const FieldRow& row = kRows[i];
        Trap(
            [&] {
                const Value value = RequireKey(message, row.key);
                if (!value.empty())
                    std::visit(Taker{value, row.rule, m_session.platform.clock}, row.field(fields));
                m_keeps[i] = value.empty() && row.rule == KeyRule::KeepsUnset;
            },
            log);
    }
}

bool AgentProps::SetParameters() {
    LimitFields(fields);
    const auto refuse = [&](const std::string& reason) {
        m_session.ui().MsgBox("The agent's settings can't be saved.\n" + reason, BoxIcon::Stop);
    };
    const auto message = GetMessage(m_session, m_session.AgentMsgID);
    if (!message) {
        m_session.log("frmAgentProps: missing agent message");
        refuse("The agent message can't be opened.");
        return false;
    }
    return Trap(
        [&] {
            write(*message);
            message->Save();
            m_stored = fields;
            return true;
        },
        [&](const Trapped& trapped) {
            m_session.log("frmAgentProps: SetParameters " + trapped.text());
            refuse(trapped.description);
        });
}

void AgentProps::write(RDOMessage& message) {
    const Giver give{m_session.platform.clock};
    for (size_t i = 0; i < std::size(kRows); ++i) {
        const Value value = std::visit(give, kRows[i].field(fields));
        if (!m_keeps[i] || value != std::visit(give, kRows[i].field(m_stored)))
            SetKey(message, kRows[i].key, value);
    }
}

bool AgentProps::Apply() {
    if (!dirty)
        return true;
    if (!SetParameters())
        return false;
    dirty = false;
    SendServiceControl(m_session, "", kCodeAgentChanged);
    return true;
}

} // namespace kr
