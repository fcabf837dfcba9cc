#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/Trap.h"
#include "platform/ui/Ui.h"

namespace kr {

/// A folder in the folder selector; children are read when it is expanded first.
struct FolderNode {
    std::string key; // entry id, or "mbxroot", "pfroot"
    std::string text;
    std::string image;
    /// "valid" when it can be chosen.
    std::string tag;
    EntryID entryID;
    EntryID storeID;
    std::string path; // "\\Public Folders\All Public Folders\..." or "\\Mailbox - ...\..."
    bool hasChildren = false;
    bool loaded = false;
    FolderNode* parent = nullptr;
    std::vector<std::unique_ptr<FolderNode>> children;
};

/// The content of frmFolderPicker without any widget.
class FolderTree {
public:
    FolderTree(RDOSession& rdo, const Log& log, FolderPickOptions options)
        : m_rdo(rdo), m_log(log), m_options(std::move(options)) {}

    /// Reads the roots that the options ask for. False when none could be read: the window closes.
    bool LoadRoots();
    const std::vector<std::unique_ptr<FolderNode>>& Roots() const { return m_roots; }
    /// Reads the sub-folders of a node, once.
    void Expand(FolderNode& node);
    /// Expands along the starting path; the deepest node found, nullptr when not even a root fits.
    FolderNode* FindPath(std::string_view path);

    bool IsValid(const FolderNode& node) const { return node.tag == "valid"; }
    static FolderPick PickOf(const FolderNode& node) {
        return {node.entryID, node.storeID, node.path};
    }
    /// Several picks as callers keep them: entry ids, store ids or paths with ";" in between.
    static std::string JoinPaths(const std::vector<FolderPick>& picks);

private:
    bool loadMailbox();
    bool loadPublicFolders();
    std::function<void(const Trapped&)> failed(const std::string_view& step);
    std::unique_ptr<FolderNode> rootNode(RDOFolder& root, std::string_view key, std::string text,
                                         std::string_view image);
    void findWellKnown();
    std::unique_ptr<FolderNode> nodeOf(RDOFolder& folder, FolderNode* parent);
    std::string imageOf(RDOFolder& folder) const;
    bool validImage(std::string_view image) const;

    RDOSession& m_rdo;
    const Log& m_log;
    FolderPickOptions m_options;
    std::vector<std::unique_ptr<FolderNode>> m_roots;
    RDOStorePtr m_mailbox;
    std::vector<std::pair<EntryID, std::string>> m_wellKnown; // id and image, of the mailbox
};

} // namespace kr
