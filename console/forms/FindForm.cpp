#include "console/forms/FindForm.h"

#include <QAction>
#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTreeView>
#include <algorithm>

#include "console/forms/FormTools.h"
#include "console/forms/ListAdapter.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr int kColumns = 96; // three columns of long names and addresses
constexpr int kLines = 24;

FindCriterion criterionOf(const QComboBox& how, const QLineEdit& text) {
    return {static_cast<FindOperator>(how.currentIndex()), ToUtf8(text.text())};
}

} // namespace

FindForm::FindForm(GoTo goTo, Find find, QWidget* parent)
    : QDialog(parent), m_goTo(std::move(goTo)), m_find(std::move(find)) {}

FindForm::~FindForm() {
    if (m_controls.list) // it outlives its rows
        m_controls.list->setModel(nullptr);
}

void FindForm::begin(const Controls& controls) {
    m_controls = controls;
    for (const auto& [how, text] : controls.criteria) {
        for (const std::string_view name : kFindOperators)
            how->addItem(FromUtf8(name));
        connect(how, &QComboBox::currentIndexChanged, text, [text = text](int op) {
            text->setEnabled(op != static_cast<int>(FindOperator::Any));
        });
        how->setCurrentIndex(static_cast<int>(FindOperator::Contains));
    }
    QTreeView* list = controls.list;
    m_adapter = std::make_unique<ListAdapter>(m_list);
    list->setModel(m_adapter.get());
    list->header()->setSectionsClickable(true);
    makeMenu();
    resize(TextRoom(*this, kColumns, kLines));
    controls.criteria[0].text->setFocus();
    connect(list->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_list.ColumnClick(column); });
    connect(list, &QAbstractItemView::doubleClicked, this, &FindForm::onGoTo);
    connect(list, &QWidget::customContextMenuRequested, this, &FindForm::showMenu);
    connect(controls.query, &QPushButton::clicked, this, &FindForm::onQuery);
    connect(controls.exit, &QPushButton::clicked, this, &QDialog::reject);
}

void FindForm::makeMenu() {
    m_menu = new QMenu(this);
    m_menu->setObjectName(QLatin1String(m_controls.menuName));
    QAction* goTo = m_menu->addAction(tr("Go To"));
    goTo->setObjectName(QStringLiteral("mnuGoTo"));
    m_menu->setDefaultAction(goTo);
    connect(goTo, &QAction::triggered, this, &FindForm::onGoTo);
}

void FindForm::onQuery() {
    const auto& [first, second] = m_controls.criteria;
    m_find(m_list, criterionOf(*first.how, *first.text), criterionOf(*second.how, *second.text));
    fitColumns();
    if (m_list.Count() == 0)
        return;
    m_controls.list->setCurrentIndex(m_adapter->index(0, 0));
    m_controls.list->setFocus();
}

/// The last column takes what the others leave, unless that cuts a text.
void FindForm::fitColumns() {
    QTreeView& list = *m_controls.list;
    FitColumns(list, m_list, false);
    const int last = m_adapter->columnCount() - 1;
    if (last < 0)
        return;
    list.doItemsLayout(); // the scroll bar of the rows takes its room now
    const int needed = list.columnWidth(last);
    const int others = list.header()->length() - needed;
    list.setColumnWidth(last, std::max(list.viewport()->width() - others, needed));
}

void FindForm::onGoTo() {
    const QModelIndex current = m_controls.list->currentIndex();
    if (current.isValid() && m_goTo)
        m_goTo(m_list.At(static_cast<size_t>(current.row())).key);
}

void FindForm::showMenu(const QPoint& at) {
    const QTreeView& list = *m_controls.list;
    const QModelIndex row = list.currentIndex();
    if (!row.isValid())
        return;
    // the Menu key asks at the mouse or the middle of the list: show it at the row then
    const bool onRow = list.indexAt(at).isValid();
    const QPoint place = onRow ? at : list.visualRect(row).center();
    m_menu->popup(list.viewport()->mapToGlobal(place));
}

void FindForm::keyPressEvent(QKeyEvent* event) {
    if (IsEnterIn(*m_controls.list, *event))
        onGoTo();
    else
        QDialog::keyPressEvent(event);
}

void FindForm::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_adapter)
        m_adapter->setColors(ThemeColors::of(palette()));
}

} // namespace kr
