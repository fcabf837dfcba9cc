#include "console/FolderTree.h"

#include <utility>

#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

struct WellKnownImage {
    DefaultFolder number;
    std::string_view image;
};
constexpr WellKnownImage kWellKnown[] = {{DefaultFolder::Inbox, "imgInbox"},
                                         {DefaultFolder::Outbox, "imgOutbox"},
                                         {DefaultFolder::DeletedItems, "imgDeletedItems"},
                                         {DefaultFolder::SentMail, "imgSentItems"}};

struct ClassImage {
    std::string_view containerClass;
    std::string_view image;
};
constexpr ClassImage kClassImages[] = {{"IPF.StickyNote", "imgNotes"},
                                       {"IPF.Contact", "imgContact"},
                                       {"IPF.Journal", "imgJournal"},
                                       {"IPF.Task", "imgTasks"},
                                       {"IPF.Appointment", "imgCalendar"}};

constexpr std::string_view kMailImages[] = {"imgMail", "imgInbox", "imgOutbox", "imgDeletedItems",
                                            "imgSentItems"};
constexpr std::string_view kPublicPath = "\\\\Public Folders\\All Public Folders";

} // namespace

bool FolderTree::LoadRoots() {
    m_roots.clear();
    const bool mailbox = m_options.showMailbox && loadMailbox();
    const bool publicFolders = m_options.showPublicFolders && loadPublicFolders();
    if (mailbox || publicFolders)
        return true;
    m_log("frmFolderPicker: unloading due to LoadStores error");
    return false;
}

bool FolderTree::loadMailbox() {
    std::string_view step = "DefaultStore";
    return Trap(
        [&] {
            m_mailbox = m_options.mailbox.empty()
                            ? m_rdo.Stores().DefaultStore()
                            : m_rdo.GetSharedMailbox("SMTP:" + m_options.mailbox);
            const std::string name = ReplaceAll(m_mailbox->Name(), "Mailbox - ", "");
            step = "IPMRootFolder";
            auto root = m_mailbox->IPMRootFolder();
            auto node = rootNode(*root, "mbxroot", "Mailbox - " + name, "imgMailbox");
            node->path = "\\\\" + node->text;
            step = "IPMRootFolder.Folders";
            node->hasChildren = root->Folders()->Count() > 0;
            findWellKnown();
            m_roots.push_back(std::move(node));
            return true;
        },
        failed(step));
}

bool FolderTree::loadPublicFolders() {
    std::string_view step = "AllPublicFolders";
    return Trap(
        [&] {
            auto root = m_rdo.Stores().AllPublicFolders();
            auto node = rootNode(*root, "pfroot", root->Name(), "imgStore");
            node->path = kPublicPath;
            node->hasChildren = root->Folders()->Count() > 0;
            m_roots.push_back(std::move(node));
            return true;
        },
        failed(step));
}

/// Logs the step that failed. The text's view is read when it happens, not now.
std::function<void(const Trapped&)> FolderTree::failed(const std::string_view& step) {
    return [this, &step](const Trapped& error) {
        m_log("frmFolderPicker: unable to retrieve " + std::string(step) + " " + error.text());
    };
}

std::unique_ptr<FolderNode> FolderTree::rootNode(RDOFolder& root, std::string_view key,
                                                 std::string text, std::string_view image) {
    auto node = std::make_unique<FolderNode>();
    node->key = key;
    node->text = std::move(text);
    node->image = image;
    node->entryID = root.ID();
    node->storeID = root.StoreID();
    return node;
}

void FolderTree::findWellKnown() {
    m_wellKnown.clear();
    for (const WellKnownImage& known : kWellKnown)
        TrapSilently([&] { // a mailbox may lack one of them
            const int number = static_cast<int>(known.number);
            m_wellKnown.emplace_back(m_mailbox->GetDefaultFolder(number)->ID(), known.image);
        });
}

std::string FolderTree::imageOf(RDOFolder& folder) const {
    const EntryID id = folder.ID();
    for (const auto& [known, image] : m_wellKnown)
        if (m_mailbox->CompareEntryIDs(known, id))
            return image;
    const std::string itemClass = folder.DefaultItemClass();
    for (const ClassImage& row : kClassImages)
        if (EqualNoCase(row.containerClass, itemClass))
            return std::string(row.image);
    return "imgMail";
}

bool FolderTree::validImage(std::string_view image) const {
    for (const std::string_view mail : kMailImages)
        if (image == mail)
            return m_options.allowMail;
    return (image == "imgContact" && m_options.allowContacts) ||
           (image == "imgNotes" && m_options.allowNotes) ||
           (image == "imgTasks" && m_options.allowTasks);
}

std::unique_ptr<FolderNode> FolderTree::nodeOf(RDOFolder& folder, FolderNode* parent) {
    auto node = std::make_unique<FolderNode>();
    node->entryID = folder.ID();
    node->storeID = folder.StoreID();
    node->key = node->entryID.text();
    node->text = folder.Name();
    node->image = imageOf(folder);
    node->tag = validImage(node->image) ? "valid" : "";
    node->path = parent->path + "\\" + node->text;
    node->hasChildren = folder.Folders()->Count() > 0;
    node->parent = parent;
    return node;
}

void FolderTree::Expand(FolderNode& node) {
    if (std::exchange(node.loaded, true))
        return;
    Trap(
        [&] {
            auto folders = m_rdo.GetFolderFromID(node.entryID, node.storeID)->Folders();
            for (int i = 1; i <= folders->Count(); ++i)
                node.children.push_back(nodeOf(*folders->Item(i), &node));
        },
        [&](const Trapped& error) {
            m_log("frmFolderPicker: unable to read " + node.path + " " + error.text());
        });
    node.hasChildren = !node.children.empty();
}

FolderNode* FolderTree::FindPath(std::string_view path) {
    FolderNode* found = nullptr;
    for (const auto& root : m_roots)
        if (StartsWithNoCase(path, root->path))
            found = root.get();
    if (!found)
        return nullptr;
    for (const std::string& part : SplitNonEmpty(path.substr(found->path.size()), "\\")) {
        Expand(*found);
        FolderNode* next = nullptr;
        for (const auto& child : found->children)
            if (EqualNoCase(Trim(child->text), part))
                next = child.get();
        if (!next)
            break;
        found = next;
    }
    return found;
}

std::string FolderTree::JoinPaths(const std::vector<FolderPick>& picks) {
    Strings paths;
    for (const FolderPick& pick : picks)
        paths.push_back(pick.path);
    return Join(paths, ";");
}

} // namespace kr
