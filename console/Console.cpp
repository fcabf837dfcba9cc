#include "console/Console.h"

#include "console/Menus.h"
#include "core/Settings.h"
#include "core/Text.h"
#include "core/basText.h"

namespace kr {

namespace {

enum class Shown { Always, NewVersion, Mpl };

struct FixedNode {
    std::string_view parent;
    std::string_view key;
    std::string_view text;
    std::string_view image;
    Shown shown = Shown::Always;
    std::string_view dummy = {};
};

/// Below the root, in this order; tag and key of a fixed node are the same.
constexpr FixedNode kFixedNodes[] = {
    {"agent", "langroot", "Language Packs", "imgFolderOff"},
    {"agent", "serverroot", "Servers", "imgFolderOff"},
    {"agent", "mgmt", "Asset Management - BPE", ""},
    {"mgmt", "reg", "Handheld Inventory", ""},
    {"agent", "epsroot", "EPS", ""},
    {"epsroot", "acfroot", "Alternate Contact Sources", "imgContact"},
    {"epsroot", "mbl-eps", "Mandatory Browser Channels", "imgGlobe", Shown::NewVersion},
    {"epsroot", "mclf", "Mandatory Contacts", "imgMandatory"},
    {"epsroot", "epsnotes", "Mandatory Notes", "imgStickyNote"},
    {"epsroot", "epsnotesPF", "Mandatory Notes Folders", "imgStickyNote"},
    {"epsroot", "mplroot", "Mandatory Push Lists", "imgExclamation", Shown::Mpl},
    {"epsroot", "cclroot", "Custom Contact Lists", "imgCCL"},
    {"epsroot", "pdlroot", "PIN Distribution Lists", "imgUser", Shown::Always, "dummypdl"},
    {"epsroot", "epsuserroot", "User Statistics", "imgStats"},
    {"agent", "ssuroot", "Self-Service Update", ""},
    {"agent", "persroot", "Personality Agents", ""},
    {"persroot", "installed", "Installed", ""},
    {"persroot", "catroot", "Catalogs", ""},
    {"agent", "bsrroot", "BES Statistics Report", ""},
    {"bsrroot", "mbl-bsr", "Mandatory Browser Channels", "imgGlobe", Shown::NewVersion},
    {"bsrroot", "censusroot", "Module Census", "imgCensus"},
    {"agent", "besconnectorroot", "BES Configuration", "", Shown::Always, "dummybb"},
    {"agent", "chklstroot", "Check Lists", ""},
};

/// The machine-wide value "MPL", a number or a word, is true.
bool mplEnabled(Registry& registry) {
    const std::string text = Trim(MachineValue(registry, "MPL"));
    return EqualNoCase(text, "true") || ParseNumber(text).value_or(0) != 0;
}

} // namespace

Console::Console(AgentSession& session, MainView& view) : m_session(session), m_view(view) {
    setHooks();
    registerFrameCommands();
}

void Console::RegisterKind(std::unique_ptr<NodeKind> kind) {
    const std::string tag = kind->Tag();
    m_kinds[tag] = std::move(kind);
}

NodeKind* Console::Kind(std::string_view tag) {
    const auto found = m_kinds.find(tag);
    return found == m_kinds.end() ? nullptr : found->second.get();
}

void Console::addFixedNodes() {
    const bool mpl = mplEnabled(m_session.platform.registry);
    for (const FixedNode& node : kFixedNodes) {
        if ((node.shown == Shown::NewVersion && !m_session.versionFlag) ||
            (node.shown == Shown::Mpl && !mpl))
            continue;
        m_tree.Add(node.parent, node.key, node.key, node.text, node.image);
        if (!node.dummy.empty())
            m_tree.Add(node.key, node.dummy, node.dummy, "", "");
    }
}

std::string Console::LoadTreeRoot() {
    ClearTreeView();
    m_tree.Add("", "agent", "agent", "zandrelAgent - " + m_session.agentName, "imgAgent");
    addFixedNodes();
    for (const auto& build : m_builders)
        build(*this);
    // found here only: a builder lets events run, which may have rebuilt the tree
    TreeNode* root = m_tree.Find("agent");
    if (!root)
        return {};
    m_view.ExpandNode(*root, true);
    m_view.SelectNode(*root);
    const std::string text = root->text;
    NodeClick(*root);
    return text;
}

void Console::NodeClick(TreeNode& node) {
    const std::string key = NumericMark(node.key, false);
    const std::string tag = node.tag;
    m_treeContext = true;
    if (tag != m_currentTag || key != m_currentKey)
        dispatch(node);
    // a click on another node while this one loaded has won
    if (m_currentTag != tag || m_currentKey != key)
        return;
    UpdateMenu();
    NodeKind* kind = Kind(tag);
    m_view.EnableTaskTimer(kind && kind->WatchesTasks());
}

void Console::dispatch(TreeNode& node) {
    NodeKind* kind = Kind(node.tag);
    if (node.tag != m_currentTag) {
        if (kind && kind->ShowsReport())
            m_view.ShowReport("");
        else
            m_view.ShowList();
        StoreLanguages(true);
    }
    m_nodeKey = node.key;
    m_currentKey = NumericMark(node.key, false);
    m_currentTag = node.tag;
    ++m_load; // whatever is still loading has lost
    SetTitle(node.text);
    if (kind) {
        kind->Load(*this, node);
        return;
    }
    ClearListView();
    missingFeature();
}

bool Console::Expand(TreeNode& node) {
    const std::string key = node.key;
    if (NodeKind* kind = Kind(node.tag); kind && !kind->Expand(*this, node))
        return false;
    TreeNode* expanded = m_tree.Find(key);
    while (expanded && !expanded->children.empty() && expanded->children.front()->isDummy())
        m_tree.Remove(*expanded->children.front());
    return true;
}

void Console::RefreshView() {
    if (!m_session.agentInfo)
        return; // not connected: there is nothing to load the tree from
    const TreeNode* node = CurrentNode();
    const std::string key = node ? node->key : "";
    const std::string tag = node ? node->tag : "";
    m_session.log("RefreshView: saving state; Tag = " + tag + "; Key = " + m_currentKey);
    StoreLanguages(true);
    ClearTreeView();
    ClearListView();
    m_session.users.reset();
    if (m_session.hooks.loadLanguages)
        m_session.hooks.loadLanguages();
    if (m_session.hooks.loadUsers)
        m_session.hooks.loadUsers();
    LoadTreeRoot();
    restoreNode(key, tag);
}

void Console::restoreNode(const std::string& key, const std::string& tag) {
    m_session.log("RefreshView: restoring");
    const std::string_view parent = tag == "language" ? "langroot" : tag == "pdlt" ? "pdlroot" : "";
    if (TreeNode* folder = parent.empty() ? nullptr : m_tree.Find(parent))
        m_view.ExpandNode(*folder, true);
    m_session.log("expanding to find " + NumericMark(key, false));
    GoToNode(key);
}

bool Console::GoToNode(std::string_view key) {
    TreeNode* node = m_tree.Find(key);
    if (!node)
        return false;
    m_view.SelectNode(*node);
    NodeClick(*node);
    return true;
}

void Console::ClearTreeView() {
    m_nodeKey.clear();
    m_currentKey.clear();
    m_currentTag.clear();
    ++m_load;
    m_view.EnableTaskTimer(false);
    m_tree.Clear();
    SetTitle("");
}

void Console::SetTitle(std::string_view text) {
    m_view.SetTitle(text.empty() ? "" : ReplaceAll(text, " & ", " && ") + " ");
}

} // namespace kr
