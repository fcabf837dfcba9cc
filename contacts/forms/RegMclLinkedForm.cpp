#include "contacts/forms/RegMclLinkedForm.h"

#include "contacts/basMCL.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

RegMclLinkedForm::RegMclLinkedForm(AgentSession& session, const EntryID& id,
                                   const MclSource* source, std::string_view form, QWidget* parent)
    : RegMclForm(session, id, parent) {
    findSource(source, form);
}

void RegMclLinkedForm::findSource(const MclSource* source, std::string_view form) {
    if (IsNew() && source) {
        m_guid = source->guid;
        m_source = GetMessage(session(), source->acf);
    } else if (const RDOMessagePtr list = GetMessage(session(), id())) {
        m_guid = Trim(KeyText(*list, kMclGuidKey));
        m_source = GetMclSource(session(), *list);
    }
    const std::string tag = std::string(form) + ": ";
    if (m_source)
        session().log(tag + "using data from ACF message " +
                      TrapSilently([&] { return m_source->Subject(); }));
    else
        session().log(tag + "failed to retrieve ACF message using AcsGuid " + m_guid);
}

void RegMclLinkedForm::AddLinked(const RecipientBox::Controls& target, QCheckBox* noSmtp) {
    m_target = AddTarget(target);
    m_select = target.select;
    m_noSmtp = noSmtp;
    m_noSmtp->setChecked(record().noSmtp);
    connect(m_noSmtp, &QCheckBox::toggled, this, [this] { MarkChanged(); });
}

bool RegMclLinkedForm::Complete() { return !m_target->empty() || Refuse(kMclNoTarget, m_select); }

MclKeys RegMclLinkedForm::Keys() {
    MclKeys keys;
    AddTargetKeys(session(), keys, m_target->names(), m_target->addresses());
    keys.emplace_back("MCL Source No SMTP", NoSmtp());
    // an older list gets its source's GUID; a link is never emptied
    const std::string guid = m_source ? Trim(KeyText(*m_source, kMclGuidKey)) : std::string();
    if (!guid.empty() || !m_guid.empty())
        keys.emplace_back(kMclGuidKey, guid.empty() ? m_guid : guid);
    return keys;
}

} // namespace kr
