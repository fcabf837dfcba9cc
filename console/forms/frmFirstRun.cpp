#include "console/forms/frmFirstRun.h"

#include <QCloseEvent>

#include "console/forms/FormTools.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFirstRun.h"

namespace kr {

namespace {

constexpr int kColumns = 78;
constexpr int kLines = 19;
constexpr double kTitleScale = 1.15;
constexpr const char* kTitles[] = {QT_TRANSLATE_NOOP("kr::frmFirstRun", "Dedicated Mailbox"),
                                   QT_TRANSLATE_NOOP("kr::frmFirstRun", "Primary Contact"),
                                   QT_TRANSLATE_NOOP("kr::frmFirstRun", "Finish")};

} // namespace

frmFirstRun::frmFirstRun(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmFirstRun>()), m_session(session),
      m_wizard(session) {
    m_ui->setupUi(this);
    m_fields = {{m_ui->txtAlias, &m_wizard.alias},         {m_ui->txtExServer, &m_wizard.server},
                {m_ui->txtFirstName, &m_wizard.firstName}, {m_ui->txtLastName, &m_wizard.lastName},
                {m_ui->txtPrimaryEmail, &m_wizard.email},  {m_ui->txtPhone, &m_wizard.phone},
                {m_ui->txtCompany, &m_wizard.company}};
    QFont font = m_ui->lblPage->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * kTitleScale);
    m_ui->lblPage->setFont(font);
    m_ui->pb1->setRange(0, FirstRunWizard::kSteps);
    resize(TextRoom(*this, kColumns, kLines));
    m_wizard.Load();
    showFields();
    showPage();
    connectControls();
}

frmFirstRun::~frmFirstRun() = default;

void frmFirstRun::connectControls() {
    connect(m_ui->cmdNext, &QPushButton::clicked, this, &frmFirstRun::onNext);
    connect(m_ui->cmdBack, &QPushButton::clicked, this, &frmFirstRun::onBack);
    connect(m_ui->cmdFinish, &QPushButton::clicked, this, &frmFirstRun::onFinish);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &frmFirstRun::reject);
    const auto select = [this](void (FirstRunWizard::*pick)()) {
        readFields();
        setBusy(true);
        (m_wizard.*pick)();
        setBusy(false);
        showFields();
    };
    connect(m_ui->cmdSelectAlias, &QPushButton::clicked, this,
            [select] { select(&FirstRunWizard::SelectAlias); });
    connect(m_ui->cmdSelectContact, &QPushButton::clicked, this,
            [select] { select(&FirstRunWizard::SelectContact); });
}

void frmFirstRun::readFields() {
    for (const auto& [box, text] : m_fields)
        *text = ToUtf8(box->text());
}

void frmFirstRun::showFields() {
    for (const auto& [box, text] : m_fields)
        box->setText(FromUtf8(*text));
    m_ui->lblSMTP->setText(FromUtf8(m_wizard.smtp));
}

void frmFirstRun::showPage() {
    const int page = m_wizard.page();
    const bool last = page == FirstRunWizard::Finish;
    m_ui->fraWizard->setCurrentIndex(page);
    m_ui->lblPage->setText(tr(kTitles[page]));
    m_ui->cmdBack->setEnabled(page != FirstRunWizard::Mailbox);
    m_ui->cmdNext->setVisible(!last);
    m_ui->cmdFinish->setVisible(last);
    (last ? m_ui->cmdFinish : m_ui->cmdNext)->setDefault(true);
    m_ui->lblFinishTask->clear();
    m_ui->pb1->setValue(0);
    if (last) {
        showServiceState();
        m_ui->cmdFinish->setFocus();
    } else {
        (page == FirstRunWizard::Mailbox ? m_ui->txtAlias : m_ui->txtFirstName)->setFocus();
    }
}

void frmFirstRun::showServiceState() {
    const ServiceReport report = GetServiceState(m_session, "");
    m_ui->lblService->setText(FromUtf8(report.label));
    m_ui->lblService->setVisible(!report.label.empty());
    if (!m_serviceAsked && report.state == SvcState::Running)
        m_ui->chkStartService->setChecked(false);
    m_serviceAsked = true; // from then on the mark is the person's
}

void frmFirstRun::onNext() {
    readFields();
    FirstRunWizard::Focus focus = FirstRunWizard::Focus::None;
    setBusy(true);
    const bool left = m_wizard.Next(focus);
    setBusy(false);
    showFields();
    if (left)
        showPage();
    else if (focus == FirstRunWizard::Focus::SelectAlias)
        m_ui->cmdSelectAlias->setFocus();
    else if (focus == FirstRunWizard::Focus::SelectContact)
        m_ui->cmdSelectContact->setFocus();
}

void frmFirstRun::onBack() {
    readFields();
    m_wizard.Back();
    showPage();
}

void frmFirstRun::onFinish() {
    readFields();
    setBusy(true);
    const bool done = m_wizard.RunFinish(m_ui->chkStartService->isChecked(),
                                         [this](const std::string& label, int step) {
                                             m_ui->lblFinishTask->setText(FromUtf8(label));
                                             m_ui->pb1->setValue(step);
                                             m_session.ui().DoEvents();
                                         });
    setBusy(false);
    if (done)
        accept();
    else
        m_ui->cmdBack->setFocus();
}

void frmFirstRun::setBusy(bool busy) {
    m_busy = busy;
    if (busy)
        m_focus = focusWidget(); // what is disabled loses the focus
    m_ui->fraWizard->setEnabled(!busy);
    for (QPushButton* button : {m_ui->cmdNext, m_ui->cmdFinish, m_ui->cmdCancel})
        button->setEnabled(!busy);
    m_ui->cmdBack->setEnabled(!busy && m_wizard.page() != FirstRunWizard::Mailbox);
    if (!busy && m_focus)
        m_focus->setFocus();
}

void frmFirstRun::reject() {
    if (!m_busy && m_wizard.Cancel())
        QDialog::reject();
}

void frmFirstRun::closeEvent(QCloseEvent* event) {
    if (event->spontaneous() || m_busy) {
        reject();
        event->setAccepted(!isVisible());
        return;
    }
    // the program itself closes the form and can't wait for an answer
    QDialog::done(Rejected);
}

} // namespace kr
