#include "contacts/basActivation.h"

#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

bool ChangeActivation(AgentSession& session, const EntryID& record, std::string_view name,
                      bool activate) {
    const std::string who(name);
    const std::string question = (activate ? "Activate " : "Inactivate ") + who + "?";
    if (session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return false;
    return Trap(
        [&] {
            const RDOMessagePtr message = GetMessage(session, record);
            if (!message)
                throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
            SetKey(*message, kInactiveKey, !activate);
            message->Save();
            return true;
        },
        [&](const Trapped& error) {
            session.log("ChangeActivation error " + std::to_string(error.number) + " " + who + ":" +
                        error.description);
            session.ui().MsgBox("Errors were encountered " +
                                    std::string(activate ? "activating " : "inactivating ") + who +
                                    ". See the KR-Admin.log for details",
                                BoxIcon::Stop);
        });
}

} // namespace kr
