#include <QActionGroup>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>

#include "console/Menus.h"
#include "console/forms/ListAdapter.h"
#include "console/forms/TreeAdapter.h"
#include "console/forms/frmFleetMain.h"
#include "core/Settings.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFleetMain.h"

namespace kr {

namespace {

struct TopMenu {
    const char* name;
    const char* caption;
};
constexpr TopMenu kTopMenus[] = {
    {"mnuAction", "&Action"},
    {"mnuView", "&View"},
    {"mnuHelp", "&Help"},
};

/// Entries that a setting makes visible.
struct SettingEntry {
    const char* entry;
    std::string_view setting;
};
constexpr SettingEntry kSettingEntries[] = {
    {"mnuActionmnuDelete", "DeleteUsers"},
    {"mnuActionmnuLoad", "LoadUsers"},
};

constexpr const char* kViewModes[] = {"mnuListViewMode(0)", "mnuListViewMode(1)",
                                      "mnuListViewMode(2)", "mnuListViewMode(3)"};
constexpr const char* kCaption = "caption"; // an entry's own one, by the menu table
constexpr const char* kThemes[] = {"mnuViewTheme(0)", "mnuViewTheme(1)", "mnuViewTheme(2)"};

bool opensMenu(std::string_view name) {
    for (const MenuEntry& entry : MenuEntries())
        if (entry.menu == name)
            return true;
    return name == "mnuSSULanguage"; // its languages are only known at run time
}

} // namespace

void frmFleetMain::makeMenus() {
    for (const TopMenu& top : kTopMenus) {
        QMenu* menu = m_ui->menuBar->addMenu(tr(top.caption));
        menu->setObjectName(top.name);
        m_menus[top.name] = menu;
    }
    m_sub = new QMenu(this);
    m_sub->setObjectName("mnuSub");
    std::string_view previous = "Action";
    for (const MenuEntry& entry : MenuEntries()) {
        QAction* action = makeEntry(FromUtf8(entry.name), FromUtf8(entry.caption));
        if (!entry.shortcut.empty()) {
            // F5 is the one key that belongs to the entry; others are only shown with it
            action->setShortcut(QKeySequence(FromUtf8(entry.shortcut)));
            if (entry.shortcut != "F5")
                action->setShortcutContext(Qt::WidgetShortcut);
        }
        if ((previous == "Action") != (entry.menu == "Action") && entry.menu != "View")
            m_menus["mnuAction"]->addSeparator();
        placeEntry(action, entry.menu);
        previous = entry.menu;
    }
    m_entries["mnuViewRefresh"]->setShortcuts({QKeySequence(Qt::Key_F5),
                                               QKeySequence(Qt::SHIFT | Qt::Key_F5),
                                               QKeySequence(Qt::CTRL | Qt::Key_F5)});
    auto* modes = new QActionGroup(this);
    for (const char* name : kViewModes)
        modes->addAction(m_entries[name])->setCheckable(true);
    auto* themes = new QActionGroup(this);
    for (const char* name : kThemes)
        themes->addAction(m_entries[name])->setCheckable(true);
    m_entries["mnuViewQuick"]->setCheckable(true);
}

void frmFleetMain::showSettingEntries() {
    for (const SettingEntry& entry : kSettingEntries)
        m_entries[entry.entry]->setVisible(
            BooleanSetting(m_session.platform.registry, entry.setting));
}

QAction* frmFleetMain::makeEntry(const QString& name, const QString& caption) {
    QAction* action = nullptr;
    if (opensMenu(ToUtf8(name))) {
        auto* menu = new QMenu(caption, this);
        menu->setObjectName(name + "Menu");
        m_menus[name] = menu;
        action = menu->menuAction();
    } else {
        action = new QAction(caption, this);
        connect(action, &QAction::triggered, this, [this, name] { onEntry(name); });
    }
    action->setObjectName(name);
    action->setProperty(kCaption, caption);
    m_entries[name] = action;
    return action;
}

void frmFleetMain::placeEntry(QAction* action, std::string_view menu) {
    if (menu == "Sub") {
        action->setVisible(false);
        m_menus["mnuAction"]->addAction(action);
        m_sub->addAction(action);
        return;
    }
    const QString top = "mnu" + FromUtf8(menu);
    m_menus[m_menus.contains(top) ? top : FromUtf8(menu)]->addAction(action);
}

void frmFleetMain::SetSubEntries(std::string_view parent,
                                 const std::vector<std::pair<std::string, std::string>>& entries) {
    QMenu* menu = m_menus.value(FromUtf8(parent));
    if (!menu)
        return;
    for (QAction* action : menu->actions()) {
        m_entries.remove(action->objectName());
        delete action;
    }
    for (const auto& [name, caption] : entries)
        menu->addAction(makeEntry(FromUtf8(name), FromUtf8(caption)));
}

void frmFleetMain::SetMenuEntries(const std::vector<MenuEntryState>& entries) {
    for (const MenuEntryState& entry : entries) {
        QAction* action = m_entries.value(FromUtf8(entry.name));
        if (!action)
            continue;
        action->setVisible(entry.visible);
        action->setEnabled(entry.enabled);
        action->setText(entry.caption.empty() ? action->property(kCaption).toString()
                                              : FromUtf8(entry.caption));
    }
    QAction* properties = m_entries.value("mnuActionmnuProps");
    const bool choosable = properties->isVisible() && properties->isEnabled();
    m_sub->setDefaultAction(choosable ? properties : nullptr);
}

void frmFleetMain::onEntry(const QString& name) {
    for (int mode = 0; mode < 3; ++mode)
        if (name == kThemes[mode]) {
            SetTheme(static_cast<ThemeMode>(mode));
            Trap([&] { Theme::Write(m_session.platform.registry, m_theme); },
                 [&](const Trapped& trapped) { m_session.log("mnuViewTheme: " + trapped.text()); });
            return;
        }
    m_console->RunCommand(ToUtf8(name));
    syncChecks();
}

/// Check marks of menus and the header's arrow as they are after a command.
void frmFleetMain::syncChecks() {
    m_entries[kViewModes[m_viewMode]]->setChecked(true);
    m_entries[kThemes[static_cast<int>(m_theme)]]->setChecked(true);
    m_entries["mnuViewQuick"]->setChecked(m_session.quickLoad);
    const ListModel& list = m_console->list();
    m_ui->lvMain->header()->setSortIndicator(list.SortColumn(), list.Order() == SortOrder::Ascending
                                                                    ? Qt::AscendingOrder
                                                                    : Qt::DescendingOrder);
}

void frmFleetMain::makeKeys() {
    const auto key = [](QWidget* owner, const QKeySequence& keys, Qt::ShortcutContext context,
                        auto call) {
        auto* shortcut = new QShortcut(keys, owner);
        shortcut->setContext(context);
        connect(shortcut, &QShortcut::activated, owner, call);
    };
    key(this, QKeySequence("Ctrl+F"), Qt::WindowShortcut, [this] { m_console->FindKey(); });
    key(this, QKeySequence("Ctrl+B"), Qt::WindowShortcut,
        [this] { m_console->RunCommand("mnuSubmnuBackupAll"); });
    key(m_ui->tvMain, QKeySequence("Ctrl+F1"), Qt::WidgetShortcut,
        [this] { m_console->LogonDiagnosticsKey(); });
    key(m_ui->tvMain, QKeySequence(Qt::Key_Delete), Qt::WidgetShortcut, [this] {
        m_console->TreeContext();
        m_console->DeleteKey();
    });
    const std::initializer_list<QAbstractItemView*> lists{m_ui->lvMain, m_ui->lvMainIcons};
    for (QAbstractItemView* list : lists)
        key(list, QKeySequence(Qt::Key_Delete), Qt::WidgetShortcut, [this] {
            m_console->SelectionChanged();
            m_console->DeleteKey();
        });
    const std::initializer_list<QAbstractItemView*> views{m_ui->tvMain, m_ui->lvMain,
                                                          m_ui->lvMainIcons};
    for (QAbstractItemView* view : views) {
        view->installEventFilter(this);
        view->viewport()->installEventFilter(this);
    }
}

/// Context menus: a mouse asks through the viewport; the Menu key and Shift+F10 through the view,
/// by an event of their own or as plain keys, as the system has it.
bool frmFleetMain::eventFilter(QObject* watched, QEvent* event) {
    const std::initializer_list<QAbstractItemView*> views{m_ui->tvMain, m_ui->lvMain,
                                                          m_ui->lvMainIcons};
    for (QAbstractItemView* view : views) {
        if (watched != view && watched != view->viewport())
            continue;
        if (event->type() == QEvent::ContextMenu) {
            const auto* menu = static_cast<QContextMenuEvent*>(event);
            const QPoint at = view->viewport()->mapFromGlobal(menu->globalPos());
            showContextMenu(view, menu->reason() == QContextMenuEvent::Keyboard ? nullptr : &at);
            return true;
        }
        if (event->type() == QEvent::KeyPress) {
            const auto* keys = static_cast<QKeyEvent*>(event);
            if (keys->key() == Qt::Key_Menu ||
                (keys->key() == Qt::Key_F10 && keys->modifiers() == Qt::ShiftModifier)) {
                showContextMenu(view, nullptr);
                return true;
            }
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

/// At the mouse, or without one at the current row. With no row under the mouse the node's kind
/// counts.
void frmFleetMain::showContextMenu(QAbstractItemView* view, const QPoint* at) {
    if (m_sub->isVisible())
        return; // a key press and its context event are one wish
    if (view == m_ui->tvMain) {
        onCurrentNode();
        m_console->TreeContext();
    } else {
        if (at && !view->indexAt(*at).isValid())
            view->clearSelection();
        m_console->SelectionChanged();
    }
    const QRect current = view->visualRect(view->currentIndex());
    const QPoint place = at ? *at : current.isValid() ? current.center() : QPoint(4, 4);
    m_sub->popup(view->viewport()->mapToGlobal(place));
}

} // namespace kr
