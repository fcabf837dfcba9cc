// frmHost: what the controls do.
#include <QDateTimeEdit>
#include <QListWidget>
#include <QShortcut>

#include "hosts/forms/LimitBox.h"
#include "hosts/forms/frmHost.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmHost.h"

namespace kr {

namespace {

std::vector<size_t> selectedPlaces(const QListWidget& list) {
    std::vector<size_t> places;
    for (int i = 0; i < list.count(); ++i)
        if (list.item(i)->isSelected())
            places.push_back(static_cast<size_t>(i));
    return places;
}

} // namespace

void frmHost::connectFields() {
    const auto changed = [this] { SetDirty(); };
    connect(m_ui->udPolling, &QSpinBox::valueChanged, this, changed);
    connect(m_ui->udWatchdog, &QSpinBox::valueChanged, this, [this] {
        if (!m_loading)
            m_editor.watchdogChanged = true;
        SetDirty();
    });
    for (QCheckBox* box : {m_ui->chkProcess, m_ui->chkBPE, m_ui->chkEPS, m_ui->chkMaxEPS,
                           m_ui->chkGAL, m_ui->chkMCL, m_ui->chkSSU, m_ui->chkMCC, m_ui->chkMaxMCC})
        connect(box, &QCheckBox::toggled, this, changed);
    connect(m_ui->chkBPE, &QCheckBox::toggled, this, &frmHost::EnableProfileInfo);
    connect(m_ui->chkEPS, &QCheckBox::toggled, this, &frmHost::EnableClients);
    connect(m_ui->chkSSU, &QCheckBox::toggled, this, &frmHost::EnableSSU);
    connect(m_ui->chkMCC, &QCheckBox::toggled, this, &frmHost::EnableMCC);
    connect(m_ui->chkMaxEPS, &QCheckBox::toggled, this, &frmHost::EnableMaxEPS);
    connect(m_ui->chkMaxMCC, &QCheckBox::toggled, this, &frmHost::EnableMaxMCC);
    for (size_t job = 0; job < kJobs; ++job)
        connect(m_dates[job], &QDateTimeEdit::dateTimeChanged, this, [this, job] { onDate(job); });
}

void frmHost::connectIntervals() {
    for (size_t i = 0; i < kIntervals; ++i) {
        connect(m_numbers[i], &QSpinBox::valueChanged, this, [this, i] { onInterval(i); });
        connect(m_units[i], &QComboBox::currentIndexChanged, this, [this, i] { onInterval(i); });
    }
}

void frmHost::setLimits(size_t index) {
    const auto unit = static_cast<size_t>(std::max(0, m_units[index]->currentIndex()));
    m_numbers[index]->SetLimits(IntervalLimits(index, unit));
}

void frmHost::onInterval(size_t index) {
    if (m_loading)
        return;
    setLimits(index); // may change the number, which comes back here
    m_editor.boxes[index] = {m_numbers[index]->value(),
                             static_cast<size_t>(m_units[index]->currentIndex())};
    if (index == kEPSLimit || index == kMCCLimit)
        m_editor.TakeLimit(index);
    SetDirty();
}

void frmHost::onDate(size_t job) {
    if (m_loading)
        return;
    m_editor.next[job] = Time(std::chrono::seconds(m_dates[job]->dateTime().toSecsSinceEpoch()));
    SetDirty();
}

void frmHost::connectLogging() {
    const std::array<QRadioButton*, 3> options{m_ui->optMinimum, m_ui->optMedium, m_ui->optMaximum};
    for (int i = 0; i < 3; ++i)
        connect(options[static_cast<size_t>(i)], &QRadioButton::toggled, this, [this, i](bool on) {
            if (!on || m_loading)
                return;
            m_editor.ChooseLogOption(i);
            showLogging();
            SetDirty();
        });
    connect(m_ui->chkReporting, &QCheckBox::toggled, this, [this](bool on) {
        if (m_loading)
            return;
        m_editor.SetReporting(on);
        showLogging();
        SetDirty();
    });
    // the hidden switch, also where the tab strip has the focus
    auto* complete = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_L), this);
    connect(complete, &QShortcut::activated, this, [this] {
        m_editor.ToggleCompleteLogging();
        showLogging();
        m_ui->cmdApply->setEnabled(m_editor.dirty);
    });
    connect(m_ui->cmdShowLogs, &QPushButton::clicked, this, [this] { m_editor.ShowLogs(); });
}

void frmHost::connectLists() {
    const auto afterServers = [this] {
        LoadServerList();
        m_ui->cmdApply->setEnabled(m_editor.dirty);
    };
    const auto afterDSNs = [this] {
        LoadDSNList();
        m_ui->cmdApply->setEnabled(m_editor.dirty);
    };
    connect(m_ui->cmdAddServer, &QPushButton::clicked, this, [this, afterServers] {
        if (m_editor.AddServer())
            afterServers();
    });
    connect(m_ui->cmdRemoveServer, &QPushButton::clicked, this, [this, afterServers] {
        m_editor.RemoveServers(selectedPlaces(*m_ui->lstServers));
        afterServers();
    });
    connect(m_ui->cmdAddDSN, &QPushButton::clicked, this, [this, afterDSNs] {
        if (m_editor.AddDSN())
            afterDSNs();
    });
    connect(m_ui->cmdRemoveDSN, &QPushButton::clicked, this, [this, afterDSNs] {
        m_editor.RemoveDSNs(selectedPlaces(*m_ui->lstDSNs));
        afterDSNs();
    });
    connect(m_ui->cmdBES, &QPushButton::clicked, this, [this] {
        if (!m_editor.PickBESAgent())
            return;
        m_ui->txtBES->setText(FromUtf8(m_editor.besName));
        SetDirty();
    });
}

void frmHost::connectButtons() {
    connect(m_ui->cmdOK, &QPushButton::clicked, this, [this] {
        if (save())
            accept();
    });
    connect(m_ui->cmdApply, &QPushButton::clicked, this, [this] { save(); });
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

} // namespace kr
