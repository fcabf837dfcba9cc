#pragma once

#include "contacts/ContactForms.h"
#include "contacts/forms/RegMclForm.h"

namespace kr {

/// What the dialogs of lists on a contact source share: the source's record, one target list, and
/// the box that takes in contacts without an e-mail address.
class RegMclLinkedForm : public RegMclForm {
protected:
    /// `source` begins a new list; `form` names the dialog in the log.
    RegMclLinkedForm(AgentSession& session, const EntryID& id, const MclSource* source,
                     std::string_view form, QWidget* parent);

    void AddLinked(const RecipientBox::Controls& target, QCheckBox* noSmtp);
    /// The source's record; nullptr when it couldn't be found.
    RDOMessage* Source() const { return m_source.get(); }
    bool IsNew() const { return id().empty(); }
    bool NoSmtp() const { return m_noSmtp->isChecked(); }

    bool Complete() override;
    MclKeys Keys() override;

private:
    void findSource(const MclSource* source, std::string_view form);

    std::string m_guid;
    RDOMessagePtr m_source;
    RecipientBox* m_target = nullptr;
    QWidget* m_select = nullptr;
    QCheckBox* m_noSmtp = nullptr;
};

} // namespace kr
