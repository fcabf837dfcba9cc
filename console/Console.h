#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/MainView.h"
#include "console/NodeKind.h"
#include "console/TreeModel.h"
#include "core/AgentSession.h"
#include "core/ListModel.h"

namespace kr {

/// The console behind the main form: tree and list models, the dispatch on a node's kind, the menus
/// and the commands. It knows no kind and no widget.
class Console {
public:
    /// What a menu entry does. Entries without a command answer that the feature isn't there yet.
    using Command = std::function<void(Console&)>;

    static constexpr std::string_view kMissingFeature = "This feature is not there yet.";

    /// Puts its own procedures into the session's logon hooks; the destructor takes them out.
    Console(AgentSession& session, MainView& view);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    AgentSession& session() { return m_session; }
    MainView& view() { return m_view; }
    TreeModel& tree() { return m_tree; }
    ListModel& list() { return m_list; }

    void RegisterKind(std::unique_ptr<NodeKind> kind);
    NodeKind* Kind(std::string_view tag);
    void RegisterCommand(std::string_view name, Command command);
    /// Runs a menu entry's command by its name, such as "mnuActionmnuProps": that of the
    /// selection's kind, else the registered one, else the status says that the feature isn't there
    /// yet.
    void RunCommand(std::string_view name);
    /// Adds nodes below the fixed ones when the tree is built (languages, sources, catalogs).
    void OnTreeBuilt(std::function<void(Console&)> build) {
        m_builders.push_back(std::move(build));
    }

    /// Empties and rebuilds the fixed nodes, expands the root; gives the root's text.
    std::string LoadTreeRoot();
    void NodeClick(TreeNode& node);
    /// False: collapse it again.
    bool Expand(TreeNode& node);
    void RefreshView();
    void ClearTreeView();
    void ClearListView();
    /// The node's or list's heading and a blank; " & " is doubled, so that the ampersand shows.
    void SetTitle(std::string_view text);
    /// Text in panel 1; with clearList also empties the list and stops its redrawing.
    void ShowStatus(std::string_view text, bool clearList = false);
    void SetMenu(std::string_view tag, std::string_view key);
    /// The menu for the present selection: the kind of the selected rows, else of the node.
    void UpdateMenu();

    // Events of the list
    void ColumnClick(int column);
    void ActivateRow(size_t position);
    void SelectionChanged();
    /// The tree has the focus or was clicked: commands act on the node, not on selected rows.
    void TreeContext();
    /// Runs the delete command of the kind that commands act on, when there is one.
    void DeleteKey();
    /// Ctrl+F
    void FindKey();
    /// Ctrl+F1 in the tree
    void LogonDiagnosticsKey();
    /// tmrTasks
    void TaskTick();
    void CheckChanged(size_t position, bool checked);
    /// Selects the tree node of that key and runs its click; false when there is none.
    bool GoToNode(std::string_view key);
    /// Selects the row of that key in the list; where the list hasn't got it, in that of the node.
    bool GoToRow(std::string_view key, std::string_view nodeKey);

    /// What stores the language data when it changed in this run.
    void OnStoreLanguages(std::function<void()> store) { m_storeLanguages = std::move(store); }
    /// Stores changed language data; with `notify` it also tells the agents (code 131).
    void StoreLanguages(bool notify);

    /// The frame of every loader: wait text and log line; columns; `fill` adds rows through
    /// AddRow; then fitted, sorted by the first column and shown, with the count in the status bar.
    /// `fill` gives a reason when it could not begin, which replaces the count and is logged.
    struct LoadPlan {
        std::string waitText;
        std::string logText;
        std::vector<ListColumn> columns;
        std::string one;  // "1 handheld"
        std::string many; // " handhelds"
        std::function<std::string(Console&)> fill;
    };
    void LoadList(const LoadPlan& plan);
    /// Adds a row to the list being loaded and lets events run. Rows of a load that a newer one
    /// has overtaken are dropped.
    void AddRow(ListRow row);
    /// True inside a `fill` whose list the person has meanwhile left: it may stop.
    bool LoadOvertaken() const { return m_running != m_load; }
    /// A loader is under way, perhaps below this call.
    bool Loading() const { return m_running != 0; }
    /// Changes whenever the list gets another content: a walk through its rows ends then.
    uint64_t ListNumber() const { return m_load; }
    /// What is loading has lost, as if another node had been clicked.
    void StopLoad() { ++m_load; }

    /// Positions of the selected rows; none while commands act on the node.
    std::vector<size_t> GetContextSelection() const;
    /// The selected rows themselves.
    std::vector<const ListRow*> SelectedRows() const;
    TreeNode* CurrentNode() { return m_tree.Find(m_nodeKey); }
    const std::string& CurrentTag() const { return m_currentTag; }
    /// The node's key without the mark of numeric keys.
    const std::string& CurrentKey() const { return m_currentKey; }
    /// The kind that commands act on: of the selected rows, else of the node.
    std::string ContextTag() const;

    // Commands of the frame itself
    void Connect(); // mnuActionmnuConnect, mnuSubmnuConnect
    void ResetConnection();
    /// The tree of a mailbox stands.
    bool Connected() { return m_session.agentInfo && !m_tree.Top().children.empty(); }
    /// The end of the program: the store session is logged off and let go.
    void LogOff();
    bool Logon(); // DoLogon with this console's hooks
    /// Form_Activate's part for a first run: frmFirstRun, logon, and the servers.
    void RunWizard();
    void ToggleQuickLoad();

private:
    using Entries = std::vector<MenuEntryState>;
    void setHooks();
    void addFixedNodes();
    void dispatch(TreeNode& node);
    void restoreNode(const std::string& key, const std::string& tag);
    std::string fill(const LoadPlan& plan);
    void flushRows();
    void registerFrameCommands();
    Entries entriesOf(std::string_view tag);
    Entries commonEntries(const std::vector<std::string>& tags);
    void swapActivate(Entries& entries);
    void missingFeature();
    void showForm(std::string_view form);

    AgentSession& m_session;
    MainView& m_view;
    TreeModel m_tree;
    ListModel m_list;
    std::map<std::string, std::unique_ptr<NodeKind>, std::less<>> m_kinds;
    std::map<std::string, Command, std::less<>> m_commands;
    std::vector<std::function<void(Console&)>> m_builders;
    std::string m_nodeKey; // key as the tree has it
    std::string m_currentKey;
    std::string m_currentTag;
    std::vector<ListRow> m_pending;
    std::function<void()> m_storeLanguages;
    bool m_treeContext = true;
    bool m_wizard = false;  // it is running; a logon below it must not start it again
    uint64_t m_load = 0;    // number of the newest load, so that a re-entered one wins
    uint64_t m_running = 0; // number of the load whose `fill` is running
};

} // namespace kr
