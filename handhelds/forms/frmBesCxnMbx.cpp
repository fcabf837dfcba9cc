#include "handhelds/forms/frmBesCxnMbx.h"

#include "console/forms/FormTools.h"
#include "handhelds/forms/PushServerBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmBesCxnMbx.h"

namespace kr {

namespace {

constexpr int kColumns = 68;
constexpr int kServerLines = 6;

} // namespace

frmBesCxnMbx::frmBesCxnMbx(AgentSession& session, const EntryID& connector, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmBesCxnMbx>()), m_session(session) {
    m_ui->setupUi(this);
    m_loaded = m_form.Load(session, connector);
    setWindowTitle(FromUtf8(m_form.Title()));
    m_ui->lstServers->setMinimumHeight(TextRoom(*this, 1, kServerLines).height());
    showAll();
    connect(m_ui->cboPushServer, &QComboBox::currentIndexChanged, this, &frmBesCxnMbx::read);
    connect(m_ui->optUseSelected_1, &QAbstractButton::toggled, this, &frmBesCxnMbx::read);
    connect(m_ui->cmdBES, &QPushButton::clicked, this, [this] {
        m_form.Pick(m_session);
        showAll();
    });
    connect(m_ui->cmdRefresh, &QPushButton::clicked, this, [this] {
        m_form.Refresh(m_session);
        showAll();
    });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmBesCxnMbx::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    resize(TextRoom(*this, kColumns, 1).width(), sizeHint().height());
    m_ui->cmdBES->setFocus();
}

frmBesCxnMbx::~frmBesCxnMbx() = default;

void frmBesCxnMbx::showAll() {
    m_filling = true;
    m_ui->txtBES->setText(FromUtf8(m_form.Name()));
    m_ui->lstServers->clear();
    for (const std::string& server : m_form.Servers())
        m_ui->lstServers->addItem(FromUtf8(server));
    ShowPushServers(m_form.push, *m_ui->cboPushServer, *m_ui->optUseSelected_0,
                    *m_ui->optUseSelected_1);
    m_ui->cmdRefresh->setEnabled(m_form.CanRefresh());
    m_filling = false;
}

void frmBesCxnMbx::read() {
    if (m_filling)
        return;
    m_form.changed = true;
    ReadPushServer(m_form.push, *m_ui->cboPushServer, *m_ui->optUseSelected_1);
}

void frmBesCxnMbx::onOK() {
    const std::string refusal = m_form.Save(m_session);
    if (refusal.empty()) {
        m_form.saved().empty() ? reject() : accept();
        return;
    }
    m_session.ui().MsgBox(refusal, BoxIcon::Exclamation);
    m_ui->cmdBES->setFocus();
}

} // namespace kr
