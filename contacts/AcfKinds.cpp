#include "console/Console.h"
#include "console/ListCounts.h"
#include "contacts/ContactKinds.h"
#include "contacts/SourceKind.h"
#include "contacts/basACDS.h"
#include "contacts/basACF.h"
#include "contacts/basACFContacts.h"
#include "contacts/basACFRecord.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kDuplicates = "Duplicate contacts appear in bold";
/// A hidden column that keeps the sources in the order of trust.
constexpr std::string_view kRankColumn = "sortrank";
constexpr int kRankColumnNumber = 3;

/// The frame of the two lists of contacts: `read` fills them.
void loadContacts(Console& console, Console::LoadPlan plan,
                  const std::function<std::string(ContactRows&)>& read) {
    ContactRows contacts;
    uint64_t number = 0;
    plan.one = "1 contact";
    plan.many = " contacts";
    plan.fill = [&](Console& c) {
        number = c.ListNumber();
        std::string failure = read(contacts);
        for (ListRow& row : contacts.rows) {
            if (c.LoadOvertaken())
                break;
            c.AddRow(std::move(row));
        }
        return failure;
    };
    console.LoadList(plan);
    // another node may have been clicked meanwhile; list and status are that node's then
    if (console.ListNumber() != number)
        return;
    if (!contacts.whole())
        console.ShowStatus(QuickLoadText(Counted::Contact, contacts.total, true));
    else if (contacts.duplicates)
        console.session().ui().MsgBox(kDuplicates, BoxIcon::Information);
}

void LoadMCRList(Console& console) {
    AgentSession& session = console.session();
    const RDOFolderPtr folder = GetMCRFolder(session);
    const std::string name = folder ? TrapSilently([&] { return folder->Name(); }) : "";
    console.SetTitle(std::string(kMcrName) + " - " + name);
    loadContacts(console,
                 {"Loading Master Contact Repository, please wait...", "loading MCR", McrColumns(),
                  "", "", nullptr},
                 [&](ContactRows& contacts) -> std::string {
                     if (!folder)
                         return "Unable to access Master Contact Repository";
                     contacts =
                         ReadMcrContacts(session, *folder, [&] { return console.LoadOvertaken(); });
                     return {};
                 });
}

/// Fills in the contacts of a source's folder; gives the reason when that can't be opened.
std::string readSource(Console& console, const EntryID& id, const std::string& name,
                       ContactRows& contacts) {
    AgentSession& session = console.session();
    const RDOMessagePtr acf = GetMessage(session, id);
    const RDOFolderPtr folder = acf ? OpenAcfFolder(session, *acf) : nullptr;
    if (!folder) {
        const bool mailbox = acf && KindOfAcf(*acf) == AcfKind::Mailbox;
        return (mailbox ? "Unable to access mailbox folder " : "Unable to open folder ") + name;
    }
    contacts = ReadAcfContacts(session, *folder, [&] { return console.LoadOvertaken(); });
    return {};
}

void LoadAcfList(Console& console, const TreeNode& node) {
    const EntryID id(node.key);
    const std::string name = node.text;
    loadContacts(
        console,
        {"Loading " + name + ", please wait...", "loading ACF", AcfColumns(), "", "", nullptr},
        [&](ContactRows& contacts) { return readSource(console, id, name, contacts); });
}

/// A row of the list of all sources, ready but for count and path.
ListRow sourceRow(const TreeNode& node, size_t rank) {
    ListRow row;
    row.key = node.key;
    row.tag = node.tag;
    row.icon = node.image;
    row.ghosted = node.ghosted;
    const std::string number = std::to_string(rank);
    row.texts = {node.text, "", "",
                 std::string(8 - std::min<size_t>(8, number.size()), '0') + number};
    return row;
}

void fillFolder(const RDOFolderPtr& folder, ListRow& row) {
    const bool opened = folder && TrapSilently([&] {
                            row.texts[1] = std::to_string(folder->Items()->Count());
                            row.texts[2] = FolderPath(*folder);
                            return true;
                        });
    if (!opened)
        row.texts[2] = "Unable to open folder";
}

void fillData(AgentSession& session, RDOMessage& acf, ListRow& row) {
    const std::string cxnString = KeyText(acf, kAcfCxnKey);
    row.texts[2] = MaskPassword(cxnString);
    if (session.quickLoad)
        return;
    bool hasUniqueID = false;
    const int64_t count = GetAcdsCount(session, cxnString, KeyText(acf, kAcfQueryKey), hasUniqueID);
    // deliberately also for a query without records: a failure counts none as well
    row.texts[1] = count > 0 ? std::to_string(count) : "unknown";
}

void fillSourceRow(AgentSession& session, ListRow& row) {
    if (row.tag == kMcrTag) {
        if (!session.quickLoad)
            fillFolder(GetMCRFolder(session), row);
        return;
    }
    const RDOMessagePtr acf = GetMessage(session, EntryID(row.key));
    if (acf && KindOfAcf(*acf) == AcfKind::Data)
        fillData(session, *acf, row);
    else if (!session.quickLoad)
        fillFolder(acf ? OpenAcfFolder(session, *acf) : nullptr, row);
}

std::string fillSources(Console& console) {
    std::vector<ListRow> rows;
    if (const TreeNode* root = console.tree().Find(kAcfRootKey))
        for (const auto& child : root->children)
            rows.push_back(sourceRow(*child, rows.size()));
    for (ListRow& row : rows) {
        if (console.LoadOvertaken())
            break;
        fillSourceRow(console.session(), row);
        console.AddRow(std::move(row));
    }
    return {};
}

class AcfRootKind : public NodeKind {
public:
    AcfRootKind() : NodeKind(std::string(kAcfRootKey)) {}
    void Load(Console& console, TreeNode&) override { LoadAllSourcesList(console); }
};

class McrKind : public NodeKind {
public:
    explicit McrKind(const ContactForms& forms) : NodeKind(std::string(kMcrTag)), m_forms(forms) {}
    void Load(Console& console, TreeNode&) override { LoadMCRList(console); }
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        for (MenuEntryState& entry : entries)
            if (entry.name == "mnuActionmnuProps")
                entry.enabled = true;
    }
    bool Run(Console& console, std::string_view command) override {
        if (command != "mnuActionmnuProps")
            return false;
        EditMCR(console, m_forms);
        return true;
    }

private:
    ContactForms m_forms;
};

/// A folder source.
class AcfKindOfFolder : public SourceKind {
public:
    using SourceKind::SourceKind;
    void Load(Console& console, TreeNode& node) override { LoadAcfList(console, node); }
};

} // namespace

void LoadAllSourcesList(Console& console) {
    uint64_t number = 0;
    console.LoadList({"Loading Alternate Contact Folders and Data Sources, please wait...",
                      "loading all ACF",
                      {{"Name", ""},
                       {"Count", "intcount"},
                       {"Path", ""},
                       {std::string(kRankColumn), std::string(kRankColumn)}},
                      "1 source",
                      " sources",
                      [&](Console& c) {
                          number = c.ListNumber();
                          return fillSources(c);
                      }});
    if (console.ListNumber() == number)
        console.list().Sort(kRankColumnNumber, SortOrder::Ascending);
}

void RegisterAcfKinds(Console& console, const ContactForms& forms) {
    console.RegisterKind(std::make_unique<AcfRootKind>());
    console.RegisterKind(std::make_unique<McrKind>(forms));
    for (const AcfKind kind : {AcfKind::PublicFolder, AcfKind::Mailbox})
        console.RegisterKind(std::make_unique<AcfKindOfFolder>(AcfTag(kind), forms));
    for (const std::string_view tag : {kMasterContactTag, kAltContactTag})
        console.RegisterKind(std::make_unique<NodeKind>(std::string(tag)));
    RegisterSourceCommands(console, forms);
    console.OnTreeBuilt([](Console& c) { LoadAcfTree(c.session(), c.tree()); });
}

} // namespace kr
