#include "handhelds/forms/MakeHandheldForms.h"

#include "handhelds/forms/frmBesCxnMbx.h"
#include "handhelds/forms/frmBesCxnSQL.h"
#include "handhelds/forms/frmFindReg.h"
#include "handhelds/forms/frmRegDetail.h"

namespace kr {

namespace {

template <class Form>
HandheldForms::Edit editor(AgentSession& session, const std::function<QWidget*()>& parent) {
    return [&session, parent](const EntryID& connector) {
        Form form(session, connector, parent());
        if (form.loaded())
            form.exec();
        return form.saved();
    };
}

} // namespace

HandheldForms MakeHandheldForms(AgentSession& session, const std::function<QWidget*()>& parent) {
    HandheldForms forms;
    forms.frmBesCxnSQL = editor<frmBesCxnSQL>(session, parent);
    forms.frmBesCxnMbx = editor<frmBesCxnMbx>(session, parent);
    forms.frmRegDetail = [&session, parent](const EntryID& handheld) {
        frmRegDetail(session, handheld, parent()).exec();
    };
    forms.frmFindReg = [&session, parent](const HandheldForms::GoTo& goTo) {
        frmFindReg(session, goTo, parent()).exec();
    };
    return forms;
}

} // namespace kr
