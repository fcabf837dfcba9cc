#include "push/forms/frmTarnProps.h"

#include <QLineEdit>
#include <QPushButton>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "push/basTarn.h"
#include "push/forms/TarnAddress.h"
#include "ui_frmTarnProps.h"

namespace kr {

namespace {

constexpr TarnAddress::Duty kIcons{
    TestIconTarn, "Checking icon server function, please wait...",
    " is a valid URL for serving channel icons!",
    "\r\nbut it is not returning channel icons!\r\n\r\nCheck the log for more information."};

} // namespace

frmTarnProps::frmTarnProps(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmTarnProps>()), m_session(session) {
    m_ui->setupUi(this);
    m_ui->cboTARN->setCompleter(nullptr);
    m_ui->cboTARN->lineEdit()->setObjectName(QStringLiteral("txtTARN"));
    load();
    m_ui->cboTARN->setFocus();
    const TarnAddress::Controls controls{m_ui->cboTARN, m_ui->cboTARN->lineEdit(), m_ui->cmdTest,
                                         m_ui->cmdOK, m_ui->lblWait};
    m_address = std::make_unique<TarnAddress>(session, controls, kIcons, *this);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmTarnProps::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmTarnProps::~frmTarnProps() = default;

/// The stored address, else that of the first agent server; the others are offered below.
void frmTarnProps::load() {
    const std::string stored = GetTarnURL(m_session);
    if (!stored.empty())
        m_ui->cboTARN->addItem(FromUtf8(stored));
    for (const EntryID& id : GetHostMessages(m_session)) {
        const RDOMessagePtr host = GetMessage(m_session, id);
        const QString offer = host ? "http://" + FromUtf8(host->Subject()) + "/TARN/" : QString();
        if (host && m_ui->cboTARN->findText(offer) < 0)
            m_ui->cboTARN->addItem(offer);
    }
    m_ui->cboTARN->setCurrentIndex(m_ui->cboTARN->count() > 0 ? 0 : -1);
}

void frmTarnProps::onOK() {
    if (m_address->Refuse())
        return;
    const std::string url = m_address->typed();
    // without any text there is no engine
    if (SaveTarnURL(m_session, url.empty() ? url : CanonTarnURL(url)))
        accept();
    else
        m_ui->lblWait->setText(tr("The address could not be saved. Check the log for the reason."));
}

} // namespace kr
