#include "eps/EpsNow.h"

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"

namespace kr {

namespace {

struct Flag {
    bool EpsNow::*field;
    std::string_view key;
    bool negated = false;
};
constexpr Flag kFlags[] = {
    {&EpsNow::useCachedData, "EPS.OnDemand.UseCachedData"},
    {&EpsNow::fullUpdate, "EPS.OnDemand.FullUpdate"},
    {&EpsNow::useTargetList, "EPS.OnDemand.UseTargetList"},
    {&EpsNow::sendSummary, "EPS.OnDemand.NoSummary", true},
    {&EpsNow::mergeEmailDupes, "EPS.OnDemand.MergeEmailDupes"},
    {&EpsNow::reportOnly, "EPS.ReportOnly"},
    {&EpsNow::reportToAdmin, "EPS.ReportOnly.Admin"},
    {&EpsNow::reportToUser, "EPS.ReportOnly.User"},
};

/// Texts: empty without an override, else "1" or "0".
struct Override {
    std::optional<bool> EpsNow::*field;
    std::string_view key;
};
constexpr Override kOverrides[] = {
    {&EpsNow::removeObsolete, "EPS.OnDemand.RemoveObsolete"},
    {&EpsNow::sendUpdates, "EPS.OnDemand.SendUpdates"},
};

constexpr std::string_view kTargetList = "EPS.OnDemand.TargetList";
constexpr std::string_view kTargetNames = "EPS.OnDemand.TargetNames";

constexpr std::string_view kNoTargets = "You must select at least on address when choosing \n"
                                        "the option to target only specific mailboxes!";

} // namespace

bool EpsNow::Load(AgentSession& session, const EntryID& host) {
    *this = {};
    const RDOMessagePtr record = GetMessage(session, host);
    if (!record) {
        session.log("frmEPSNow: the host message can't be opened: " + host.text());
        session.ui().MsgBox("The server's record can't be opened.", BoxIcon::Stop);
        return false;
    }
    for (const Flag& flag : kFlags)
        this->*flag.field = KeyFlag(*record, flag.key) != flag.negated;
    for (const Override& one : kOverrides)
        if (const std::string text = KeyText(*record, one.key); !text.empty())
            this->*one.field = text == "1";
    targetList = KeyText(*record, kTargetList);
    targetNames = KeyText(*record, kTargetNames);
    return true;
}

bool EpsNow::Save(AgentSession& session, const EntryID& host) const {
    return Trap(
        [&] {
            const RDOMessagePtr record =
                session.rdo ? session.rdo->GetMessageFromID(host, {}) : nullptr;
            if (!record)
                throw PlatformError(MAPI_E_NOT_FOUND, "The server's record can't be opened.");
            for (const Flag& flag : kFlags)
                SetKey(*record, flag.key, this->*flag.field != flag.negated);
            for (const Override& one : kOverrides) {
                const std::optional<bool>& value = this->*one.field;
                SetKey(*record, one.key, !value ? "" : *value ? "1" : "0");
            }
            SetKey(*record, kTargetList, targetList);
            SetKey(*record, kTargetNames, targetNames);
            record->Save();
            return true;
        },
        [&](const Trapped& trapped) {
            session.log("frmEPSNow: the settings can't be saved: " + trapped.text());
            session.ui().MsgBox("The settings of this run can't be saved.\n" + trapped.description,
                                BoxIcon::Stop);
        });
}

bool EpsNow::LacksTargets() const {
    return useTargetList && SplitNonEmpty(targetList, ";").empty();
}

EpsNowResult RunEpsNow(AgentSession& session, const EntryID& host, bool special,
                       const EpsNow& settings) {
    if (!special)
        return {kCodeEPSNow, false};
    if (settings.LacksTargets()) {
        session.ui().MsgBox(kNoTargets, BoxIcon::Exclamation);
        return {0, true};
    }
    return {settings.Save(session, host) ? kCodeEPSSpecial : 0, false};
}

} // namespace kr
