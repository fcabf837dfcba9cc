#include "push/forms/frmPDL.h"

#include <QHeaderView>
#include <QTimer>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmPDL.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 26;

} // namespace

frmPDL::frmPDL(AgentSession& session, const EntryID& list, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmPDL>()), m_session(session), m_list(list) {
    m_ui->setupUi(this);
    m_readable = m_form.Load(session, list);
    setWindowTitle("PDL - " + FromUtf8(m_form.name()));
    m_ui->lblSource->setText(FromUtf8(m_form.SourceText()));
    bind(*m_ui->lvSource, m_form.sources, m_sources);
    bind(*m_ui->lvTarget, m_form.targets, m_targets);
    const std::pair<QCheckBox*, PdlProtocol> boxes[] = {{m_ui->chkPIN, PdlProtocol::PIN},
                                                        {m_ui->chkSMS, PdlProtocol::SMS},
                                                        {m_ui->chkEmail, PdlProtocol::Email}};
    for (const auto& [box, protocol] : boxes) {
        box->setChecked(m_form.IsEnabled(protocol));
        box->setEnabled(m_readable);
        connect(box, &QCheckBox::toggled, this, [this, protocol = protocol](bool checked) {
            m_form.Enable(protocol, checked);
            if (m_state == State::Ended)
                showCounts();
        });
    }
    m_ui->cmdOK->setEnabled(m_readable);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmPDL::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QDialog::finished, this, [this] { m_closed = true; });
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->lvSource->setFocus();
}

frmPDL::~frmPDL() {
    m_ui->lvSource->setModel(nullptr);
    m_ui->lvTarget->setModel(nullptr);
}

void frmPDL::bind(QTreeView& view, ListModel& list, std::unique_ptr<ListAdapter>& adapter) {
    adapter = std::make_unique<ListAdapter>(list);
    view.setModel(adapter.get());
    QHeaderView* header = view.header();
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setStretchLastSection(false);
    connect(header, &QHeaderView::sectionClicked, this, [this, &view, &list](int column) {
        list.ColumnClick(column);
        showOrder(view, list);
    });
}

void frmPDL::showOrder(QTreeView& view, const ListModel& list) {
    view.header()->setSortIndicator(list.SortColumn(), list.Order() == SortOrder::Ascending
                                                           ? Qt::AscendingOrder
                                                           : Qt::DescendingOrder);
}

void frmPDL::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (m_state != State::Waiting)
        return;
    m_state = State::Loading;
    FitColumns(*m_ui->lvSource, m_form.sources);
    FitColumns(*m_ui->lvTarget, m_form.targets);
    QTimer::singleShot(0, this, &frmPDL::load); // the window paints first
}

void frmPDL::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() != QEvent::PaletteChange)
        return;
    for (ListAdapter* adapter : {m_sources.get(), m_targets.get()})
        if (adapter)
            adapter->setColors(ThemeColors::of(palette()));
}

void frmPDL::load() {
    if (!m_readable) {
        m_ui->lblSourceCount->setText(
            tr("The list could not be read. Check the log for the reason."));
        return;
    }
    m_ui->lblSourceCount->setText(tr("Loading contacts, please wait..."));
    m_ui->lblTargetCount->setText(tr("Loading targets, please wait..."));
    {
        const WaitCursor wait(m_session.ui());
        m_form.LoadLists(m_session, [this] { return m_closed; });
    }
    m_state = State::Ended;
    if (m_closed)
        return;
    FitColumns(*m_ui->lvSource, m_form.sources);
    FitColumns(*m_ui->lvTarget, m_form.targets);
    showOrder(*m_ui->lvSource, m_form.sources);
    showOrder(*m_ui->lvTarget, m_form.targets);
    showCounts();
}

void frmPDL::showCounts() {
    m_ui->lblSourceCount->setText(FromUtf8(m_form.SourceCount()));
    m_ui->lblTargetCount->setText(FromUtf8(m_form.TargetCount()));
}

void frmPDL::onOK() {
    switch (m_form.Save(m_session)) {
    case PdlForm::Outcome::Saved:
        m_saved = m_list;
        accept();
        break;
    case PdlForm::Outcome::Unchanged:
        reject();
        break;
    case PdlForm::Outcome::Refused:
    case PdlForm::Outcome::Failed:
        break;
    }
}

} // namespace kr
