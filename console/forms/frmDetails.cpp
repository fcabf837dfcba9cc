#include "console/forms/frmDetails.h"

#include <QHeaderView>
#include <QScreen>
#include <QScrollBar>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmDetails.h"

namespace kr {

namespace {

constexpr int kColumns = 90;
constexpr int kLines = 26;

} // namespace

frmDetails::frmDetails(QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmDetails>()) {
    m_ui->setupUi(this);
    m_ui->lblWarning->hide();
    m_adapter = std::make_unique<ListAdapter>(m_list);
    m_ui->lvDetail->setModel(m_adapter.get());
    QHeaderView* header = m_ui->lvDetail->header();
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setStretchLastSection(false);
    connect(header, &QHeaderView::sectionClicked, this, [this](int column) {
        m_list.ColumnClick(column);
        showOrder();
    });
    connect(m_ui->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->lvDetail->setFocus();
}

frmDetails::~frmDetails() { m_ui->lvDetail->setModel(nullptr); }

void frmDetails::SetCount(std::string_view text) { m_ui->lblCount->setText(FromUtf8(text)); }

void frmDetails::SetWarning(std::string_view text) {
    m_ui->lblWarning->setText(FromUtf8(text));
    m_ui->lblWarning->setVisible(!text.empty());
}

void frmDetails::showOrder() {
    m_ui->lvDetail->header()->setSortIndicator(
        m_list.SortColumn(),
        m_list.Order() == SortOrder::Ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

/// As wide as the columns, on a screen that has the room.
void frmDetails::widen() {
    const QTreeView& list = *m_ui->lvDetail;
    const int around = 2 * list.frameWidth() + list.verticalScrollBar()->sizeHint().width() +
                       layout()->contentsMargins().left() + layout()->contentsMargins().right();
    const int most = screen()->availableSize().width() * 9 / 10;
    if (const int wanted = std::min(list.header()->length() + around, most); wanted > width())
        resize(wanted, height());
}

void frmDetails::showEvent(QShowEvent* event) {
    FitColumns(*m_ui->lvDetail, m_list);
    showOrder();
    if (!event->spontaneous())
        widen();
    QDialog::showEvent(event);
}

void frmDetails::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
}

frmDetailsCCL::frmDetailsCCL(QWidget* parent) : frmDetails(parent) {
    setObjectName(QStringLiteral("frmDetailsCCL"));
    m_ui->lblCount->setObjectName(QStringLiteral("lblResult"));
}

} // namespace kr
