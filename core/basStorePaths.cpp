#include <set>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDirectory.h"
#include "core/basStore.h"

/// Folders by their display path, and the people behind a recipient list.
namespace kr {

namespace {

constexpr std::string_view kPublicPath = "Public Folders\\All Public Folders";

void tell(AgentSession& session, const std::string& text) {
    session.ui().MsgBox(text, BoxIcon::Stop);
}

std::string withoutBackslashes(std::string_view path) {
    while (path.starts_with('\\'))
        path.remove_prefix(1);
    while (path.ends_with('\\'))
        path.remove_suffix(1);
    return std::string(path);
}

/// The rest of the path behind the store's part, and the folder that it starts from.
RDOFolderPtr rootOf(AgentSession& session, std::string& path) {
    if (const size_t at = FindNoCase(path, kPublicPath); at != std::string::npos) {
        auto root = TrapSilently([&] {
            return session.rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::AllPublicFolders));
        });
        if (!root)
            tell(session, "Error: Public Folder Infostore not available!");
        path = withoutBackslashes(path.substr(at + kPublicPath.size()));
        return root;
    }
    auto store = session.rdo->Stores().DefaultStore();
    const size_t at = FindNoCase(path, store->Name());
    if (at == std::string::npos) {
        tell(session, "Error: unable to identify root folder!");
        return nullptr;
    }
    path = withoutBackslashes(path.substr(at + store->Name().size()));
    return store->IPMRootFolder();
}

/// The first sub-folder of that name, after trim and without regard to case.
RDOFolderPtr childOf(const RDOFolder& folder, std::string_view name) {
    const std::string wanted = ToLower(Trim(name));
    auto folders = folder.Folders();
    for (int i = 1; i <= folders->Count(); ++i)
        if (auto child = folders->Item(i); ToLower(Trim(child->Name())) == wanted)
            return child;
    return nullptr;
}

RDOFolderPtr walk(AgentSession& session, RDOFolderPtr folder, const std::string& path) {
    const auto parts = SplitNonEmpty(path, "\\");
    for (size_t i = 0; folder && i < parts.size(); ++i) {
        folder = childOf(*folder, parts[i]);
        if (folder)
            continue;
        const bool last = i + 1 == parts.size();
        tell(session,
             last ? "Error: unable to locate " + parts[i] + " in specified location."
                  : "Error: " + parts[i] + " folder could not be found in specified location!");
    }
    return folder;
}

/// Walks address entries and collects the people; lists that were seen aren't entered again.
class Expansion {
public:
    explicit Expansion(AgentSession& session) : m_session(session), m_catalog(session) {}
    /// The entry that `get` gives; one that can't be read is logged, and the others go on.
    template <class Get>
    void Add(Get get) {
        Trap([&] { add(get()); },
             [&](const Trapped& error) { m_session.log("ExpandRecipients: " + error.text()); });
    }
    std::vector<ExpandedRecipient> people;

private:
    void add(const AddressEntryPtr& entry) {
        if (!entry)
            return;
        switch (entry->DisplayType()) {
        case 0:
        case 6:
            people.push_back({entry->Name(), SmtpOfEntry(*entry)});
            break;
        case 1:
        case 4:
            if (m_seen.insert(entry->ID()).second)
                for (const AddressEntryPtr& member : entry->Members())
                    Add([&] { return member; });
            break;
        case 3:
            if (m_seen.insert(entry->ID()).second)
                askDirectory(*entry);
            break;
        default:
            break;
        }
    }

    /// A query-based list names a filter and a base; whoever matches is a member.
    void askDirectory(AddressEntry& entry) {
        const std::string list = "(legacyExchangeDN=" + EscapeFilterValue(entry.Address()) + ")";
        if (!m_catalog.RunListOf(list, "displayName,name,mail,proxyAddresses",
                                 [&](const DirectoryRow& row) { addPerson(row); }))
            m_session.log("ExpandRecipients: query of " + entry.Name() + " failed");
    }

    void addPerson(const DirectoryRow& row) {
        std::string address;
        for (const std::string& proxy : row.Values("proxyAddresses"))
            if (address.empty() && proxy.starts_with("SMTP:"))
                address = proxy.substr(5);
        if (address.empty())
            address = row.First("mail");
        const std::string name = row.First("displayName");
        people.push_back({name.empty() ? row.First("name") : name, address});
    }

    AgentSession& m_session;
    ForestCatalog m_catalog;
    std::set<EntryID> m_seen;
};

} // namespace

RDOFolderPtr GetRDOFolder(AgentSession& session, std::string_view path) {
    return Trap(
        [&]() -> RDOFolderPtr {
            if (!session.rdo)
                return nullptr;
            std::string rest = withoutBackslashes(path);
            auto root = rootOf(session, rest);
            return root ? walk(session, root, rest) : nullptr;
        },
        [&](const Trapped& error) { session.log("GetRDOFolder: " + error.text()); });
}

std::vector<ExpandedRecipient> ExpandRecipients(AgentSession& session, std::string_view ids) {
    Expansion expansion(session);
    Trap(
        [&] {
            if (!session.rdo)
                return;
            auto scratch = session.rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::Outbox))
                               ->Items()
                               ->Add("IPM.Note");
            auto recipients = scratch->Recipients();
            for (const std::string& id : SplitNonEmpty(ids, ";"))
                TrapSilently([&] { recipients->AddEntry(EntryID(id)); });
            const int count = recipients->Count();
            for (int i = 1; i <= count; ++i)
                expansion.Add([&] { return recipients->Item(i)->Entry(); });
        },
        [&](const Trapped& error) { session.log("ExpandRecipients: " + error.text()); });
    return std::move(expansion.people);
}

} // namespace kr
