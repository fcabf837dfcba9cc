#include "contacts/basACDSSource.h"

#include "contacts/basACF.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kAcdsCxnKey = "ACF Cxn String";
constexpr std::string_view kAcdsQueryKey = "ACF Query";
constexpr std::string_view kAcdsDescriptionKey = "ACF Description";

RDOMessagePtr acdsMessage(AgentSession& session, const EntryID& id) {
    if (id.empty())
        return session.agentInfo ? session.agentInfo->Items()->Add(kAcfClass) : nullptr;
    return GetMessage(session, id);
}

} // namespace

std::optional<AcdsSource> ReadAcds(AgentSession& session, const EntryID& id) {
    const auto message = GetMessage(session, id);
    if (!message) {
        session.log("opening the data source failed: " + id.text());
        return {};
    }
    return AcdsSource{message->Subject(), KeyText(*message, kAcdsCxnKey),
                      KeyText(*message, kAcdsQueryKey), KeyText(*message, kAcdsDescriptionKey)};
}

EntryID SaveAcds(AgentSession& session, const EntryID& id, const AcdsSource& record) {
    std::string reason = "The record can't be opened.";
    const EntryID saved = Trap(
        [&]() -> EntryID {
            const auto message = acdsMessage(session, id);
            if (!message)
                return {};
            EnsureAcsGuid(session, *message, false);
            message->SetSubject(Trim(record.name));
            SetKey(*message, kAcdsCxnKey, record.cxnString);
            SetKey(*message, kAcdsQueryKey, record.query);
            // an empty description is written only over one that isn't
            if (!record.description.empty() || !KeyText(*message, kAcdsDescriptionKey).empty())
                SetKey(*message, kAcdsDescriptionKey, record.description);
            message->Save();
            return id.empty() ? message->ID() : id;
        },
        [&](const Trapped& trapped) { reason = trapped.text(); });
    if (!saved.empty())
        return saved;
    session.log("saving the data source " + Trim(record.name) + " failed: " + reason);
    session.ui().MsgBox("Unable to save this data source!\n" + reason, BoxIcon::Stop);
    return {};
}

} // namespace kr
