#include "backup/BackupCommands.h"

#include <span>
#include <string>
#include <vector>

#include "backup/basBackup.h"
#include "backup/basRestore.h"
#include "console/Console.h"

namespace kr {

namespace {

constexpr std::string_view kXmlFiles = "XML file (*.xml)|*.xml";

struct BackupCommand {
    std::string_view name;
    std::string_view title;
    std::string_view word; // of the file's default name
    std::string_view wait;
    std::string_view done;
    bool (*run)(AgentSession& session, const std::string& path, Progress& progress);
};
constexpr BackupCommand kBackups[] = {
    {"mnuBrowserBackup", "Backup zandrelAgent Mandatory Browser Channels", "KRBrowserLists",
     "Backing up Mandatory Browser Channels...",
     "Mandatory Browser Channels successfully backed up to ", BackupMBL},
    {"mnuMplBackup", "Backup zandrelAgent Mandatory Push Lists", "KRPushLists",
     "Backing up Mandatory Push Lists...", "Mandatory Push Lists successfully backed up to ",
     BackupMPL},
};

struct RestoreCommand {
    std::string_view name;
    std::string_view warning;
    std::string_view title;
    std::string_view done;
    /// Nodes that show what is restored.
    std::string_view nodes[2];
    bool (*run)(AgentSession& session, const std::string& path);
};
// the first warning says that icons don't come back; they do, and the text stays
constexpr RestoreCommand kRestores[] = {
    {"mnuBrowserRestore",
     "Select the backup file for this mailbox to restore the Mandatory Browser Channels.\r\n"
     "WARNING: this action will overwrite the existing lists and will not restore channel icons!",
     "Restore Mandatory Browser Channels",
     "Mandatory Browser Channels successfully restored from ",
     {"mbl-eps", "mbl-bsr"},
     RestoreMBL},
    {"mnuMplRestore",
     "Select the backup file for this mailbox to restore the Mandatory Push Lists.\r\n"
     "WARNING: this action will overwrite all existing lists!",
     "Restore Mandatory Push Lists",
     "Mandatory Push Lists successfully restored from ",
     {"mplroot"},
     RestoreMPL},
};

void backup(Console& console, const BackupCommand& command) {
    AgentSession& session = console.session();
    const auto path =
        session.ui().SaveFileName(command.title, kXmlFiles, BackupFileName(session, command.word));
    if (!path)
        return;
    bool good = false;
    bool cancelled = false;
    {
        const auto progress = session.ui().StartProgress(command.wait, ProgressKind::Plain);
        good = command.run(session, *path, *progress);
        cancelled = progress->Cancelled();
    }
    if (good)
        session.ui().MsgBox(cancelled ? "Backup canceled!" : std::string(command.done) + *path,
                            BoxIcon::Information);
}

/// The node of these that is the current one, else the first there is; nullptr for none.
TreeNode* nodeOf(Console& console, std::span<const std::string_view> keys) {
    TreeNode* first = nullptr;
    for (const std::string_view key : keys) {
        TreeNode* node = key.empty() ? nullptr : console.tree().Find(key);
        if (node && node == console.CurrentNode())
            return node;
        if (!first)
            first = node;
    }
    return first;
}

void expandTo(Console& console, std::span<const std::string_view> keys) {
    std::vector<std::string> path; // expanding a node may replace what is below it
    for (const TreeNode* node = nodeOf(console, keys); node && !node->key.empty();
         node = node->parent)
        path.push_back(node->key);
    for (auto key = path.rbegin(); key != path.rend(); ++key)
        if (TreeNode* node = console.tree().Find(*key))
            console.view().ExpandNode(*node, true);
}

void restore(Console& console, const RestoreCommand& command) {
    AgentSession& session = console.session();
    if (session.ui().MsgBox(command.warning, BoxIcon::Exclamation, BoxButtons::OKCancel) !=
        BoxAnswer::OK)
        return;
    const auto path = session.ui().OpenFileName(command.title, kXmlFiles);
    if (!path)
        return;
    expandTo(console, command.nodes);
    console.StopLoad();
    console.ClearListView();
    if (!command.run(session, *path))
        return;
    session.ui().MsgBox(std::string(command.done) + *path, BoxIcon::Information);
    console.RefreshView();
}

} // namespace

void RegisterBackupCommands(Console& console) {
    for (const BackupCommand& command : kBackups)
        console.RegisterCommand(command.name, [&command](Console& c) { backup(c, command); });
    for (const RestoreCommand& command : kRestores)
        console.RegisterCommand(command.name, [&command](Console& c) { restore(c, command); });
}

} // namespace kr
