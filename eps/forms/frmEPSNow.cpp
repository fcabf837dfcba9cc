#include "eps/forms/frmEPSNow.h"

#include "contacts/forms/RecipientBox.h"
#include "eps/forms/frmEPSAdvanced.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmEPSNow.h"

namespace kr {

namespace {

constexpr int kFull = 0; // place among the items of cboFull
constexpr int kIncremental = 1;

void showOverride(const std::optional<bool>& value, QCheckBox& override, QCheckBox& choice) {
    override.setChecked(value.has_value());
    choice.setChecked(value.value_or(false));
}

std::optional<bool> overrideOf(const QCheckBox& override, const QCheckBox& choice) {
    return override.isChecked() ? std::optional(choice.isChecked()) : std::nullopt;
}

} // namespace

frmEPSNow::frmEPSNow(AgentSession& session, EntryID host, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmEPSNow>()), m_session(session),
      m_host(std::move(host)) {
    m_ui->setupUi(this);
    m_targets = new RecipientBox(session, {m_ui->lstTargets, m_ui->cmdTarget},
                                 {"EPS Target Mailboxes", "Targets"}, {}, this);
    m_loaded = m_settings.Load(session, m_host);
    showSettings();
    connectAll();
    enableAll();
    m_ui->chkSpecial->setFocus();
}

frmEPSNow::~frmEPSNow() = default;

void frmEPSNow::showSettings() {
    m_ui->chkReference->setChecked(m_settings.useCachedData);
    m_ui->cboFull->setCurrentIndex(m_settings.fullUpdate ? kFull : kIncremental);
    showOverride(m_settings.removeObsolete, *m_ui->chkObsolete, *m_ui->chkValidate);
    showOverride(m_settings.sendUpdates, *m_ui->chkUpdate, *m_ui->chkNotification);
    m_ui->chkTargets->setChecked(m_settings.useTargetList);
    m_targets->Set(m_settings.targetNames, m_settings.targetList);
    m_ui->chkNoSummary->setChecked(m_settings.sendSummary);
    m_ui->chkReportOnly->setChecked(m_settings.reportOnly);
    m_ui->chkReportToAdmin->setChecked(m_settings.reportToAdmin);
    m_ui->chkReportToUser->setChecked(m_settings.reportToUser);
}

/// The four choices of optMove have no key: nobody reads them.
EpsNow frmEPSNow::settings() const {
    EpsNow now = m_settings;
    now.useCachedData = m_ui->chkReference->isChecked();
    now.fullUpdate = m_ui->cboFull->currentIndex() == kFull;
    now.removeObsolete = overrideOf(*m_ui->chkObsolete, *m_ui->chkValidate);
    now.sendUpdates = overrideOf(*m_ui->chkUpdate, *m_ui->chkNotification);
    now.useTargetList = m_ui->chkTargets->isChecked();
    now.targetList = m_targets->addresses();
    now.targetNames = m_targets->names();
    now.sendSummary = m_ui->chkNoSummary->isChecked();
    now.reportOnly = m_ui->chkReportOnly->isChecked();
    now.reportToAdmin = m_ui->chkReportToAdmin->isChecked();
    now.reportToUser = m_ui->chkReportToUser->isChecked();
    return now;
}

void frmEPSNow::connectAll() {
    for (QCheckBox* box : {m_ui->chkSpecial, m_ui->chkReportOnly, m_ui->chkObsolete,
                           m_ui->chkUpdate, m_ui->chkTargets})
        connect(box, &QCheckBox::toggled, this, &frmEPSNow::enableAll);
    connect(m_ui->cboFull, &QComboBox::currentIndexChanged, this, &frmEPSNow::enableAll);
    connect(m_ui->cmdAdvanced, &QPushButton::clicked, this, &frmEPSNow::onAdvanced);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmEPSNow::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmEPSNow::enableAll() {
    m_ui->fraSpecial->setEnabled(m_ui->chkSpecial->isChecked());
    m_ui->cmdAdvanced->setEnabled(m_ui->cboFull->currentIndex() == kFull);
    m_ui->fraReportOnly->setEnabled(m_ui->chkReportOnly->isChecked());
    m_ui->fraObsolete->setEnabled(m_ui->chkObsolete->isChecked());
    m_ui->fraUpdates->setEnabled(m_ui->chkUpdate->isChecked());
    for (QWidget* control :
         {static_cast<QWidget*>(m_ui->cmdTarget), static_cast<QWidget*>(m_ui->lstTargets)})
        control->setEnabled(m_ui->chkTargets->isChecked());
}

void frmEPSNow::onAdvanced() {
    frmEPSAdvanced form(m_settings.mergeEmailDupes, this);
    if (form.exec() == QDialog::Accepted)
        m_settings.mergeEmailDupes = form.mergeEmailDupes();
}

void frmEPSNow::onOK() {
    const EpsNowResult result =
        RunEpsNow(m_session, m_host, m_ui->chkSpecial->isChecked(), settings());
    m_code = result.code;
    if (result.toTargets)
        m_ui->cmdTarget->setFocus();
    if (m_code != 0)
        accept();
}

} // namespace kr
