#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QSplitter>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace kr::journeys {

namespace {

void needEnabled(const QWidget& control, const std::string& name) {
    if (!control.isEnabled())
        throw Failure(name + " is disabled");
}

QString plainCaption(QString text) { return text.remove('&'); }

QModelIndex found(const QModelIndex& index, const std::string& what) {
    if (!index.isValid())
        throw Failure("there is no " + what);
    return index;
}

void clickAt(QAbstractItemView& view, const QModelIndex& index, Qt::MouseButton button,
             Qt::KeyboardModifiers keys = {}) {
    view.scrollTo(index);
    QTest::mouseClick(view.viewport(), button, keys, view.visualRect(index).center());
}

QTreeView* mainTree() { return MainForm()->findChild<QTreeView*>("tvMain"); }

void selectNode(const Words& words) {
    const QModelIndex index = found(NodeOf(words[0]), "node " + words[0]);
    QTreeView* tree = mainTree();
    // as a person would have to
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
        tree->expand(above);
    tree->setFocus();
    clickAt(*tree, index, Qt::LeftButton);
}

void expandNode(const Words& words) {
    mainTree()->expand(found(NodeOf(words[0]), "node " + words[0]));
}

void collapseNode(const Words& words) {
    mainTree()->collapse(found(NodeOf(words[0]), "node " + words[0]));
}

void selectRows(QAbstractItemView& view, const Words& words, size_t first) {
    view.setFocus();
    for (size_t i = first; i < words.size(); ++i)
        clickAt(view, found(RowOf(view, words[i]), "row " + words[i]), Qt::LeftButton,
                i == first ? Qt::NoModifier : Qt::ControlModifier);
}

void rows(const Words& words) { selectRows(*View("lvMain"), words, 0); }

void choose(const Words& words) {
    QWidget* control = Control(words[0]);
    needEnabled(*control, words[0]);
    if (auto* combo = qobject_cast<QComboBox*>(control)) {
        const int at = combo->findText(Q(words[1]));
        if (at < 0)
            throw Failure("there is no item " + words[1]);
        combo->setFocus();
        combo->setCurrentIndex(at);
        return;
    }
    QAbstractItemView* view = View(words[0]);
    const QModelIndex item = ItemOf(*view, words[1]);
    if (words.size() == 2 && item.isValid()) {
        view->setFocus();
        clickAt(*view, item, Qt::LeftButton);
        return;
    }
    selectRows(*view, words, 1);
}

void openItem(const Words& words) {
    QAbstractItemView* view = View(words[0]);
    const QModelIndex row = RowOf(*view, words[1]);
    const QModelIndex index = found(row.isValid() ? row : ItemOf(*view, words[1]), words[1]);
    clickAt(*view, index, Qt::LeftButton);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
}

void expandItem(const Words& words) {
    auto* tree = qobject_cast<QTreeView*>(View(words[0]));
    if (!tree)
        throw Failure(words[0] + " is no tree");
    tree->expand(found(ItemOf(*tree, words[1]), "item " + words[1]));
}

void tickItem(const Words& words) {
    QAbstractItemView* view = View(words[0]);
    const QModelIndex row = found(RowOf(*view, words[1]), "row " + words[1]);
    const bool on = words[2] == "on";
    if ((row.data(Qt::CheckStateRole).toInt() == Qt::Checked) != on)
        view->model()->setData(row, on ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
}

void clickHeader(const Words& words) {
    auto* tree = qobject_cast<QTreeView*>(View(words[0]));
    const QAbstractItemModel* model = tree ? tree->model() : nullptr;
    for (int column = 0; model && column < model->columnCount(); ++column) {
        if (model->headerData(column, Qt::Horizontal).toString() != Q(words[1]))
            continue;
        tree->scrollTo(model->index(0, column));
        QHeaderView& header = *tree->header();
        const QPoint at(header.sectionViewportPosition(column) + header.sectionSize(column) / 2,
                        header.height() / 2);
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, at);
        return;
    }
    throw Failure("there is no column " + words[1]);
}

void runEntry(const Words& words) {
    QAction* entry = Entry(words[0]);
    if (!entry->isVisible())
        throw Failure("the menu entry isn't shown: " + words[0]);
    if (!entry->isEnabled())
        throw Failure("the menu entry is disabled: " + words[0]);
    entry->trigger();
}

void contextMenu(const Words& words) {
    QAbstractItemView* view = View(words[0]);
    const QModelIndex index =
        words.size() > 1 ? found(RowOf(*view, words[1]), "row " + words[1]) : view->currentIndex();
    const QPoint at = index.isValid() ? view->visualRect(index).center()
                                      : view->viewport()->rect().bottomRight() - QPoint(2, 2);
    if (index.isValid())
        clickAt(*view, index, Qt::LeftButton);
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
    QApplication::sendEvent(view->viewport(), &event);
}

void pickEntry(const Words& words) {
    auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!popup)
        throw Failure("no menu is open");
    for (QAction* action : popup->actions()) {
        if (S(action->objectName()) != words[0] && S(plainCaption(action->text())) != words[0])
            continue;
        if (!action->isVisible() || !action->isEnabled())
            throw Failure("the menu doesn't offer " + words[0]);
        popup->setActiveAction(action);
        QTest::keyClick(popup, Qt::Key_Return);
        return;
    }
    throw Failure("the menu has no entry " + words[0]);
}

void setTicked(QWidget& control, const std::string& name, bool on) {
    if (auto* group = qobject_cast<QGroupBox*>(&control)) {
        group->setChecked(on);
        return;
    }
    auto* button = qobject_cast<QAbstractButton*>(&control);
    if (!button || !button->isCheckable())
        throw Failure(name + " can't be ticked");
    if (button->isChecked() != on)
        button->click();
}

// The test library's own typing knows ASCII only.
void typeKeys(QWidget& target, const std::string& text) {
    for (const QChar c : Q(text)) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(c));
        QApplication::sendEvent(&target, &press);
        QApplication::sendEvent(&target, &release);
    }
}

// Types into an edit as a person does, so that every change is heard.
void typeOver(QWidget& edit, const std::string& text) {
    edit.setFocus();
    QTest::keyClick(&edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&edit, Qt::Key_Delete);
    typeKeys(edit, text);
}

void fill(const Words& words) {
    QWidget* control = Control(words[0]);
    const std::string& text = words[1];
    needEnabled(*control, words[0]);
    if (auto* edit = qobject_cast<QLineEdit*>(control))
        return typeOver(*edit, text);
    if (auto* plain = qobject_cast<QPlainTextEdit*>(control))
        return plain->setPlainText(Q(text));
    if (auto* rich = qobject_cast<QTextEdit*>(control))
        return rich->setPlainText(Q(text));
    if (auto* spin = qobject_cast<QSpinBox*>(control))
        return spin->setValue(Q(text).toInt());
    if (auto* date = qobject_cast<QDateTimeEdit*>(control)) {
        QDateTime typed = QDateTime::fromString(Q(text), Qt::ISODate);
        typed.setTimeSpec(date->timeSpec()); // the hour as it is shown
        return date->setDateTime(typed);
    }
    if (auto* combo = qobject_cast<QComboBox*>(control))
        return combo->isEditable() ? typeOver(*combo->lineEdit(), text) : choose(words);
    setTicked(*control, words[0], text == "on");
}

void press(const Words& words) {
    QWidget* control = Control(words[0]);
    needEnabled(*control, words[0]);
    QTest::mouseClick(control, Qt::LeftButton);
}

// Shortcuts are heard in the active window only; a display with no window manager makes none so.
void activate(QWidget& form) {
    form.activateWindow();
    if (!QTest::qWaitForWindowActive(&form))
        throw Failure("the form doesn't become the active window");
}

void key(const Words& words) {
    if (!QApplication::activePopupWidget())
        activate(*ActiveForm());
    const QKeySequence keys(Q(words[0]));
    if (keys.isEmpty() || keys[0].key() == Qt::Key_unknown)
        throw Failure("no key is called " + words[0]);
    QWidget* target = words.size() > 1 ? Control(words[1]) : QApplication::activePopupWidget();
    if (words.size() > 1)
        target->setFocus();
    if (!target)
        target = QApplication::focusWidget();
    if (!target)
        target = ActiveForm();
    QTest::keyClick(target, keys[0].key(), keys[0].keyboardModifiers());
}

void typeText(const Words& words) {
    QWidget* target = QApplication::focusWidget();
    if (!target)
        throw Failure("nothing has the focus");
    typeKeys(*target, words[0]);
}

void pressWithCaption(const QList<QAbstractButton*>& buttons, const std::string& caption) {
    for (QAbstractButton* button : buttons)
        if (S(plainCaption(button->text())) == caption)
            return button->click();
    throw Failure("there is no button " + caption);
}

void answer(const Words& words) {
    QMessageBox* box = Box();
    if (!box)
        throw Failure("no box is open");
    pressWithCaption(box->buttons(), words[0]);
}

void input(const Words& words) {
    auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
    if (!dialog)
        throw Failure("no input box is open");
    if (words[0] == "cancel" && words.size() > 1)
        return dialog->reject();
    dialog->setTextValue(Q(words[0]));
    dialog->accept();
}

void file(const Words& words) {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!dialog)
        throw Failure("no file dialog is open");
    if (words[0] == "--cancel")
        return dialog->reject();
    auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
    auto* buttons = dialog->findChild<QDialogButtonBox*>("buttonBox");
    if (!name || !buttons)
        throw Failure("the file dialog isn't the toolkit's own");
    for (QAbstractButton* button : buttons->buttons())
        if (buttons->buttonRole(button) == QDialogButtonBox::AcceptRole) {
            // the dialog looks at a name once, and knows no file before it has read the folder
            const auto taken = [&] {
                name->clear();
                name->setText(Q(words[0]));
                return button->isEnabled();
            };
            if (!QTest::qWaitFor(taken))
                throw Failure("the file dialog doesn't take " + words[0]);
            return button->click();
        }
}

void resize(const Words& words) { MainForm()->resize(Q(words[0]).toInt(), Q(words[1]).toInt()); }

void split(const Words& words) {
    auto* splitter = qobject_cast<QSplitter*>(Control(words[0]));
    if (!splitter)
        throw Failure(words[0] + " is no splitter");
    const int left = Q(words[1]).toInt();
    splitter->setSizes({left, splitter->width() - left});
}

void tab(const Words& words) {
    auto* pages = qobject_cast<QTabWidget*>(Control(words[0]));
    if (!pages)
        throw Failure(words[0] + " has no tabs");
    for (int page = 0; page < pages->count(); ++page)
        if (S(plainCaption(pages->tabText(page))) == words[1] && pages->isTabVisible(page))
            return QTest::mouseClick(pages->tabBar(), Qt::LeftButton, {},
                                     pages->tabBar()->tabRect(page).center());
    throw Failure("there is no tab " + words[1]);
}

void closeForm(const Words&) { ActiveForm()->close(); }

} // namespace

void AddInputCommands(Driver& driver) {
    const auto add = [&](const std::string& name, std::string usage, std::string help, size_t least,
                         size_t most, void (*run)(const Words&)) {
        driver.Add(name, {std::move(usage), std::move(help), least, most, run, false, false});
    };
    add("select", "KEY", "click the tree node of that key or text", 1, 1, selectNode);
    add("expand", "KEY", "expand a tree node", 1, 1, expandNode);
    add("collapse", "KEY", "collapse a tree node", 1, 1, collapseNode);
    add("rows", "ROW...", "select rows of the list: by text, by key, or #1, #last", 1, 100, rows);
    add("choose", "NAME ITEM...", "select items of a list, tree or combo box", 2, 100, choose);
    add("open", "NAME ITEM", "double-click an item of a list or tree", 2, 2, openItem);
    add("open-item", "NAME ITEM", "expand an item of a dialog's tree", 2, 2, expandItem);
    add("header", "NAME COLUMN", "click the heading of a column", 2, 2, clickHeader);
    add("tick", "NAME ITEM on|off", "set the check mark of a row", 3, 3, tickItem);
    add("menu", "ENTRY", "run a menu entry by its name, which must be shown and enabled", 1, 1,
        runEntry);
    add("context-menu", "NAME [ROW]", "right-click a tree or list", 1, 2, contextMenu);
    add("pick", "ENTRY", "run an entry of the open menu, by name or caption", 1, 1, pickEntry);
    add("fill", "NAME TEXT", "type a text, choose an item, or tick (on, off)", 2, 2, fill);
    add("tab", "NAME CAPTION", "show a page of a tab strip", 2, 2, tab);
    add("press", "NAME", "click a control", 1, 1, press);
    add("key", "KEYS [NAME]", "press keys such as Ctrl+F, in the control or where the focus is", 1,
        2, key);
    add("type", "TEXT", "type where the focus is", 1, 1, typeText);
    add("input", "TEXT", "answer an input box", 1, 2, input);
    add("file", "PATH | --cancel", "answer a file dialog", 1, 1, file);
    add("resize", "WIDTH HEIGHT", "give the main form that size", 2, 2, resize);
    add("split", "NAME PIXELS", "move a splitter", 2, 2, split);
    add("close-form", "", "close the active form as its title bar does", 0, 0, closeForm);
    driver.Add("answer", {"BUTTON", "press a button of the open box, by its caption", 1, 1, answer,
                          false, true});
}

} // namespace kr::journeys
