#pragma once

#include <QHash>
#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <memory>

#include "console/Console.h"
#include "console/MainView.h"
#include "console/Startup.h"
#include "console/forms/Theme.h"

class QAbstractItemView;
class QLabel;
class QMenu;
class QProgressBar;

namespace Ui {
class frmFleetMain;
}

namespace kr {

class ListAdapter;
class TreeAdapter;

/// The main form: tree, list, report, menus and status bar around a Console. It knows no kind of
/// node; what a click, key or menu entry does is the console's.
class frmFleetMain : public QMainWindow, public MainView {
    Q_OBJECT
public:
    /// Shows a dialog modally over the given window.
    using FormShower = std::function<void(QWidget* parent)>;

    explicit frmFleetMain(AgentSession& session, QWidget* parent = nullptr);
    ~frmFleetMain() override;

    Console& console() { return *m_console; }
    /// What ShowForm shows under that name.
    void RegisterForm(const std::string& name, FormShower show) { m_forms[name] = std::move(show); }
    /// The answer of mnuViewTheme; also changes the application's palette.
    void SetTheme(ThemeMode mode);

    /// Window, view mode and logon data from the settings and the command line. The caller shows
    /// the form and then calls FirstLogon.
    void Form_Load(const CommandLine& line = {});
    /// The logon of a start: asks for logon data when there are none, and closes the form when
    /// there still are none.
    void FirstLogon();
    /// Brings the window to the front, for a second start of the program.
    void Raise();
    /// Writes the settings of Form_Unload, without anything else of it.
    void SaveSettings();

    // MainView
    void SetTitle(std::string_view text) override;
    void SetStatus(std::string_view text) override;
    void SetProgress(int64_t done, int64_t total) override;
    void ShowReport(std::string_view html) override;
    void ShowList() override;
    void FreezeList(bool freeze) override;
    void FitColumns() override;
    void SelectNode(TreeNode& node) override;
    void ExpandNode(TreeNode& node, bool expand) override;
    std::vector<size_t> SelectedRows() const override;
    void SelectRow(size_t position) override;
    void SetMenuEntries(const std::vector<MenuEntryState>& entries) override;
    void SetSubEntries(std::string_view parent,
                       const std::vector<std::pair<std::string, std::string>>& entries) override;
    void EnableTaskTimer(bool enable) override;
    bool ShowForm(std::string_view form) override;
    void Close() override { close(); }
    /// Form_Activate: to the front, then the wizard when the FirstRun flag stands.
    void Activate() override;
    void SetViewMode(int mode) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeStatusBar();
    void makeMenus();
    QAction* makeEntry(const QString& name, const QString& caption);
    void placeEntry(QAction* action, std::string_view menu);
    void connectTree();
    void connectList();
    void makeKeys();
    void onEntry(const QString& name);
    void onCurrentNode();
    void onExpanded(const QModelIndex& index);
    void onSelection();
    void onActivated(const QModelIndex& index);
    void syncChecks();
    void showContextMenu(QAbstractItemView* view, const QPoint* at);
    void showSettingEntries();
    void loadWindow();
    void saveWindow();
    void closeOtherForms();
    void Form_QueryUnload();
    void Form_Unload();
    void applyColors();
    void fitIcons();

    std::unique_ptr<::Ui::frmFleetMain> m_ui;
    AgentSession& m_session;
    std::unique_ptr<Console> m_console;
    std::unique_ptr<TreeAdapter> m_tree;
    std::unique_ptr<ListAdapter> m_list;
    std::map<std::string, FormShower, std::less<>> m_forms;
    QHash<QString, QAction*> m_entries;
    QHash<QString, QMenu*> m_menus; // by name of menu or of the entry that opens it
    QMenu* m_sub = nullptr;
    QLabel* m_panel1 = nullptr;
    QProgressBar* m_progress = nullptr;
    QTimer m_tasks;
    QTimer m_refit;
    ThemeMode m_theme = ThemeMode::System;
    int m_viewMode = 3;
    bool m_reportShown = false;
    bool m_quiet = false; // the console itself selects, no click
    bool m_unloaded = false;
};

} // namespace kr
