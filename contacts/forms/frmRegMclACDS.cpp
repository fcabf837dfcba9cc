#include "contacts/forms/frmRegMclACDS.h"

#include "contacts/basACDS.h"
#include "contacts/basMCL.h"
#include "contacts/forms/frmQueryResult.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmRegMclACDS.h"

namespace kr {

namespace {

constexpr std::string_view kSourceText =
    "Each valid contact retrieved from the database query will be written to the target user "
    "folders. A contact must have at least one email address or, if 'Include contacts with no "
    "email address' is checked, a value in the UniqueID column to be considered valid.";

} // namespace

frmRegMclACDS::frmRegMclACDS(AgentSession& session, const EntryID& id, const MclSource* source,
                             QWidget* parent)
    : RegMclLinkedForm(session, id, source, "frmRegMclACDS", parent),
      m_ui(std::make_unique<::Ui::frmRegMclACDS>()) {
    m_ui->setupUi(this);
    AddLinked({m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails1},
              m_ui->chkNoSMTP);
    showSource(source);
    connect(m_ui->cmdDetails0, &QPushButton::clicked, this, &frmRegMclACDS::onRun);
    Start({m_ui->txtName,
           m_ui->txtDescription,
           m_ui->cmdOK,
           m_ui->cmdCancel,
           {{m_ui->imgPopup0, kMclSourceTitle, kSourceText},
            {m_ui->imgPopup1, kMclTargetTitle, kMclTargetText},
            {m_ui->imgPopup2, kMclDescriptionTitle, kMclDescriptionText}}},
          kMclNoName);
    if (IsNew())
        ProposeName(CatalogOf(m_cxnString));
}

frmRegMclACDS::~frmRegMclACDS() = default;

void frmRegMclACDS::showSource(const MclSource* source) {
    if (Source()) {
        m_cxnString = KeyText(*Source(), "ACF Cxn String");
        m_query = KeyText(*Source(), "ACF Query");
    } else if (IsNew() && source) {
        m_cxnString = source->cxnString;
        m_query = source->query;
    }
    m_ui->txtCxn->setPlainText(FromUtf8(MaskPassword(m_cxnString)));
    m_ui->txtQuery->setPlainText(FromUtf8(m_query));
    m_ui->cmdDetails0->setEnabled(!Trim(m_cxnString).empty() && !Trim(m_query).empty());
}

void frmRegMclACDS::onRun() {
    QueryToShow query;
    query.cxnString = m_cxnString;
    query.query = m_query;
    query.caption = ToUtf8(m_ui->txtName->text()) + " - Mapped Fields";
    ShowQueryResult(session(), query, this);
}

MclKeys frmRegMclACDS::Keys() {
    MclKeys keys = RegMclLinkedForm::Keys();
    const EntryID source = Source() ? TrapSilently([&] { return Source()->ID(); }) : EntryID();
    if (!source.empty())
        keys.emplace_back(kMclAcdsKey, source.text());
    return keys;
}

} // namespace kr
