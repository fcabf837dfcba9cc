#include "push/CMsgPDL.h"

#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kPdlKey = "PDL";
constexpr std::string_view kPinKey = "PDL.PIN";
constexpr std::string_view kSmsKey = "PDL.SMS";
constexpr std::string_view kEmailKey = "PDL.Email";

void requireList(const RDOMessagePtr& list) {
    if (!list)
        throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
}

void tellUnsaved(AgentSession& session, const std::string& name, const Trapped& error) {
    session.log("Error saving PDL " + name + ": " + error.text());
    session.ui().MsgBox("Unable to save '" + name + "'!\r\nSee the KR-Admin.log for details",
                        BoxIcon::Stop);
}

} // namespace

bool CMsgPDL::Load(AgentSession& session) {
    return Trap(
        [&] {
            requireList(Message);
            m_name = Message->Subject();
            // deliberately the one key speaks for all three: without it the others don't count
            const Value pin = RequireKey(*Message, kPinKey);
            const bool stored = !pin.empty();
            PIN = !stored || pin.valueOr(false);
            SMS = stored && RequireKey(*Message, kSmsKey).valueOr(false);
            Email = stored && RequireKey(*Message, kEmailKey).valueOr(false);
            return true;
        },
        [&](const Trapped& error) {
            session.log("Error loading PDL " + m_name + ": " + error.text());
        });
}

bool CMsgPDL::Save(AgentSession& session) const {
    return Trap(
        [&] {
            requireList(Message);
            SetKey(*Message, kPinKey, PIN);
            SetKey(*Message, kSmsKey, SMS);
            SetKey(*Message, kEmailKey, Email);
            Message->Save();
            return true;
        },
        [&](const Trapped& error) { tellUnsaved(session, m_name, error); });
}

bool SetPDL(AgentSession& session, const EntryID& id, std::string_view name, bool isPdl) {
    return Trap(
        [&] {
            const RDOMessagePtr list = GetMessage(session, id);
            requireList(list);
            SetKey(*list, kPdlKey, isPdl);
            list->Save();
            return true;
        },
        [&](const Trapped& error) { tellUnsaved(session, std::string(name), error); });
}

} // namespace kr
