#include "contacts/forms/frmRegMCL.h"

#include "ui_frmRegMCL.h"

namespace kr {

namespace {

constexpr std::string_view kSourceText =
    "Select the manadatory contacts you want written to user folders. An example of a mandatory "
    "contact would be 'Campus Security', or 'XYZ County Fire Department.' Choose any combination "
    "of individual mailboxes, custom recipients or distribution lists. Distribution lists will be "
    "expanded in order to create one contact for each list member. One additional mandatory "
    "contact will be created for the distribution list itself.";

} // namespace

frmRegMCL::frmRegMCL(AgentSession& session, const EntryID& id, QWidget* parent)
    : RegMclForm(session, id, parent), m_ui(std::make_unique<::Ui::frmRegMCL>()) {
    m_ui->setupUi(this);
    m_source = AddSource({m_ui->lstSource, m_ui->cmdSource, m_ui->cmdDelSource, m_ui->cmdDetails0});
    m_target = AddTarget({m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails1});
    AddIncludeDLs(m_ui->chkIncludeDLs);
    Start({m_ui->txtName,
           m_ui->txtDescription,
           m_ui->cmdOK,
           m_ui->cmdCancel,
           {{m_ui->imgPopup0, kMclSourceTitle, kSourceText},
            {m_ui->imgPopup1, kMclTargetTitle, kMclTargetText},
            {m_ui->imgPopup2, kMclDescriptionTitle, kMclDescriptionText}}},
          kMclNoName);
}

frmRegMCL::~frmRegMCL() = default;

bool frmRegMCL::Complete() {
    if (m_source->empty())
        return Refuse(kMclNoSource, m_ui->cmdSource);
    if (m_target->empty())
        return Refuse(kMclNoTarget, m_ui->cmdTarget);
    return true;
}

MclKeys frmRegMCL::Keys() {
    MclKeys keys;
    AddSourceKeys(session(), keys, m_source->names(), m_source->addresses());
    AddTargetKeys(session(), keys, m_target->names(), m_target->addresses());
    keys.emplace_back("MCL.IncludeDLs", m_ui->chkIncludeDLs->isChecked());
    return keys;
}

} // namespace kr
