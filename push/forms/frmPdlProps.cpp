#include "push/forms/frmPdlProps.h"

#include "platform/ui/qt/QtUi.h"
#include "push/basTarn.h"
#include "push/forms/TarnAddress.h"
#include "ui_frmPdlProps.h"

namespace kr {

namespace {

constexpr TarnAddress::Duty kPackets{
    TestPdlTarn, "Checking PIN DL function, please wait...",
    " is a valid URL for providing PIN DLs!",
    "\r\nbut it is not returning PIN DLs!\r\n\r\nCheck the log for more information."};

} // namespace

frmPdlProps::frmPdlProps(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmPdlProps>()), m_session(session) {
    m_ui->setupUi(this);
    const bool readable = ReadPdlSettings(session, m_stored);
    m_ui->chkPush->setChecked(m_stored.push);
    m_ui->txtTARN->setText(FromUtf8(m_stored.url));
    const TarnAddress::Controls controls{m_ui->txtTARN, m_ui->txtTARN, m_ui->cmdTest, m_ui->cmdOK,
                                         m_ui->lblWait};
    m_address = std::make_unique<TarnAddress>(session, controls, kPackets, *this);
    if (!readable) {
        for (QWidget* control : std::initializer_list<QWidget*>{m_ui->cmdOK, m_ui->cmdTest,
                                                                m_ui->txtTARN, m_ui->chkPush})
            control->setEnabled(false);
        m_ui->lblWait->setText(tr("The settings could not be read. Check the log for the reason."));
    }
    m_ui->txtTARN->setFocus();
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmPdlProps::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmPdlProps::~frmPdlProps() = default;

void frmPdlProps::onOK() {
    if (m_address->Refuse())
        return;
    const std::string url = m_address->typed();
    const bool newUrl = url != m_stored.url;
    const bool push = m_ui->chkPush->isChecked();
    if (!newUrl && push == m_stored.push) {
        reject();
        return;
    }
    // without any text there is no engine
    if (SavePdlSettings(m_session, {push, newUrl && !url.empty() ? CanonTarnURL(url) : url},
                        newUrl))
        accept();
    else
        m_ui->lblWait->setText(tr("The changes could not be saved. Check the log for the reason."));
}

} // namespace kr
