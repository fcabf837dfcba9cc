#include "diagnostics/basProbes.h"

#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"

namespace kr {

std::string AuditPackages(AgentSession& session) {
    std::string text = "COM+ Package Audit";
    for (const EntryID& id : GetHostMessages(session)) {
        const auto failed = [&](const std::string& reason) {
            session.log("AuditPackages:" + id.text() + " " + reason);
        };
        const auto host = GetMessage(session, id);
        if (!host) {
            failed("can't be opened");
            continue;
        }
        const auto section = Trap([&] { return "\n" + ReadPackage(session, host->Subject()); },
                                  [&](const Trapped& trapped) { failed(trapped.text()); });
        text += section;
        session.ui().DoEvents();
    }
    return text;
}

std::string ReadPackage(AgentSession& session, std::string_view) {
    session.log("ReadPackage:");
    return "Package not found";
}

} // namespace kr
