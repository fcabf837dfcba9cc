#include "handhelds/forms/frmFindReg.h"

#include <QAction>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "handhelds/basHandhelds.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFindReg.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 24;

FindCriterion criterionOf(const QComboBox& how, const QLineEdit& text) {
    return {static_cast<FindOperator>(how.currentIndex()), ToUtf8(text.text())};
}

} // namespace

frmFindReg::frmFindReg(AgentSession& session, GoTo goTo, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmFindReg>()), m_session(session),
      m_goTo(std::move(goTo)) {
    m_ui->setupUi(this);
    for (QComboBox* combo : {m_ui->cboESN, m_ui->cboEmail}) {
        for (const std::string_view name : kFindOperators)
            combo->addItem(FromUtf8(name));
        combo->setCurrentIndex(static_cast<int>(FindOperator::Contains));
    }
    const auto pair = [](const QComboBox* how, QLineEdit* text) {
        connect(how, &QComboBox::currentIndexChanged, text,
                [text](int op) { text->setEnabled(op != static_cast<int>(FindOperator::Any)); });
    };
    pair(m_ui->cboESN, m_ui->txtESN);
    pair(m_ui->cboEmail, m_ui->txtEmail);
    m_adapter = std::make_unique<ListAdapter>(m_list);
    m_ui->lvHandhelds->setModel(m_adapter.get());
    m_ui->lvHandhelds->header()->setSectionsClickable(true);
    makeMenu();
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->txtESN->setFocus();
    connect(m_ui->lvHandhelds->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_list.ColumnClick(column); });
    connect(m_ui->lvHandhelds, &QAbstractItemView::doubleClicked, this, &frmFindReg::onGoTo);
    connect(m_ui->lvHandhelds, &QWidget::customContextMenuRequested, this, &frmFindReg::showMenu);
    connect(m_ui->cmdQuery, &QPushButton::clicked, this, &frmFindReg::onQuery);
    connect(m_ui->cmdExit, &QPushButton::clicked, this, &QDialog::reject);
}

frmFindReg::~frmFindReg() { m_ui->lvHandhelds->setModel(nullptr); }

void frmFindReg::makeMenu() {
    m_menu = new QMenu(this);
    m_menu->setObjectName(QStringLiteral("mnuFindReg"));
    QAction* goTo = m_menu->addAction(tr("Go To"));
    goTo->setObjectName(QStringLiteral("mnuGoTo"));
    m_menu->setDefaultAction(goTo);
    connect(goTo, &QAction::triggered, this, &frmFindReg::onGoTo);
}

void frmFindReg::onQuery() {
    FindHandhelds(m_session, m_list, criterionOf(*m_ui->cboESN, *m_ui->txtESN),
                  criterionOf(*m_ui->cboEmail, *m_ui->txtEmail));
    FitColumns(*m_ui->lvHandhelds, m_list);
    if (m_list.Count() == 0)
        return;
    m_ui->lvHandhelds->setCurrentIndex(m_adapter->index(0, 0));
    m_ui->lvHandhelds->setFocus();
}

void frmFindReg::onGoTo() {
    const QModelIndex current = m_ui->lvHandhelds->currentIndex();
    if (current.isValid() && m_goTo)
        m_goTo(m_list.At(static_cast<size_t>(current.row())).key);
}

void frmFindReg::showMenu(const QPoint& at) {
    const QModelIndex row = m_ui->lvHandhelds->currentIndex();
    if (!row.isValid())
        return;
    // the Menu key asks at the mouse or the middle of the list: show it at the row then
    const bool onRow = m_ui->lvHandhelds->indexAt(at).isValid();
    const QPoint place = onRow ? at : m_ui->lvHandhelds->visualRect(row).center();
    m_menu->popup(m_ui->lvHandhelds->viewport()->mapToGlobal(place));
}

void frmFindReg::keyPressEvent(QKeyEvent* event) {
    if (IsEnterIn(*m_ui->lvHandhelds, *event))
        onGoTo();
    else
        QDialog::keyPressEvent(event);
}

void frmFindReg::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
}

} // namespace kr
