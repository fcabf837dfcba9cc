#include "core/basFolderPath.h"

#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::string_view kPublicPath = "\\\\Public Folders\\All Public Folders";
/// No folder lies deeper; a folder that the store calls its own ancestor must not hang the caller.
constexpr int kDeepest = 1000;

/// The path of the folder that shows as the root of its store's folders.
std::string rootPath(const RDOStore& store, const EntryID& root) {
    const bool isPublic = TrapSilently([&] { // a mailbox has no such folder
        const int number = static_cast<int>(DefaultFolder::AllPublicFolders);
        return store.CompareEntryIDs(store.GetDefaultFolder(number)->ID(), root);
    });
    return isPublic ? std::string(kPublicPath) : "\\\\" + store.Name();
}

} // namespace

std::string FolderPath(const RDOFolder& folder) {
    const RDOStorePtr store = folder.Store();
    const EntryID root = store->IPMRootFolder()->ID();
    if (store->CompareEntryIDs(folder.ID(), root))
        return rootPath(*store, root);
    std::string path;
    std::string name = folder.Name();
    RDOFolderPtr parent = folder.Parent();
    for (int depth = 0; parent && depth < kDeepest; ++depth) {
        path.insert(0, "\\" + name);
        if (store->CompareEntryIDs(parent->ID(), root))
            break;
        name = parent->Name();
        parent = parent->Parent();
    }
    return rootPath(*store, root) + path;
}

} // namespace kr
