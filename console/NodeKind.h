#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/MainView.h"

namespace kr {

class Console;
struct ListRow;
struct TreeNode;

/// One class for each kind of tree node or list row. Each subsystem registers its kinds with the
/// console; the main form knows none of them. What a kind doesn't answer, nothing happens.
class NodeKind {
public:
    explicit NodeKind(std::string tag) : m_tag(std::move(tag)) {}
    virtual ~NodeKind() = default;
    const std::string& Tag() const { return m_tag; }

    /// The node was clicked: fill the list. The console has set title and current node already.
    virtual void Load(Console&, TreeNode&) {}
    /// The node is being expanded: replace its dummy child. False collapses it again.
    virtual bool Expand(Console&, TreeNode&) { return true; }
    /// Adjusts the set of the menu table: enables, disables, or hides entries by the state of the
    /// selected rows (none: the node's own menu).
    virtual void AdjustMenu(Console&, std::vector<MenuEntryState>&) {}
    /// Double click or Enter on a row; the default runs the command of the activation table.
    virtual void Activate(Console&, const ListRow&);
    /// The command that the Delete key runs; "" for none.
    virtual std::string_view DeleteCommand() const { return {}; }
    /// A check mark of a row was changed by hand.
    virtual void Checked(Console&, size_t /*position*/, bool /*checked*/) {}
    /// Runs an entry that many kinds share, such as "mnuActionmnuProps" or "mnuActionActivate".
    /// False: this kind doesn't answer it, and the command of that name runs.
    virtual bool Run(Console&, std::string_view /*command*/) { return false; }
    /// True: the web view stands in front of the list while the node is the current one.
    virtual bool ShowsReport() const { return false; }
    /// True: tmrTasks calls Tick every two seconds while the node is the current one.
    virtual bool WatchesTasks() const { return false; }
    virtual void Tick(Console&) {}

private:
    std::string m_tag;
};

} // namespace kr
