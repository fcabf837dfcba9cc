#include "hosts/forms/frmAgentProps.h"

#include <QListWidget>
#include <utility>

#include "hosts/forms/AttachBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmAgentProps.h"

namespace kr {

namespace {

/// The date of the picker is wall-clock time: as UTC no hour is skipped or doubled.
QDateTime pickerTime(Time local) {
    return QDateTime::fromSecsSinceEpoch(local.time_since_epoch().count(), Qt::UTC);
}

void fill(QListWidget& list, const Strings& entries) {
    list.clear();
    for (const std::string& entry : entries)
        list.addItem(FromUtf8(entry));
}

} // namespace

frmAgentProps::frmAgentProps(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmAgentProps>()), m_props(session) {
    m_ui->setupUi(this);
    m_custom = {m_ui->cboEX0, m_ui->cboEX1, m_ui->cboEX2, m_ui->cboEX3, m_ui->cboEX4};
    setLimits();
    m_props.GetParameters();
    showAll();
    connectFields();
    connectLists();
    connectBackup();
    connectFax();
    connectCustom();
    connectButtons();
    m_ui->tabPages->setCurrentIndex(0);
    m_ui->udDeleteDelay->setFocus();
    m_loading = false;
}

frmAgentProps::~frmAgentProps() = default;

void frmAgentProps::SetDirty() {
    if (m_loading)
        return;
    m_props.dirty = true;
    m_ui->cmdApply->setEnabled(true);
}

// --- from the fields to the controls

void frmAgentProps::setLimits() {
    m_ui->udDeleteDelay->SetLimits(kDeleteLimits);
    m_ui->udAttach->SetLimits(kAttachLimits);
    m_ui->udBrowser->SetLimits(kBrowserLimits);
    m_ui->udStaleDate->SetLimits(kStaleLimits);
}

void frmAgentProps::showAll() {
    const AgentFields& f = m_props.fields;
    showNumbers();
    m_ui->chkClean->setChecked(f.cleanSender);
    m_ui->chkReporting->setChecked(f.reporting);
    m_ui->txtAdmin->setText(FromUtf8(f.admins.names));
    m_ui->txtReport->setText(FromUtf8(f.reporters.names));
    m_ui->chkSendAs->setChecked(f.faxSendAs);
    m_ui->dtpBackup->setTimeSpec(Qt::UTC);
    m_ui->dtpBackup->setDateTime(pickerTime(f.backupTime));
    (f.backupDisabled ? m_ui->optBackup1 : m_ui->optBackup0)->setChecked(true);
    m_ui->dtpBackup->setEnabled(!f.backupDisabled);
    LoadCboEX();
    LoadCboFax();
    LoadCboSyntax();
    m_ui->cmdApply->setEnabled(false);
}

void frmAgentProps::showNumbers() {
    const AgentFields& f = m_props.fields;
    m_ui->udDeleteDelay->setValue(f.deleteDelay);
    m_ui->udAttach->setValue(f.maxAttach);
    m_ui->udList->SetLimits(ListLimits(f.maxAttach));
    m_ui->udList->setValue(f.maxList);
    m_ui->udBrowser->setValue(f.browserWait);
    m_ui->udStaleDate->setValue(f.staleDate);
}

void frmAgentProps::LoadCboEX() {
    for (size_t i = 0; i < kCustomFields; ++i) {
        QComboBox& box = *m_custom[i];
        const QString mapped = FromUtf8(m_props.fields.custom[i]);
        box.clear();
        for (const std::string_view attribute : CustomAttributes())
            box.addItem(FromUtf8(attribute));
        if (box.findText(mapped, Qt::MatchFixedString) < 0)
            box.addItem(mapped); // one that the agent message has and nobody offers
        box.setCurrentIndex(box.findText(mapped, Qt::MatchFixedString));
    }
}

void frmAgentProps::LoadCboFax() {
    m_ui->cboFax->clear();
    for (const std::string_view choice : kFaxChoices)
        m_ui->cboFax->addItem(FromUtf8(choice));
    m_ui->cboFax->setCurrentIndex(m_props.fields.fax);
}

void frmAgentProps::LoadCboSyntax() {
    const AgentFields& f = m_props.fields;
    const bool secure = f.fax == kFaxSecure;
    const bool before = std::exchange(m_loading, true);
    m_ui->cboSyntax->clear();
    for (const std::string& choice : m_props.SyntaxChoices())
        m_ui->cboSyntax->addItem(FromUtf8(choice));
    m_ui->cboSyntax->setCurrentIndex(m_ui->cboSyntax->findText(
        FromUtf8(secure ? f.faxSyntax.relay : f.faxSyntax.syntax), Qt::MatchFixedString));
    const bool missing = m_ui->cboSyntax->count() == 0;
    m_ui->cboSyntax->setEnabled(!missing);
    m_ui->cboSyntax->setPlaceholderText(missing ? tr("not set") : QString());
    m_ui->lblMissing->setText(missing ? FromUtf8(AgentProps::MissingRelay()) : QString());
    m_ui->lblMissing->setVisible(missing);
    m_ui->lblSyntax->setText(secure                 ? tr("zand&rel Secure FAX SMTP address")
                             : f.fax == kFaxGateway ? tr("Fax S&yntax")
                                                    : tr("Fax s&yntax"));
    m_loading = before;
}

// --- what the controls do

void frmAgentProps::connectFields() {
    const auto changed = [this] { SetDirty(); };
    for (LimitBox* box : {m_ui->udDeleteDelay, m_ui->udList, m_ui->udBrowser, m_ui->udStaleDate})
        connect(box, &QSpinBox::valueChanged, this, changed);
    connect(m_ui->udAttach, &QSpinBox::valueChanged, this, [this] { onAttach(); });
    for (QCheckBox* box : {m_ui->chkClean, m_ui->chkReporting, m_ui->chkSendAs})
        connect(box, &QCheckBox::toggled, this, changed);
    connectPeople(m_ui->cmdAdmin, m_ui->txtAdmin, m_props.fields.admins,
                  [this] { return m_props.PickAdmin(); });
    connectPeople(m_ui->cmdReport, m_ui->txtReport, m_props.fields.reporters,
                  [this] { return m_props.PickReport(); });
}

/// A list always holds more than what comes as attachments.
void frmAgentProps::onAttach() {
    m_ui->udList->SetLimits(ListLimits(m_ui->udAttach->value()));
    SetDirty();
}

void frmAgentProps::connectLists() {
    AgentFields& f = m_props.fields;
    connectList(m_ui->lstDomains, m_ui->cmdAddDomain, m_ui->cmdDeleteDomain, f.senderDomains,
                [this] { return m_props.AddDomain(); });
    connectList(m_ui->lstRefuse, m_ui->cmdAddRefuse, m_ui->cmdDeleteRefuse, f.refuseDomains,
                [this] { return m_props.AddRefuse(); });
    connectList(m_ui->lstExclude, m_ui->cmdAddExt, m_ui->cmdDeleteExt, f.excludeExt,
                [this] { return m_props.AddExt(); });
    connectList(m_ui->lstTrusted, m_ui->cmdAddTrusted, m_ui->cmdDeleteTrusted, f.trustedDomains,
                [this] { return m_props.AddTrusted([this](bool on) { setChecking(on); }); });
}

void frmAgentProps::connectList(QListWidget* list, QPushButton* add, QPushButton* remove,
                                Strings& entries, const std::function<bool()>& ask) {
    fill(*list, entries);
    remove->setEnabled(false);
    connect(list, &QListWidget::itemSelectionChanged, this,
            [list, remove] { remove->setEnabled(!list->selectedItems().isEmpty()); });
    connect(add, &QPushButton::clicked, this, [this, list, &entries, ask] {
        if (!ask())
            return;
        fill(*list, entries);
        list->setCurrentRow(list->count() - 1);
        SetDirty();
    });
    connect(remove, &QPushButton::clicked, this, [this, list, &entries] {
        const int place = list->currentRow();
        if (place < 0 || !m_props.Remove(entries, static_cast<size_t>(place)))
            return;
        fill(*list, entries);
        list->setCurrentRow(std::min(place, list->count() - 1)); // the next one, for the keyboard
        SetDirty();
    });
}

void frmAgentProps::connectPeople(QPushButton* button, QLineEdit* names, const RecipientList& list,
                                  const std::function<bool()>& ask) {
    connect(button, &QPushButton::clicked, this, [this, names, &list, ask] {
        if (!ask())
            return;
        names->setText(FromUtf8(list.names));
        SetDirty();
    });
}

void frmAgentProps::connectBackup() {
    connect(m_ui->optBackup0, &QRadioButton::toggled, this, [this](bool on) {
        m_ui->dtpBackup->setEnabled(on);
        SetDirty();
    });
    connect(m_ui->dtpBackup, &QDateTimeEdit::dateTimeChanged, this, [this] { SetDirty(); });
}

void frmAgentProps::connectFax() {
    connect(m_ui->cboFax, &QComboBox::currentIndexChanged, this, [this](int choice) {
        m_props.fields.fax = choice;
        LoadCboSyntax();
        SetDirty();
    });
    connect(m_ui->cboSyntax, &QComboBox::currentTextChanged, this,
            [this](const QString& choice) { onSyntax(ToUtf8(choice)); });
}

void frmAgentProps::onSyntax(const std::string& choice) {
    if (m_loading)
        return;
    FaxSyntax& chosen = m_props.fields.faxSyntax;
    (m_props.fields.fax == kFaxSecure ? chosen.relay : chosen.syntax) = choice;
    SetDirty();
}

void frmAgentProps::connectCustom() {
    for (size_t i = 0; i < kCustomFields; ++i)
        connect(m_custom[i], &QComboBox::currentIndexChanged, this, [this, i] { onAttribute(i); });
}

void frmAgentProps::onAttribute(size_t field) {
    if (m_loading)
        return;
    if (m_props.MapAttribute(field, ToUtf8(m_custom[field]->currentText()))) {
        m_ui->cmdApply->setEnabled(m_props.dirty);
        return;
    }
    const bool before = std::exchange(m_loading, true);
    m_custom[field]->setCurrentIndex(
        m_custom[field]->findText(FromUtf8(m_props.fields.custom[field]), Qt::MatchFixedString));
    m_loading = before;
}

void frmAgentProps::connectButtons() {
    connect(m_ui->cmdOK, &QPushButton::clicked, this, [this] {
        if (save())
            accept();
    });
    connect(m_ui->cmdApply, &QPushButton::clicked, this, [this] { save(); });
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

/// The window goes on painting while it waits, but takes no keys and clicks.
void frmAgentProps::setChecking(bool running) {
    m_checking = running;
    setEnabled(!running);
    if (!running)
        m_ui->cmdAddTrusted->setFocus();
}

void frmAgentProps::reject() {
    if (!m_checking)
        QDialog::reject();
}

// --- from the controls to the fields

void frmAgentProps::readFields() {
    AgentFields& f = m_props.fields;
    for (LimitBox* box : std::initializer_list<LimitBox*>{
             m_ui->udDeleteDelay, m_ui->udAttach, m_ui->udList, m_ui->udBrowser, m_ui->udStaleDate})
        box->interpretText(); // a key of a button leaves the text unread
    f.deleteDelay = m_ui->udDeleteDelay->value();
    f.cleanSender = m_ui->chkClean->isChecked();
    f.maxAttach = m_ui->udAttach->value();
    f.maxList = m_ui->udList->value();
    f.browserWait = m_ui->udBrowser->value();
    f.staleDate = m_ui->udStaleDate->value();
    f.reporting = m_ui->chkReporting->isChecked();
    f.faxSendAs = m_ui->chkSendAs->isChecked();
    f.backupDisabled = m_ui->optBackup1->isChecked();
    f.backupTime = Time(std::chrono::seconds(m_ui->dtpBackup->dateTime().toSecsSinceEpoch()));
}

bool frmAgentProps::save() {
    readFields();
    const bool saved = m_props.Apply();
    m_ui->cmdApply->setEnabled(m_props.dirty);
    return saved;
}

} // namespace kr
