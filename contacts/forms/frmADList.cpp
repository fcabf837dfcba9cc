#include "contacts/forms/frmADList.h"

#include <QHeaderView>
#include <QKeyEvent>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmADList.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 26;
constexpr int kNameColumns = 40;
/// Milliseconds between two additions to the list, each of which lays the list out anew. The first
/// page needn't wait so long.
constexpr int kFirstFlow = 30;
constexpr int kFlow = 250;

} // namespace

frmADList::frmADList(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmADList>()), m_session(session),
      m_people(session, m_list) {
    m_ui->setupUi(this);
    m_ui->cboFind->addItems({tr("Name"), tr("Email")});
    m_adapter = std::make_unique<ListAdapter>(m_list);
    m_ui->vlwAD->setModel(m_adapter.get());
    m_ui->vlwAD->header()->setSectionsClickable(true);
    m_ui->vlwAD->header()->setSortIndicatorShown(true);
    m_ui->vlwAD->installEventFilter(this);
    m_ui->vlwAD->setColumnWidth(0, TextRoom(*this, kNameColumns, 1).width());
    m_ui->wb1->setFixedWidth(TextRoom(*this, kColumns / 5, 1).width());
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->txtFind->setFocus();
    connectControls();
    showOrder();
    // the window paints first
    QTimer::singleShot(0, this, &frmADList::load);
}

frmADList::~frmADList() { m_ui->vlwAD->setModel(nullptr); }

void frmADList::connectControls() {
    connect(m_ui->vlwAD->header(), &QHeaderView::sectionClicked, this, &frmADList::onColumn);
    connect(m_ui->vlwAD, &QAbstractItemView::doubleClicked, this, &frmADList::onOK);
    connect(m_ui->txtFind, &QLineEdit::textChanged, this, &frmADList::onFind);
    connect(m_ui->cboFind, &QComboBox::currentIndexChanged, this, &frmADList::onFind);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmADList::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(&m_flow, &QTimer::timeout, this, &frmADList::showNew);
}

void frmADList::load() {
    m_flow.start(kFirstFlow);
    m_people.Load([this] { onLoaded(); });
    showCount();
}

void frmADList::onLoaded() {
    m_flow.stop();
    m_ui->wb1->hide();
    showOrder();
    showCount();
}

void frmADList::showNew() {
    m_people.ShowNew();
    if (m_list.Count() > 0)
        m_flow.setInterval(kFlow);
    showCount();
}

void frmADList::showCount() {
    const std::string count = "Count: " + std::to_string(m_list.Count());
    m_ui->lblCount->setText(FromUtf8(m_people.Loading() ? count + " ..." : count));
    m_ui->wb1->setVisible(m_people.Loading());
}

void frmADList::showOrder() {
    m_ui->vlwAD->header()->setSortIndicator(
        m_people.SortColumn(),
        m_people.Order() == SortOrder::Ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

template <class Change>
void frmADList::keepingCurrent(Change change) {
    const QModelIndex current = m_ui->vlwAD->currentIndex();
    const std::string key =
        current.isValid() ? m_list.At(static_cast<size_t>(current.row())).key : std::string();
    change();
    const size_t position = m_list.Find(key);
    if (position == ListModel::npos)
        return;
    const QModelIndex index = m_adapter->index(static_cast<int>(position), 0);
    m_ui->vlwAD->setCurrentIndex(index);
    m_ui->vlwAD->scrollTo(index);
}

void frmADList::onColumn(int column) {
    const WaitCursor wait(m_session.ui());
    keepingCurrent([&] { m_people.ColumnClick(column); });
    showOrder();
    showCount();
}

void frmADList::onFind() {
    keepingCurrent([&] {
        m_people.Find(static_cast<ADList::Column>(m_ui->cboFind->currentIndex()),
                      ToUtf8(m_ui->txtFind->text()));
    });
    showCount();
}

void frmADList::onOK() {
    const QModelIndex current = m_ui->vlwAD->currentIndex();
    if (!current.isValid()) {
        m_session.ui().MsgBox("No name has been selected", BoxIcon::Exclamation);
        return;
    }
    m_choice = m_people.PersonAt(static_cast<size_t>(current.row()));
    accept();
}

void frmADList::jumpTo(char letter) {
    const size_t position = m_people.JumpTo(letter);
    if (position == ListModel::npos)
        return;
    const QModelIndex index = m_adapter->index(static_cast<int>(position), 0);
    m_ui->vlwAD->setCurrentIndex(index);
    m_ui->vlwAD->scrollTo(index, QAbstractItemView::PositionAtTop);
}

bool frmADList::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_ui->vlwAD || event->type() != QEvent::KeyPress)
        return QDialog::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    constexpr Qt::KeyboardModifiers others = Qt::ControlModifier | Qt::AltModifier;
    if (key.key() < Qt::Key_A || key.key() > Qt::Key_Z || (key.modifiers() & others) != 0)
        return QDialog::eventFilter(watched, event);
    jumpTo(static_cast<char>('A' + (key.key() - Qt::Key_A)));
    return true;
}

void frmADList::keyPressEvent(QKeyEvent* event) {
    if (IsEnterIn(*m_ui->vlwAD, *event))
        onOK();
    else
        QDialog::keyPressEvent(event);
}

void frmADList::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
}

std::optional<ADPerson> PickFromADList(AgentSession& session, QWidget* parent) {
    frmADList form(session, parent);
    if (form.exec() != QDialog::Accepted)
        return std::nullopt;
    return form.choice();
}

} // namespace kr
