#include "contacts/forms/MakeContactForms.h"

#include "contacts/forms/Members.h"
#include "contacts/forms/frmACDS.h"
#include "contacts/forms/frmACF.h"
#include "contacts/forms/frmACFMbx.h"
#include "contacts/forms/frmAccessListMC.h"
#include "contacts/forms/frmMCR.h"
#include "contacts/forms/frmMandatoryNote.h"
#include "contacts/forms/frmMandatoryNotesPF.h"
#include "contacts/forms/frmPrivateFieldsMC.h"
#include "contacts/forms/frmQueryResult.h"
#include "contacts/forms/frmRegMCL.h"
#include "contacts/forms/frmRegMCLPf.h"
#include "contacts/forms/frmRegMclACDS.h"
#include "contacts/forms/frmRegMclACF.h"

namespace kr {

namespace {

using Parent = std::function<QWidget*()>;

/// Shows a dialog of one record; gives the id of what it saved.
template <class Form, class... Args>
EntryID edit(const Parent& parent, AgentSession& session, Args&&... args) {
    Form form(session, std::forward<Args>(args)..., parent());
    form.exec();
    return form.saved();
}

template <class Form>
ContactForms::Edit editor(AgentSession& session, const Parent& parent) {
    return [&session, parent](const EntryID& id) { return edit<Form>(parent, session, id); };
}

/// The same for a dialog that looks at the tree of the sources.
template <class Form>
ContactForms::Edit editor(AgentSession& session, TreeModel& tree, const Parent& parent) {
    return [&session, &tree, parent](const EntryID& id) {
        return edit<Form>(parent, session, tree, id);
    };
}

/// The same for a list on a source; a record that there is finds its source by itself.
template <class Form>
ContactForms::Edit linkedEditor(AgentSession& session, const Parent& parent) {
    return
        [&session, parent](const EntryID& id) { return edit<Form>(parent, session, id, nullptr); };
}

template <class Form>
std::function<EntryID(const MclSource&)> newList(AgentSession& session, const Parent& parent) {
    return [&session, parent](const MclSource& source) {
        return edit<Form>(parent, session, EntryID(), &source);
    };
}

/// A dialog of chosen contacts; true when it wrote something.
template <class Form>
std::function<bool(const std::string&, const std::string&)> contactsForm(AgentSession& session,
                                                                         const Parent& parent) {
    return [&session, parent](const std::string& contacts, const std::string& name) {
        Form form(session, contacts, name, parent());
        return form.exec() == QDialog::Accepted;
    };
}

} // namespace

ContactForms MakeContactForms(AgentSession& session, TreeModel& tree, const Parent& parent) {
    ContactForms forms;
    forms.frmMCR = editor<frmMCR>(session, tree, parent);
    forms.frmACF = editor<frmACF>(session, tree, parent);
    forms.frmACFMbx = editor<frmACFMbx>(session, tree, parent);
    forms.frmACDS = editor<frmACDS>(session, parent);
    forms.frmRegMCL = editor<frmRegMCL>(session, parent);
    forms.frmRegMCLPf = editor<frmRegMCLPf>(session, parent);
    forms.frmRegMclACF = linkedEditor<frmRegMclACF>(session, parent);
    forms.frmRegMclACDS = linkedEditor<frmRegMclACDS>(session, parent);
    forms.frmMandatoryNote = editor<frmMandatoryNote>(session, parent);
    forms.frmMandatoryNotesPF = editor<frmMandatoryNotesPF>(session, parent);
    forms.newMclACF = newList<frmRegMclACF>(session, parent);
    forms.newMclACDS = newList<frmRegMclACDS>(session, parent);
    forms.frmPrivateFieldsMC = contactsForm<frmPrivateFieldsMC>(session, parent);
    forms.frmAccessListMC = contactsForm<frmAccessListMC>(session, parent);
    forms.showMembers = [&session, parent](std::string_view title, const std::string& addresses) {
        ShowMembers(session, title, addresses, parent());
    };
    forms.showQueryResult = [&session, parent](const QueryToShow& query) {
        ShowQueryResult(session, query, parent());
    };
    return forms;
}

} // namespace kr
