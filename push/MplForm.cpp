#include "push/MplForm.h"

#include "contacts/basExpand.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "push/Payload.h"

namespace kr {

bool MplForm::Load(AgentSession& session, const EntryID& listId) {
    m_id = listId;
    return Trap(
        [&] {
            const RDOMessagePtr list = GetMessage(session, listId);
            if (!list)
                throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
            name = list->Subject();
            payload = RequireKey(*list, "MPL.Payload").text();
            names = RequireKey(*list, "MPL.Target").text();
            addresses = RequireKey(*list, "MPL.Target.Email").text();
            return true;
        },
        [&](const Trapped& error) {
            session.log("frmMPL: " + error.text());
            session.ui().MsgBox("There is a problem accessing " +
                                    (name.empty() ? std::string("the list") : name),
                                BoxIcon::Exclamation);
        });
}

bool MplForm::Validate(AgentSession& session) {
    const std::string refusal = ValidatePayload(PayloadNamespace(session), payload);
    if (!refusal.empty())
        session.ui().MsgBox(refusal, BoxIcon::Stop);
    return refusal.empty();
}

void MplForm::TellValid(AgentSession& session) {
    if (Trim(payload).empty())
        session.ui().MsgBox("No payload to validate!", BoxIcon::Exclamation);
    else if (Validate(session))
        session.ui().MsgBox("Payload is valid!", BoxIcon::Information);
}

MplForm::Outcome MplForm::Save(AgentSession& session, Focus& focus) {
    const auto refused = [&](const std::string& text, Focus where) {
        focus = where;
        session.ui().MsgBox(text, BoxIcon::Exclamation);
        return Outcome::Refused;
    };
    focus = Focus::None;
    const std::string trimmed = Trim(name);
    if (trimmed.empty())
        return refused("You must provide a unique name for this Mandatory Push List", Focus::Name);
    if (!changed)
        return Outcome::Unchanged;
    if (MplNameInUse(session, m_id, trimmed))
        return refused("'" + trimmed + "' is already in use.\r\nPlease provide a different name",
                       Focus::Name);
    if (!Validate(session))
        return refused("You must supply a valid Payload for this list", Focus::Payload);
    if (SplitNonEmpty(addresses, ";").empty())
        return refused("You must select at least one name or distribution list as the Target",
                       Focus::Target);
    const bool saved = Trap(
        [&] {
            const RDOFolderPtr folder = m_id.empty() ? GetMplFolder(session) : nullptr;
            const RDOMessagePtr list =
                folder ? folder->Items()->Add(kMplClass) : GetMessage(session, m_id);
            if (!list)
                throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
            write(session, *list);
            m_id = list->ID();
            return true;
        },
        [&](const Trapped& error) {
            session.log("Error saving push list " + trimmed + ": " + error.text());
            session.ui().MsgBox("Unable to save '" + trimmed +
                                    "'!\r\nSee the KR-Admin.log for details",
                                BoxIcon::Stop);
        });
    changed = changed && !saved;
    return saved ? Outcome::Saved : Outcome::Failed;
}

void MplForm::write(AgentSession& session, RDOMessage& list) const {
    list.SetSubject(Trim(name));
    SetKey(list, "MPL.Target", names);
    SetKey(list, "MPL.Target.Email", addresses);
    SetKey(list, "MPL.Target.Count", int32_t{CountRecipients(session, addresses)});
    SetKey(list, "MPL.Payload", payload);
    list.Save();
}

MplForm::Outcome MplForm::SaveForPush(AgentSession& session, Focus& focus) {
    if (!Trim(name).empty())
        return Save(session, focus);
    focus = Focus::Name;
    session.ui().MsgBox("You must give the list a name before it can be pushed!",
                        BoxIcon::Exclamation);
    return Outcome::Refused;
}

Alert MplForm::alert() const { return {m_id, Trim(name), payload, addresses}; }

} // namespace kr
