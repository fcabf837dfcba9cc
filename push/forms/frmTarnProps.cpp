#include "push/forms/frmTarnProps.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include "console/forms/FormTools.h"
#include "core/Text.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "push/basTarn.h"
#include "ui_frmTarnProps.h"

namespace kr {

namespace {

constexpr int kColumns = 60;
constexpr int kWaitLines = 2;

} // namespace

frmTarnProps::frmTarnProps(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmTarnProps>()), m_session(session) {
    m_ui->setupUi(this);
    m_ui->cboTARN->setCompleter(nullptr);
    m_ui->cboTARN->lineEdit()->setObjectName(QStringLiteral("txtTARN"));
    m_ui->lblWait->setMinimumSize(TextRoom(*this, kColumns, kWaitLines));
    load();
    m_ui->cboTARN->setFocus();
    connect(m_ui->cboTARN->lineEdit(), &QLineEdit::editingFinished, this, [this] {
        if (isVisible())
            refuseLocalhost();
    });
    connect(m_ui->cmdTest, &QPushButton::clicked, this, &frmTarnProps::onTest);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmTarnProps::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

/// A window that is still shown loses the focus in the middle of its end, which leaves the field.
frmTarnProps::~frmTarnProps() { m_ui->cboTARN->lineEdit()->disconnect(this); }

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

std::string frmTarnProps::typed() const { return Trim(ToUtf8(m_ui->cboTARN->currentText())); }

bool frmTarnProps::refuseLocalhost() {
    std::string url = typed();
    if (m_telling || !ReplaceLocalhost(url, m_session.platform.shell.ComputerName()))
        return false;
    m_telling = true;
    m_session.ui().MsgBox("Localhost is not a valid root", BoxIcon::Exclamation);
    m_telling = false;
    m_ui->cboTARN->setEditText(FromUtf8(url));
    m_ui->cboTARN->setFocus();
    m_refused = true; // Enter leaves the field and presses OK at once
    QTimer::singleShot(0, this, [this] { m_refused = false; });
    return true;
}

void frmTarnProps::onTest() {
    if (refuseLocalhost() || typed().empty())
        return;
    for (QWidget* control :
         std::initializer_list<QWidget*>{m_ui->cmdTest, m_ui->cmdOK, m_ui->cboTARN})
        control->setEnabled(false); // the tests let events run
    {
        const WaitCursor wait(m_session.ui());
        test(typed());
    }
    for (QWidget* control :
         std::initializer_list<QWidget*>{m_ui->cmdTest, m_ui->cmdOK, m_ui->cboTARN})
        control->setEnabled(true);
    m_ui->lblWait->clear();
}

void frmTarnProps::test(const std::string& url) {
    const auto tell = [&](const std::string& text, BoxIcon icon) {
        if (isVisible()) // nobody waits for it behind a closed window
            m_session.ui().MsgBox(text, icon);
    };
    showWait("Checking " + url + ", please wait...");
    if (!IsRunningTarn(m_session, url)) {
        tell(url + " does not appear to be a valid TARN URL", BoxIcon::Exclamation);
        return;
    }
    showWait("Checking icon server function, please wait...");
    if (TestIconTarn(m_session, url))
        tell(url + " is a valid URL for serving channel icons!", BoxIcon::Information);
    else
        tell("TARN is running at " + url +
                 "\r\nbut it is not returning channel icons!\r\n\r\nCheck the log for more "
                 "information.",
             BoxIcon::Exclamation);
}

void frmTarnProps::showWait(const std::string& text) {
    m_ui->lblWait->setText(FromUtf8(text));
    m_ui->lblWait->repaint();
    m_session.ui().DoEvents();
}

void frmTarnProps::onOK() {
    if (m_refused || refuseLocalhost())
        return; // the person sees first what is going to be stored
    const std::string url = typed();
    // without any text there is no engine
    if (SaveTarnURL(m_session, url.empty() ? url : CanonTarnURL(url)))
        accept();
    else
        m_ui->lblWait->setText(tr("The address could not be saved. Check the log for the reason."));
}

} // namespace kr
