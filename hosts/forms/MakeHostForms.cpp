#include "hosts/forms/MakeHostForms.h"

#include "hosts/forms/frmAgentProps.h"
#include "hosts/forms/frmHost.h"
#include "hosts/forms/frmServiceStatus.h"
#include "hosts/forms/frmTasks.h"

namespace kr {

HostForms MakeHostForms(AgentSession& session, const std::function<QWidget*()>& parent) {
    HostForms forms;
    forms.frmHost = [&session, parent](const EntryID& host) {
        frmHost form(session, host, parent());
        if (form.loaded())
            form.exec();
        return form.saved();
    };
    forms.frmTasks = [&session, parent](const EntryID& host, const std::string& name,
                                        std::function<bool()> running,
                                        std::function<void()> refreshRow) {
        frmTasks(session, host, name, std::move(running), std::move(refreshRow), parent()).exec();
    };
    forms.frmServiceStatus = [&session, parent](const std::string& machine, SvcState target,
                                                const std::string& caption) {
        frmServiceStatus(session, machine, target, caption, parent()).exec();
    };
    forms.frmAgentProps = [&session, parent] { frmAgentProps(session, parent()).exec(); };
    return forms;
}

} // namespace kr
