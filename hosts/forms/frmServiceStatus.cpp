#include "hosts/forms/frmServiceStatus.h"

#include <QPointer>

#include "console/forms/FormTools.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "hosts/basHosts.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmServiceStatus.h"

namespace kr {

namespace {

constexpr int kInterval = 250; // milliseconds
constexpr int kColumns = 48;

} // namespace

frmServiceStatus::frmServiceStatus(AgentSession& session, std::string machine, SvcState target,
                                   const std::string& caption, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmServiceStatus>()), m_session(session),
      m_machine(std::move(machine)), m_wait(target) {
    m_ui->setupUi(this);
    m_ui->Label1->setText(FromUtf8(caption));
    m_ui->pb1->setMaximum(ServiceWait::kTicks);
    m_ui->pb1->setMinimumWidth(TextRoom(*this, kColumns, 1).width());
    m_timer.setObjectName(QStringLiteral("StatusTimer"));
    m_timer.setInterval(kInterval);
    connect(&m_timer, &QTimer::timeout, this, &frmServiceStatus::onTick);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_timer.start();
}

frmServiceStatus::~frmServiceStatus() = default;

void frmServiceStatus::done(int result) {
    m_timer.stop();
    QDialog::done(result);
}

void frmServiceStatus::onTick() {
    const ServiceWait::Tick tick = m_wait.Next();
    m_ui->pb1->setValue(tick.bar);
    if (tick.read && !m_asking)
        ask(tick.cycles);
}

void frmServiceStatus::ask(int cycles) {
    m_asking = true;
    Trap(
        [&] {
            m_session.platform.services.Query(
                m_machine, kAgentService,
                [self = QPointer(this), cycles](SvcState state, const std::string&) {
                    if (self)
                        self->onState(state, cycles);
                });
        },
        [&](const Trapped& trapped) {
            m_asking = false;
            m_session.log("frmServiceStatus::Timer:" + trapped.text());
        });
}

void frmServiceStatus::onState(SvcState state, int cycles) {
    m_asking = false;
    if (!m_timer.isActive())
        return; // cancelled meanwhile
    const ServiceWait::Judgement judgement = m_wait.Judge(state, cycles);
    if (!judgement.log.empty())
        m_session.log(judgement.log);
    bool over = judgement.verdict == ServiceWait::Verdict::Done;
    if (judgement.verdict == ServiceWait::Verdict::Kill) {
        m_asking = true; // the kill runs events
        const QPointer<frmServiceStatus> self(this);
        over = KillAgent(m_session, m_machine);
        if (!self)
            return;
        m_asking = false;
    }
    if (over && m_timer.isActive())
        accept();
}

} // namespace kr
