#include "hosts/forms/frmHost.h"

#include <QDateTimeEdit>
#include <QListWidget>
#include <algorithm>

#include "hosts/forms/LimitBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmHost.h"

namespace kr {

namespace {

/// The dates of the pickers are wall-clock times: as UTC no hour is skipped or doubled.
QDateTime pickerTime(Time local) {
    return QDateTime::fromSecsSinceEpoch(local.time_since_epoch().count(), Qt::UTC);
}

void fill(QListWidget& list, const std::vector<std::string>& entries) {
    list.clear();
    for (const std::string& entry : entries)
        list.addItem(FromUtf8(entry));
}

} // namespace

frmHost::frmHost(AgentSession& session, const EntryID& host, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmHost>()), m_editor(session) {
    m_ui->setupUi(this);
    collectControls();
    fillUnits();
    m_loaded = m_editor.Load(host);
    setWindowTitle(FromUtf8(m_editor.name) + tr(" - Server Properties"));
    showAll();
    applyVersion();
    connectFields();
    connectIntervals();
    connectLogging();
    connectLists();
    connectButtons();
    m_ui->tabPages->setCurrentIndex(0);
    m_ui->udPolling->setFocus();
    m_loading = false;
}

frmHost::~frmHost() = default;

void frmHost::collectControls() {
    m_numbers = {m_ui->udInterval0, m_ui->udInterval1, m_ui->udInterval2,
                 m_ui->udInterval3, m_ui->udInterval4, m_ui->udInterval5};
    m_units = {m_ui->cboUnit0, m_ui->cboUnit1, m_ui->cboUnit2,
               m_ui->cboUnit3, m_ui->cboUnit4, m_ui->cboUnit5};
    m_dates[kPinJob] = m_ui->dtpPin;
    m_dates[kEPSJob] = m_ui->dtpEPS;
    m_dates[kMCCJob] = m_ui->dtpMCC;
    m_dates[kSSUJob] = m_ui->dtpSSU;
    m_masters[kPinJob] = m_ui->chkBPE;
    m_masters[kEPSJob] = m_ui->chkEPS;
    m_masters[kMCCJob] = m_ui->chkMCC;
    m_masters[kSSUJob] = m_ui->chkSSU;
    m_pages = {m_ui->tabConfiguration, m_ui->tabBPE, m_ui->tabEPS, m_ui->tabSSU, m_ui->tabMCC};
}

void frmHost::fillUnits() {
    m_ui->udPolling->SetLimits(kPollingLimits);
    m_ui->udWatchdog->SetLimits(kWatchdogLimits);
    for (size_t i = 0; i < kIntervals; ++i)
        for (const UnitChoice& unit : UnitsOf(i))
            m_units[i]->addItem(FromUtf8(unit.shown));
    for (QDateTimeEdit* date : m_dates)
        date->setTimeSpec(Qt::UTC);
}

// --- from the record to the controls

void frmHost::showAll() {
    m_ui->udPolling->setValue(m_editor.polling);
    m_ui->udWatchdog->setValue(m_editor.watchdog);
    m_ui->chkProcess->setChecked(m_editor.processMessages);
    for (size_t job = 0; job < kJobs; ++job)
        m_masters[job]->setChecked(m_editor.enabled[job]);
    m_ui->chkMaxEPS->setChecked(m_editor.epsLimited);
    m_ui->chkMaxMCC->setChecked(m_editor.mccLimited);
    m_ui->chkGAL->setChecked(m_editor.addFromGAL);
    m_ui->chkMCL->setChecked(m_editor.processMCL);
    m_ui->txtBES->setText(FromUtf8(m_editor.besName));
    m_ui->cmdShowLogs->setEnabled(!m_editor.report().empty());
    m_ui->cmdApply->setEnabled(false);
    showIntervals();
    showDates();
    showLogging();
    LoadServerList();
    LoadDSNList();
    EnableProfileInfo(m_editor.enabled[kPinJob]);
    EnableClients(m_editor.enabled[kEPSJob]);
    EnableSSU(m_editor.enabled[kSSUJob]);
    EnableMCC(m_editor.enabled[kMCCJob]);
}

void frmHost::showIntervals() {
    const bool before = std::exchange(m_loading, true);
    for (size_t i = 0; i < kIntervals; ++i) {
        m_units[i]->setCurrentIndex(static_cast<int>(m_editor.boxes[i].unit));
        setLimits(i);
        m_numbers[i]->setValue(m_editor.boxes[i].number);
    }
    m_loading = before;
}

void frmHost::showDates() {
    const bool before = std::exchange(m_loading, true);
    for (size_t job = 0; job < kJobs; ++job)
        m_dates[job]->setDateTime(pickerTime(m_editor.next[job]));
    m_loading = before;
}

void frmHost::showLogging() {
    const bool before = std::exchange(m_loading, true);
    const int selected = LogOption(m_editor.logLevel);
    const std::array<QRadioButton*, 3> options{m_ui->optMinimum, m_ui->optMedium, m_ui->optMaximum};
    for (QRadioButton* option : options)
        option->setAutoExclusive(false); // some levels belong to none
    for (int i = 0; i < 3; ++i)
        options[static_cast<size_t>(i)]->setChecked(i == selected);
    for (QRadioButton* option : options)
        option->setAutoExclusive(true);
    m_ui->lblComplete->setVisible(m_editor.logLevel > kLogMaximum);
    m_ui->chkReporting->setChecked(m_editor.reporting);
    m_loading = before;
}

void frmHost::LoadServerList() { fill(*m_ui->lstServers, m_editor.servers); }

void frmHost::LoadDSNList() { fill(*m_ui->lstDSNs, m_editor.dsns); }

/// An agent that finds BES data by itself has nothing to be told, and one that doesn't know Custom
/// Contact Lists has no page for them.
void frmHost::applyVersion() {
    if (FindsBESData(m_editor.version))
        for (QWidget* widget :
             std::initializer_list<QWidget*>{m_ui->cmdBES, m_ui->txtBES, m_ui->cmdAddDSN,
                                             m_ui->cmdRemoveDSN, m_ui->lblDSN, m_ui->lstDSNs})
            widget->hide();
    if (!KnowsMCC(m_editor.version))
        m_ui->tabPages->removeTab(m_ui->tabPages->indexOf(m_ui->tabMCC));
}

// --- what is enabled

void frmHost::EnableProfileInfo(bool enable) {
    for (QWidget* widget : std::initializer_list<QWidget*>{
             m_ui->cmdBES, m_ui->txtBES, m_ui->udInterval0, m_ui->cboUnit0, m_ui->dtpPin,
             m_ui->lstDSNs, m_ui->cmdAddDSN, m_ui->cmdRemoveDSN})
        widget->setEnabled(enable);
}

void frmHost::EnableClients(bool enable) {
    for (QWidget* widget : std::initializer_list<QWidget*>{
             m_ui->udInterval1, m_ui->cboUnit1, m_ui->dtpEPS, m_ui->chkMaxEPS, m_ui->chkGAL,
             m_ui->chkMCL, m_ui->lstServers, m_ui->cmdAddServer, m_ui->cmdRemoveServer})
        widget->setEnabled(enable);
    EnableMaxEPS(enable && m_ui->chkMaxEPS->isChecked());
}

void frmHost::EnableMCC(bool enable) {
    for (QWidget* widget : std::initializer_list<QWidget*>{m_ui->udInterval4, m_ui->cboUnit4,
                                                           m_ui->dtpMCC, m_ui->chkMaxMCC})
        widget->setEnabled(enable);
    EnableMaxMCC(enable && m_ui->chkMaxMCC->isChecked());
}

void frmHost::EnableSSU(bool enable) {
    for (QWidget* widget :
         std::initializer_list<QWidget*>{m_ui->udInterval2, m_ui->cboUnit2, m_ui->dtpSSU})
        widget->setEnabled(enable);
}

void frmHost::EnableMaxEPS(bool enable) {
    m_ui->udInterval3->setEnabled(enable);
    m_ui->cboUnit3->setEnabled(enable);
    if (enable)
        m_editor.OfferLimit(kEPSLimit);
    showIntervals();
}

void frmHost::EnableMaxMCC(bool enable) {
    m_ui->udInterval5->setEnabled(enable);
    m_ui->cboUnit5->setEnabled(enable);
    if (enable)
        m_editor.OfferLimit(kMCCLimit);
    showIntervals();
}

// --- from the controls to the record

void frmHost::SetDirty() {
    if (m_loading)
        return;
    m_editor.dirty = true;
    m_ui->cmdApply->setEnabled(true);
}

void frmHost::readFields() {
    for (LimitBox* box : m_numbers)
        box->interpretText(); // a key of a button leaves the text unread
    m_ui->udPolling->interpretText();
    m_ui->udWatchdog->interpretText();
    m_editor.polling = m_ui->udPolling->value();
    m_editor.watchdog = m_ui->udWatchdog->value();
    m_editor.processMessages = m_ui->chkProcess->isChecked();
    for (size_t job = 0; job < kJobs; ++job)
        m_editor.enabled[job] = m_masters[job]->isChecked();
    m_editor.epsLimited = m_ui->chkMaxEPS->isChecked();
    m_editor.mccLimited = m_ui->chkMaxMCC->isChecked();
    m_editor.addFromGAL = m_ui->chkGAL->isChecked();
    m_editor.processMCL = m_ui->chkMCL->isChecked();
}

HostTab frmHost::currentTab() const {
    const auto page = std::ranges::find(m_pages, m_ui->tabPages->currentWidget());
    return static_cast<HostTab>(page - m_pages.begin());
}

bool frmHost::save() {
    readFields();
    const HostStop stop = m_editor.SaveHost(currentTab());
    showIntervals();
    showDates();
    m_ui->cmdApply->setEnabled(m_editor.dirty);
    if (stop.stopped)
        goTo(stop);
    return !stop.stopped;
}

void frmHost::goTo(const HostStop& stop) {
    if (stop.tab)
        m_ui->tabPages->setCurrentWidget(m_pages[static_cast<size_t>(*stop.tab)]);
    if (stop.field == HostStop::Field::EPSLimit)
        m_ui->udInterval3->setFocus();
    else if (stop.field == HostStop::Field::NextRun)
        m_dates[stop.job]->setFocus();
}

} // namespace kr
