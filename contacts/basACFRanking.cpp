#include <algorithm>
#include <map>
#include <optional>

#include "contacts/basACF.h"
#include "contacts/basACFRecord.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

/// The repository's record, and the branch of the tree that holds the order of trust.
namespace kr {

namespace {

constexpr std::string_view kRankingKey = "ACF Trust Ranking";
constexpr std::string_view kPrivateKey = "Default Private Fields";
constexpr std::string_view kPrivateByDefault = "MobilePhone;EPS Home Phone";
constexpr std::string_view kContactFolders = "IPF.Contact";
constexpr std::string_view kMcrTag = "mcr";
/// Key of the repository's node while its record couldn't be had.
constexpr std::string_view kNoRecord = "mcr";
constexpr size_t kNamesPerTurn = 20;

/// Nodes of the branch, the repository first.
struct BranchNode {
    std::string key;
    std::string tag;
    std::string text;
    std::string image;
    bool inactive = false;
};
using Branch = std::vector<BranchNode>;

BranchNode mcrNode(std::string_view key) {
    return {std::string(key), std::string(kMcrTag), std::string(kMcrName), "imgContact", false};
}

BranchNode nodeOf(const AcfRow& row) {
    // a record whose keys tell no kind is offered as a folder source, so that it can be mended
    const AcfKind kind = row.kind() == AcfKind::None ? AcfKind::PublicFolder : row.kind();
    return {row.id.text(), std::string(AcfTag(kind)), row.name, row.image(), row.inactive};
}

/// The sources by their names, the first of each name alone.
class SourcesByName {
public:
    explicit SourcesByName(const std::vector<AcfRow>& rows) {
        for (const AcfRow& row : rows) {
            m_rows.emplace(Fold(row.name), &row);
            m_pieces = std::max(m_pieces, Split(row.name, "|").size());
        }
    }
    /// The source that the pieces from `at` on name, and behind whose pieces `at` goes; nullptr for
    /// a piece without one. A name may hold the separator itself.
    const AcfRow* Next(const std::vector<std::string>& pieces, size_t& at) const {
        for (size_t count = std::min(m_pieces, pieces.size() - at); count > 0; --count) {
            const auto from = pieces.begin() + static_cast<ptrdiff_t>(at);
            const std::string name = Join({from, from + static_cast<ptrdiff_t>(count)}, "|");
            if (const auto found = m_rows.find(Fold(name)); found != m_rows.end()) {
                at += count;
                return found->second;
            }
        }
        ++at;
        return nullptr;
    }

private:
    std::map<std::string, const AcfRow*> m_rows;
    size_t m_pieces = 1; // of the name with the most separators
};

/// The record, made where it is missing or names no folder; nullptr when it can't be had.
RDOMessagePtr mcrForTree(AgentSession& session) {
    RDOMessagePtr mcr = RequireMCRMessage(session);
    if (mcr && !RequireKey(*mcr, kMcrFolderKey).text().empty())
        return mcr;
    RDOMessagePtr made = CreateDefaultMCR(session);
    return made ? made : mcr;
}

/// What the branch has to show, with the ranking behind it; throws as the store does.
Branch readBranch(AgentSession& session, std::string& ranking) {
    const RDOMessagePtr mcr = mcrForTree(session);
    Branch branch{mcrNode(mcr ? mcr->ID().text() : kNoRecord)};
    ranking = mcr ? RequireKey(*mcr, kRankingKey).text() : "";
    if (ranking.empty())
        return branch;
    const std::vector<AcfRow> rows = ReadAcfRows(session);
    const SourcesByName sources(rows);
    const std::vector<std::string> pieces = Split(ranking, "|");
    for (size_t at = 0, turn = 0; at < pieces.size(); ++turn) {
        const AcfRow* row = sources.Next(pieces, at);
        if (row)
            branch.push_back(nodeOf(*row));
        if (turn % kNamesPerTurn == 0)
            session.ui().DoEvents();
    }
    return branch;
}

/// Reading lets events run; what the person did to the branch meanwhile must not be undone.
Branch readSettledBranch(AgentSession& session) {
    std::string ranking;
    Branch branch = readBranch(session, ranking);
    while (ranking != GetTrustRanking(session)) {
        branch = readBranch(session, ranking);
    }
    return branch;
}

/// Brings the branch to that state. What stays in it stays the same node, so that the tree's
/// selection isn't lost.
void showBranch(TreeModel& tree, TreeNode& root, const Branch& branch) {
    size_t row = 0;
    for (const BranchNode& wanted : branch) {
        TreeNode* node = tree.Find(wanted.key);
        if (node && (node->parent != &root || node->tag != wanted.tag)) {
            tree.Remove(*node);
            node = nullptr;
        }
        if (!node)
            node = tree.Add(kAcfRootKey, wanted.key, wanted.tag, wanted.text, wanted.image);
        if (node->row() < row)
            continue; // the ranking names it twice
        if (node->row() != row)
            tree.Move(*node, row);
        tree.SetText(*node, wanted.text);
        tree.SetImage(*node, wanted.image);
        tree.SetGhosted(*node, wanted.inactive);
        ++row;
    }
    while (root.children.size() > row)
        tree.Remove(*root.children.back());
}

/// The folder of the repository, made when the mailbox has none of exactly that name.
RDOFolderPtr defaultFolder(AgentSession& session) {
    const RDOFoldersPtr folders = session.rdo->Stores().DefaultStore()->IPMRootFolder()->Folders();
    RDOFolderPtr folder = folders->Item(kMcrName);
    if (folder && folder->Name() == kMcrName)
        return folder;
    folder = folders->Add(kMcrName);
    folder->SetFields(PR_CONTAINER_CLASS, kContactFolders);
    folder->Save();
    return folder;
}

/// The value of a text key; "" without a record.
std::string mcrText(AgentSession& session, std::string_view key) {
    const RDOMessagePtr mcr = GetMCRMessage(session);
    return mcr ? KeyText(*mcr, key) : std::string();
}

/// Stores the ranking; throws as the store does.
void writeRanking(AgentSession& session, std::string_view ranking) {
    const RDOMessagePtr mcr = RequireMCRMessage(session);
    if (!mcr)
        throw PlatformError(MAPI_E_NOT_FOUND, "There is no Master Contact Repository.");
    SetKey(*mcr, kRankingKey, ranking);
    mcr->Save();
}

/// The names of the sources as the branch has them.
std::string rankingOf(const TreeNode& root) {
    std::vector<std::string> names;
    for (size_t i = 1; i < root.children.size(); ++i)
        names.push_back(root.children[i]->text);
    std::string ranking = Join(names, "|");
    if (ranking.ends_with('|'))
        ranking.pop_back();
    return ranking;
}

} // namespace

RDOMessagePtr GetMCRMessage(AgentSession& session) {
    return Trap([&] { return RequireMCRMessage(session); },
                [&](const Trapped& error) { session.log("GetMCRMessage: " + error.text()); });
}

RDOFolderPtr GetMCRFolder(AgentSession& session) {
    const std::string id = mcrText(session, kMcrFolderKey);
    return id.empty() ? nullptr : GetFolder(session, EntryID(id));
}

RDOMessagePtr CreateDefaultMCR(AgentSession& session) {
    return Trap(
        [&]() -> RDOMessagePtr {
            // a failed search must not give the mailbox a second record
            RDOMessagePtr mcr = RequireMCRMessage(session);
            const RDOFolderPtr folder = defaultFolder(session);
            if (!mcr)
                mcr = session.agentInfo->Items()->Add(kMcrClass);
            mcr->SetMessageClass(kMcrClass);
            mcr->SetSubject(kMcrName);
            SetKey(*mcr, kMcrFolderKey, folder->ID().text());
            if (RequireKey(*mcr, kPrivateKey).text().empty())
                SetKey(*mcr, kPrivateKey, kPrivateByDefault);
            mcr->Save();
            return mcr;
        },
        [&](const Trapped& error) { session.log("CreateDefaultMCR: " + error.text()); });
}

std::string GetDefaultPrivateFields(AgentSession& session) { return mcrText(session, kPrivateKey); }

bool IsMCRFolder(AgentSession& session, const EntryID& folder) {
    return Trap(
        [&] {
            const RDOMessagePtr mcr = RequireMCRMessage(session);
            return mcr && SameObject(*session.agentInfo->Store(),
                                     EntryID(Trim(RequireKey(*mcr, kMcrFolderKey).text())), folder);
        },
        [&](const Trapped& error) { session.log("IsMCRFolder: " + error.text()); });
}

std::string GetTrustRanking(AgentSession& session) { return mcrText(session, kRankingKey); }

bool PutTrustRanking(AgentSession& session, std::string_view ranking) {
    return Trap(
        [&] {
            writeRanking(session, ranking);
            return true;
        },
        [&](const Trapped& error) {
            session.log("PutTrustRanking: " + error.text());
            session.ui().MsgBox("Unable to save the trust ranking!\n" + error.description,
                                BoxIcon::Stop);
        });
}

void LoadAcfTree(AgentSession& session, TreeModel& tree) {
    const auto branch =
        Trap([&] { return std::optional(readSettledBranch(session)); },
             [&](const Trapped& error) { session.log("LoadAcfTree: " + error.text()); });
    // found here only: reading lets events run
    TreeNode* root = tree.Find(kAcfRootKey);
    if (!root)
        return;
    if (branch)
        showBranch(tree, *root, *branch);
    else if (root->children.empty())
        showBranch(tree, *root, {mcrNode(kNoRecord)});
}

bool SaveTrustRanking(AgentSession& session, TreeModel& tree) {
    const TreeNode* root = tree.Find(kAcfRootKey);
    if (!root || root->children.empty())
        return false;
    if (root->children.front()->key == kNoRecord) {
        // the sources aren't there because they couldn't be read
        session.log("SaveTrustRanking: the sources aren't loaded");
        return false;
    }
    return PutTrustRanking(session, rankingOf(*root));
}

void MoveAcfNode(AgentSession& session, TreeModel& tree, TreeNode& node, bool up) {
    const auto& siblings = node.parent->children;
    const size_t row = node.row();
    // the first place is the repository's
    if (up ? row < 2 : row == 0 || row + 1 == siblings.size())
        return;
    // the neighbour moves, so that the tree's selection stays where it is
    tree.Move(*siblings[up ? row - 1 : row + 1], row);
    SaveTrustRanking(session, tree);
}

bool AcfNodeExists(TreeModel& tree, const EntryID& acf) { return tree.Find(acf.text()) != nullptr; }

void RemoveAcfForFolder(AgentSession& session, TreeModel& tree, const EntryID& folder) {
    Trap(
        [&] {
            const auto rows = RequireAcfByFolder(session, folder);
            for (const AcfRow& row : rows) {
                if (const RDOMessagePtr acf = GetMessage(session, row.id))
                    acf->Delete();
                if (TreeNode* node = tree.Find(row.id.text()))
                    tree.Remove(*node);
            }
            if (!rows.empty())
                SaveTrustRanking(session, tree);
        },
        [&](const Trapped& error) {
            session.log("RemoveAcfForFolder: " + error.text());
            session.ui().MsgBox("Unable to remove the Alternate Contact Source of this folder!\n" +
                                    error.description,
                                BoxIcon::Stop);
        });
}

} // namespace kr
