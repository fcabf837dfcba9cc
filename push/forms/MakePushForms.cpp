#include "push/forms/MakePushForms.h"

#include "push/forms/frmAddPushUser.h"
#include "push/forms/frmBrowserChannel.h"
#include "push/forms/frmBrowserMessage.h"
#include "push/forms/frmMPL.h"
#include "push/forms/frmPDL.h"
#include "push/forms/frmPdlProps.h"
#include "push/forms/frmPushResult.h"
#include "push/forms/frmTarnProps.h"

namespace kr {

PushForms MakePushForms(AgentSession& session, TreeModel& tree,
                        const std::function<QWidget*()>& parent) {
    PushForms forms;
    forms.frmBrowserChannel = [&session, &tree, parent](const EntryID& list) {
        frmBrowserChannel form(session, tree, list, parent());
        form.exec();
        return form.saved();
    };
    forms.frmBrowserMessage = [&session, &tree, parent](const EntryID& list) {
        frmBrowserMessage form(session, tree, list, parent());
        form.exec();
        return form.saved();
    };
    forms.frmMPL = [&session, &tree, parent](const EntryID& list) {
        frmMPL form(session, tree, list, parent());
        if (form.readable())
            form.exec();
        return form.saved();
    };
    forms.frmTarnProps = [&session, parent] { frmTarnProps(session, parent()).exec(); };
    forms.frmPDL = [&session, parent](const EntryID& list) {
        frmPDL form(session, list, parent());
        form.exec();
        return form.saved();
    };
    forms.frmPdlProps = [&session, parent] { frmPdlProps(session, parent()).exec(); };
    forms.frmPushResult = [&session, parent](std::string_view icon, const PushForms::Work& work) {
        frmPushResult(session, icon, work, parent()).exec();
    };
    forms.frmAddPushUser = [&session, parent] {
        frmAddPushUser form(session, parent());
        form.exec();
        return form.chosen();
    };
    return forms;
}

} // namespace kr
