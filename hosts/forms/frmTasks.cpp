#include "hosts/forms/frmTasks.h"

#include <QHeaderView>
#include <QPointer>
#include <algorithm>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "hosts/ServerTasks.h"
#include "hosts/basHosts.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmTasks.h"

namespace kr {

namespace {

// milliseconds
constexpr int kPoll = 250;
constexpr int kRefresh = 500;
constexpr int kUnload = 20000;
constexpr int kUnloadAfterAbort = 5000;

constexpr int kColumns = 64;
constexpr int kLines = 14;
constexpr int kMargin = 40; // pixels that the two date columns leave to the first one

} // namespace

frmTasks::frmTasks(AgentSession& session, EntryID host, std::string name,
                   std::function<bool()> running, std::function<void()> refreshRow, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmTasks>()), m_session(session),
      m_id(std::move(host)), m_name(std::move(name)), m_running(std::move(running)),
      m_refreshRow(std::move(refreshRow)) {
    m_ui->setupUi(this);
    showServer();
    m_list.SetColumns({{"Task", ""}, {"Last Run", "dateLast"}, {"Next Run", "dateNext"}});
    m_adapter = std::make_unique<ListAdapter>(m_list);
    m_ui->lvwTasks->setModel(m_adapter.get());
    m_ui->lvwTasks->header()->setStretchLastSection(false);
    m_ui->lvwTasks->viewport()->installEventFilter(this);
    // the label of a running task has two lines
    m_ui->lblCurrent->setMinimumHeight(TextRoom(*this, 1, 2).height());
    makeTimer(m_poll, "tmrPoll", kPoll);
    makeTimer(m_refresh, "tmrRefresh", kRefresh);
    makeTimer(m_unload, "tmrUnload", kUnload);
    connect(&m_poll, &QTimer::timeout, this, &frmTasks::onPoll);
    connect(&m_refresh, &QTimer::timeout, this, &frmTasks::onRefresh);
    connect(&m_unload, &QTimer::timeout, this, &frmTasks::onUnload);
    connect(m_ui->cmdAbort, &QPushButton::clicked, this, &frmTasks::onAbort);
    connect(m_ui->cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    resize(TextRoom(*this, kColumns, kLines));
    // what happened before the dialog is no news
    TrapSilently([&] { m_session.rdo->PollChanges(); });
    m_host = GetMessage(m_session, m_id);
    m_poll.start();
}

frmTasks::~frmTasks() { m_ui->lvwTasks->setModel(nullptr); }

void frmTasks::makeTimer(QTimer& timer, const char* name, int interval) {
    timer.setObjectName(QString::fromLatin1(name));
    timer.setInterval(interval);
}

void frmTasks::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
    // behind the event, as the row's refresh runs others
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        QTimer::singleShot(0, this, &frmTasks::ShowTasks);
}

bool frmTasks::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->lvwTasks->viewport() && event->type() == QEvent::Resize)
        fitColumns();
    return QDialog::eventFilter(watched, event);
}

/// The two dates take half the list's width each, less a margin that is left to the task.
void frmTasks::fitColumns() {
    const int width = m_ui->lvwTasks->viewport()->width();
    QHeaderView* header = m_ui->lvwTasks->header();
    const int dates = std::max(0, width / 2 - kMargin);
    for (const int column : {1, 2})
        header->resizeSection(column, dates);
    header->resizeSection(0, width - 2 * dates);
}

void frmTasks::ShowTasks() {
    if (m_aborted || m_showing || !isVisible())
        return;
    m_showing = true;
    const RDOMessagePtr host = GetMessage(m_session, m_id);
    if (host)
        Trap([&] { ShowTaskRows(m_list, TaskRows(*host, m_session.platform.clock)); },
             [&](const Trapped& trapped) { m_session.log("ShowTasks: " + trapped.text()); });
    showCurrent(host.get());
    const QPointer<frmTasks> self(this);
    if (m_refreshRow)
        m_refreshRow();
    if (self)
        m_showing = false;
}

void frmTasks::showServer() {
    const bool running = m_running && m_running();
    const QString text =
        FromUtf8(m_name) + (running ? QString() : tr(" (the service is not running)"));
    if (m_ui->lblServer->text() != text)
        m_ui->lblServer->setText(text);
}

/// A message that can't be read looks like an idle server.
void frmTasks::showCurrent(RDOMessage* host) {
    TaskState state{"", "Current Task: None", "Abort Task"};
    if (host)
        state = CurrentTaskState(*host);
    const bool runs = !state.task.empty();
    if (runs)
        m_unload.stop();
    else if (m_seen)
        m_unload.start();
    m_seen = runs;
    if (m_ui->lblCurrent->text() != FromUtf8(state.label))
        m_ui->lblCurrent->setText(FromUtf8(state.label));
    QString caption = FromUtf8(state.abort).replace('&', "&&");
    m_ui->cmdAbort->setText("&" + caption);
    m_ui->cmdAbort->setEnabled(runs);
}

/// The change notification of the host message.
void frmTasks::onPoll() {
    showServer();
    const StoreChanges news =
        Trap([&] { return m_session.rdo ? m_session.rdo->PollChanges() : StoreChanges(); },
             [&](const Trapped& trapped) {
                 m_poll.stop();
                 m_session.log("frmTasks: no change is heard any more: " + trapped.text());
             });
    const bool changed = news.reloadAll || std::ranges::any_of(news.changes, [&](const auto& one) {
                             return isHost(one.object);
                         });
    if (changed && !m_aborted && m_host && !m_refresh.isActive())
        m_refresh.start();
}

bool frmTasks::isHost(const EntryID& id) const {
    return id == m_id || TrapSilently([&] {
               return m_session.rdo->Stores().DefaultStore()->CompareEntryIDs(id, m_id);
           });
}

void frmTasks::onRefresh() {
    if (m_showing)
        return; // the timer comes again
    m_refresh.stop();
    const QPointer<frmTasks> self(this);
    ShowTasks();
    if (self && !m_aborted)
        m_host = GetMessage(m_session, m_id);
}

void frmTasks::onAbort() {
    m_ui->cmdAbort->setEnabled(false);
    m_aborted = true;
    m_refresh.stop();
    const std::string name = TrapSilently([&] { return m_host ? m_host->Subject() : ""; });
    if (!name.empty()) // an empty name would reach this computer's agent
        SendServiceControl(m_session, HostPath(name), kCodeEndTask);
    m_unload.setInterval(kUnloadAfterAbort);
    m_unload.start();
}

void frmTasks::onUnload() { accept(); }

void frmTasks::done(int result) {
    for (QTimer* timer : {&m_poll, &m_refresh, &m_unload})
        timer->stop();
    m_host.reset();
    QDialog::done(result);
}

} // namespace kr
