#include "push/forms/frmPushResult.h"

#include <QCloseEvent>
#include <QScrollBar>
#include <QTimer>

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmPushResult.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kLines = 20;
constexpr int kLeastColumns = 40;
constexpr int kLeastLines = 10;
constexpr int kStepLines = 2; // a long name takes a second line without moving anything

} // namespace

frmPushResult::frmPushResult(AgentSession& session, std::string_view icon, PushForms::Work work,
                             QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmPushResult>()), m_session(session),
      m_work(std::move(work)) {
    m_ui->setupUi(this);
    setWindowIcon(IconOf(icon));
    m_ui->lblMain->setMinimumHeight(TextRoom(*this, 1, kStepLines).height());
    setMinimumSize(TextRoom(*this, kLeastColumns, kLeastLines));
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->cmdCancel->setFocus();
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &frmPushResult::reject);
}

frmPushResult::~frmPushResult() = default;

void frmPushResult::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (m_state != State::Waiting)
        return;
    m_state = State::Running;
    QTimer::singleShot(0, this, &frmPushResult::run);
}

void frmPushResult::run() {
    Trap([&] { return m_work && m_work(*this); },
         [&](const Trapped& error) { m_session.log("frmPushResult: " + error.text()); });
    m_state = State::Ended;
    m_ui->lblMain->setText(m_cancelled ? tr("Push canceled") : tr("Push completed"));
    if (m_ui->pb1->maximum() == 0)
        m_ui->pb1->setRange(0, 1); // a bar of unknown length would keep moving
    m_ui->cmdCancel->setText(tr("Close"));
    if (m_closed)
        QDialog::reject();
}

void frmPushResult::ShowStep(std::string_view text) {
    m_ui->lblMain->setText(FromUtf8(text));
    m_session.ui().DoEvents();
}

void frmPushResult::AppendResult(std::string_view text) {
    m_ui->txtResult->appendPlainText(FromUtf8(ReplaceAll(text, "\r\n", "\n")));
    QScrollBar* bar = m_ui->txtResult->verticalScrollBar();
    bar->setValue(bar->maximum());
    m_session.ui().DoEvents();
}

void frmPushResult::SetValue(int done, int total) {
    m_ui->pb1->setRange(0, total);
    m_ui->pb1->setValue(done);
    m_session.ui().DoEvents();
}

/// Cancel, Close and Escape.
void frmPushResult::reject() {
    if (m_state == State::Ended)
        QDialog::reject();
    else
        m_cancelled = true;
}

void frmPushResult::closeEvent(QCloseEvent* event) {
    if (m_state == State::Ended) {
        QDialog::closeEvent(event);
        return;
    }
    m_cancelled = true;
    m_closed = true;
    event->ignore();
}

} // namespace kr
