#include "eps/forms/MakeEpsForms.h"

#include "eps/forms/frmEPSNow.h"

namespace kr {

std::function<int(const EntryID&)> MakeEPSNow(AgentSession& session,
                                              std::function<QWidget*()> parent) {
    return [&session, parent = std::move(parent)](const EntryID& host) {
        frmEPSNow form(session, host, parent());
        if (form.loaded())
            form.exec();
        return form.code();
    };
}

} // namespace kr
