#include "tests/journeys/Look.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QGroupBox>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QSpinBox>
#include <QTextEdit>

#include "tests/journeys/Driver.h"

namespace kr::journeys {

namespace {

constexpr int kKeyRole = Qt::UserRole;
constexpr int kTagRole = Qt::UserRole + 1;

QWidget* findMain() {
    for (QWidget* top : QApplication::topLevelWidgets())
        if (top->objectName() == "frmFleetMain" && top->isVisible())
            return top;
    return nullptr;
}

QModelIndex findBelow(const QAbstractItemModel& model, const QModelIndex& parent,
                      const std::function<bool(const QModelIndex&)>& matches) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        if (matches(index))
            return index;
        if (const QModelIndex below = findBelow(model, index, matches); below.isValid())
            return below;
    }
    return {};
}

QModelIndex rowWith(const QAbstractItemModel& model, const QString& text, int column, int role) {
    for (int row = 0; row < model.rowCount(); ++row)
        if (model.index(row, column).data(role).toString() == text)
            return model.index(row, 0);
    return {};
}

QJsonObject nodeAsJson(const QAbstractItemModel& model, const QModelIndex& index) {
    QJsonObject node{{"key", index.data(kKeyRole).toString()},
                     {"tag", index.data(kTagRole).toString()},
                     {"text", index.data().toString()}};
    QJsonArray below;
    for (int row = 0; row < model.rowCount(index); ++row)
        below.append(nodeAsJson(model, model.index(row, 0, index)));
    if (!below.isEmpty())
        node["children"] = below;
    return node;
}

QJsonArray entriesOf(const QWidget& menu) {
    QJsonArray entries;
    for (const QAction* action : menu.actions()) {
        if (!action->isVisible() || action->isSeparator())
            continue;
        QJsonObject entry{{"name", action->objectName()},
                          {"caption", action->text()},
                          {"enabled", action->isEnabled()}};
        if (action->isCheckable())
            entry["checked"] = action->isChecked();
        if (action->menu())
            entry["entries"] = entriesOf(*action->menu());
        entries.append(entry);
    }
    return entries;
}

QString labelOf(const QString& name) {
    for (const QWidget* top : QApplication::topLevelWidgets())
        if (const auto* label = top->findChild<QLabel*>(name))
            return label->text();
    return {};
}

} // namespace

bool MainFormIsOpen() { return findMain() != nullptr; }

QWidget* MainForm() {
    if (QWidget* form = findMain())
        return form;
    throw Failure("the main form isn't open");
}

QWidget* ActiveForm() {
    QWidget* modal = QApplication::activeModalWidget();
    return modal ? modal : MainForm();
}

QWidget* Control(const std::string& name) {
    QWidget* hidden = nullptr;
    for (QWidget* control : ActiveForm()->findChildren<QWidget*>(Q(name))) {
        if (control->isVisible())
            return control;
        hidden = control;
    }
    throw Failure((hidden ? "the control isn't visible: " : "there is no control named ") + name +
                  " in " + S(ActiveForm()->objectName()));
}

QAbstractItemView* View(const std::string& name) {
    if (auto* view = qobject_cast<QAbstractItemView*>(Control(name)))
        return view;
    throw Failure(name + " is no tree or list");
}

QAction* Entry(const std::string& name) {
    if (auto* action = MainForm()->findChild<QAction*>(Q(name)))
        return action;
    throw Failure("there is no menu entry named " + name);
}

QMessageBox* Box() { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); }

QString ContentOf(const QWidget& control) {
    if (const auto* edit = qobject_cast<const QLineEdit*>(&control))
        return edit->text();
    if (const auto* combo = qobject_cast<const QComboBox*>(&control))
        return combo->currentText();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
        return button->isCheckable() ? (button->isChecked() ? "on" : "off") : button->text();
    if (const auto* spin = qobject_cast<const QAbstractSpinBox*>(&control))
        return spin->text();
    if (const auto* text = qobject_cast<const QPlainTextEdit*>(&control))
        return text->toPlainText();
    if (const auto* rich = qobject_cast<const QTextEdit*>(&control))
        return rich->toPlainText();
    if (const auto* label = qobject_cast<const QLabel*>(&control))
        return label->text();
    if (const auto* group = qobject_cast<const QGroupBox*>(&control))
        return group->isCheckable() ? (group->isChecked() ? "on" : "off") : group->title();
    if (const auto* bar = qobject_cast<const QProgressBar*>(&control))
        return QString::number(bar->value());
    if (const auto* view = qobject_cast<const QAbstractItemView*>(&control))
        return view->currentIndex().siblingAtColumn(0).data().toString();
    return {};
}

QModelIndex NodeOf(const std::string& key) {
    const auto* view = MainForm()->findChild<QAbstractItemView*>("tvMain");
    if (!view || !view->model())
        return {};
    // keys of digits alone carry a mark in the tree
    const QModelIndex found = findBelow(*view->model(), {}, [&](const QModelIndex& index) {
        const QString own = index.data(kKeyRole).toString();
        return own == Q(key) || own == "!~" + Q(key);
    });
    return found.isValid() ? found : ItemOf(*view, key);
}

QModelIndex RowOf(const QAbstractItemView& view, const std::string& which) {
    const QAbstractItemModel* model = view.model();
    if (!model)
        return {};
    if (which.starts_with("#")) {
        const int row = which == "#last" ? model->rowCount() : Q(which.substr(1)).toInt();
        return model->index(row - 1, 0);
    }
    for (int column = 0; column < model->columnCount(); ++column)
        if (const auto found = rowWith(*model, Q(which), column, Qt::DisplayRole); found.isValid())
            return found;
    return rowWith(*model, Q(which), 0, kKeyRole);
}

QModelIndex ItemOf(const QAbstractItemView& view, const std::string& text) {
    if (!view.model())
        return {};
    return findBelow(*view.model(), {},
                     [&](const QModelIndex& index) { return index.data().toString() == Q(text); });
}

QJsonObject TreeAsJson() {
    const auto* view = MainForm()->findChild<QAbstractItemView*>("tvMain");
    QJsonArray roots;
    for (int row = 0; view && view->model() && row < view->model()->rowCount(); ++row)
        roots.append(nodeAsJson(*view->model(), view->model()->index(row, 0)));
    return {{"tree", roots},
            {"selected", view ? view->currentIndex().data(kKeyRole).toString() : QString()}};
}

QJsonObject ListAsJson(const QAbstractItemView& view, int limit) {
    QJsonArray columns, rows;
    const QAbstractItemModel* model = view.model();
    const int count = model ? model->rowCount() : 0;
    for (int column = 0; model && column < model->columnCount(); ++column)
        columns.append(model->headerData(column, Qt::Horizontal).toString());
    for (int row = 0; row < count && row < limit; ++row) {
        QJsonArray texts;
        for (int column = 0; column < model->columnCount(); ++column)
            texts.append(model->index(row, column).data().toString());
        QJsonObject entry{{"tag", model->index(row, 0).data(kTagRole).toString()},
                          {"texts", texts}};
        if (const QVariant check = model->index(row, 0).data(Qt::CheckStateRole); check.isValid())
            entry["checked"] = check.toInt() == Qt::Checked;
        rows.append(entry);
    }
    return {{"columns", columns}, {"count", count}, {"rows", rows}};
}

QJsonObject MenuAsJson() {
    if (const QWidget* popup = QApplication::activePopupWidget())
        return {{"popup", entriesOf(*popup)}};
    QJsonObject menus;
    for (const QMenu* menu : MainForm()->findChildren<QMenu*>())
        if (!menu->objectName().isEmpty())
            menus[menu->objectName()] = entriesOf(*menu);
    return {{"menus", menus}};
}

QJsonObject FormAsJson(const QWidget& form) {
    QJsonArray controls;
    for (const QWidget* control : form.findChildren<QWidget*>()) {
        const QString name = control->objectName();
        if (name.isEmpty() || name.startsWith("qt_") || !control->isVisible())
            continue;
        controls.append(QJsonObject{{"name", name},
                                    {"class", control->metaObject()->className()},
                                    {"enabled", control->isEnabled()},
                                    {"content", ContentOf(*control)}});
    }
    return {{"form", form.objectName()}, {"title", form.windowTitle()}, {"controls", controls}};
}

QJsonObject BoxAsJson() {
    const QMessageBox* box = Box();
    if (!box)
        return {{"box", QJsonValue::Null}};
    QJsonArray buttons;
    for (const QAbstractButton* button : box->buttons())
        buttons.append(button->text());
    return {{"box", box->text()}, {"title", box->windowTitle()}, {"buttons", buttons}};
}

QJsonObject StatusAsJson() {
    return {{"status", labelOf("panel1")}, {"title", labelOf("lblTitle")}};
}

} // namespace kr::journeys
