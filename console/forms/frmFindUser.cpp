#include "console/forms/frmFindUser.h"

#include <QAction>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

#include "console/FindUser.h"
#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFindUser.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 24;

FindCriterion criterionOf(const QComboBox& how, const QLineEdit& text) {
    return {static_cast<FindOperator>(how.currentIndex()), ToUtf8(text.text())};
}

} // namespace

frmFindUser::frmFindUser(AgentSession& session, GoTo goTo, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmFindUser>()), m_session(session),
      m_goTo(std::move(goTo)) {
    m_ui->setupUi(this);
    for (QComboBox* combo : {m_ui->cboName, m_ui->cboEmail}) {
        for (const std::string_view name : kFindOperators)
            combo->addItem(FromUtf8(name));
        combo->setCurrentIndex(static_cast<int>(FindOperator::Contains));
    }
    m_adapter = std::make_unique<ListAdapter>(m_list);
    m_ui->lvUsers->setModel(m_adapter.get());
    m_ui->lvUsers->header()->setSectionsClickable(true);
    makeMenu();
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->txtName->setFocus();
    connect(m_ui->lvUsers->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_list.ColumnClick(column); });
    connect(m_ui->lvUsers, &QAbstractItemView::doubleClicked, this, &frmFindUser::onGoTo);
    connect(m_ui->lvUsers, &QWidget::customContextMenuRequested, this, &frmFindUser::showMenu);
    connect(m_ui->cmdQuery, &QPushButton::clicked, this, &frmFindUser::onQuery);
    connect(m_ui->cmdExit, &QPushButton::clicked, this, &QDialog::reject);
}

frmFindUser::~frmFindUser() { m_ui->lvUsers->setModel(nullptr); }

void frmFindUser::makeMenu() {
    m_menu = new QMenu(this);
    m_menu->setObjectName(QStringLiteral("mnuFindUser"));
    QAction* goTo = m_menu->addAction(tr("Go To"));
    goTo->setObjectName(QStringLiteral("mnuGoTo"));
    m_menu->setDefaultAction(goTo);
    connect(goTo, &QAction::triggered, this, &frmFindUser::onGoTo);
}

void frmFindUser::onQuery() {
    FindUsers(m_session, m_list, criterionOf(*m_ui->cboName, *m_ui->txtName),
              criterionOf(*m_ui->cboEmail, *m_ui->txtEmail));
    FitColumns(*m_ui->lvUsers, m_list);
    if (m_list.Count() == 0)
        return;
    m_ui->lvUsers->setCurrentIndex(m_adapter->index(0, 0));
    m_ui->lvUsers->setFocus();
}

void frmFindUser::onGoTo() {
    const QModelIndex current = m_ui->lvUsers->currentIndex();
    if (current.isValid() && m_goTo)
        m_goTo(m_list.At(static_cast<size_t>(current.row())).key);
}

void frmFindUser::showMenu(const QPoint& at) {
    const QModelIndex row = m_ui->lvUsers->currentIndex();
    if (!row.isValid())
        return;
    // the Menu key asks at the mouse or the middle of the list: show it at the row then
    const bool onRow = m_ui->lvUsers->indexAt(at).isValid();
    const QPoint place = onRow ? at : m_ui->lvUsers->visualRect(row).center();
    m_menu->popup(m_ui->lvUsers->viewport()->mapToGlobal(place));
}

void frmFindUser::keyPressEvent(QKeyEvent* event) {
    if (IsEnterIn(*m_ui->lvUsers, *event))
        onGoTo();
    else
        QDialog::keyPressEvent(event);
}

void frmFindUser::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
}

} // namespace kr
