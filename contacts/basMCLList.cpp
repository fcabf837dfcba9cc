#include "contacts/basMCLList.h"

#include <optional>

#include "contacts/basACDS.h"
#include "contacts/basACF.h"
#include "contacts/basActivation.h"
#include "contacts/basMCLContacts.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr size_t kShownCharacters = 75;

/// The first characters of a text, however many bytes they take.
std::string shown(std::string_view text) {
    size_t end = 0;
    for (size_t count = 0; end < text.size() && count < kShownCharacters; ++count)
        do
            ++end;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80);
    return std::string(text.substr(0, end));
}

enum Column : size_t { kName, kSource, kSources, kTarget, kTargets };
constexpr size_t kColumns = kTargets + 1;
constexpr size_t kQuickColumns = 1; // the name

struct Item {
    EntryID id;
    std::string name;
};

std::vector<Item> readItems(const RDOFolder& folder) {
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns({PR_LONGTERM_ENTRYID_FROM_TABLE, PR_SUBJECT});
    Restriction restriction = CreateRestriction(Restriction::Content);
    restriction.tag = PR_MESSAGE_CLASS;
    restriction.fuzzyLevel = FL_IGNORECASE;
    restriction.value = kMclClass;
    table->Restrict(restriction);
    std::vector<Item> items;
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            items.push_back(
                {EntryID(CoerceToPropType(rows.at(i, 0).value(), PR_LONGTERM_ENTRYID_FROM_TABLE)
                             .text()),
                 std::string(rows.at(i, 1).bytes)});
    return items;
}

/// Makes the row of each list.
class RowMaker {
public:
    RowMaker(AgentSession& session, const MclListSink& sink) : m_session(session), m_sink(sink) {}
    /// A list that can't be read has a row all the same.
    ListRow Make(const Item& item);

private:
    void fill(const Item& item, ListRow& row);
    void fillLinked(RDOMessage& mcl, const MclLinks& links, const std::string& name, ListRow& row);
    void fillFolder(RDOMessage& mcl, RDOMessage& source, ListRow& row);
    void fillData(RDOMessage& mcl, RDOMessage& source, ListRow& row);
    void broken(RDOMessage& mcl, const std::string& name, ListRow& row);
    void relink(RDOMessage& mcl, RDOMessage& source, const MclLinks& links);
    const MclSources& sources();
    static void setKind(ListRow& row, std::string_view tag);
    void put(ListRow& row, Column column, std::string text) {
        if (!m_session.quickLoad) // else the list has no such column
            row.texts[column] = std::move(text);
    }

    AgentSession& m_session;
    const MclListSink& m_sink;
    std::optional<MclSources> m_sources;
};

void RowMaker::setKind(ListRow& row, std::string_view tag) {
    row.tag = tag;
    row.icon = tag == kMclTag ? "imgDL" : tag == kMclAcfTag ? "imgContact" : "imgData";
}

const MclSources& RowMaker::sources() {
    if (!m_sources)
        m_sources.emplace(m_session);
    return *m_sources;
}

ListRow RowMaker::Make(const Item& item) {
    ListRow row;
    row.key = item.id.text();
    setKind(row, kMclTag);
    row.texts.resize(m_session.quickLoad ? kQuickColumns : kColumns);
    row.texts[kName] = item.name;
    Trap([&] { fill(item, row); },
         [&](const Trapped& error) {
             m_session.log("LvLoadMCL err creating item " + item.name + " " + error.text());
         });
    return row;
}

void RowMaker::fill(const Item& item, ListRow& row) {
    const RDOMessagePtr mcl = GetMessage(m_session, item.id);
    if (!mcl)
        throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
    row.texts[kName] = mcl->Subject();
    const std::string source = RequireKey(*mcl, "MCL Source").text();
    const MclLinks links = ReadMclLinks(*mcl);
    row.ghosted = RequireKey(*mcl, kInactiveKey).valueOr(false);
    put(row, kTarget, shown(KeyText(*mcl, "MCL Target")));
    put(row, kTargets, std::to_string(KeyNumber(*mcl, "MCL Target Count", 0)));
    // a list of recipients may still carry the link of what it once was
    if (!Trim(source).empty() || links.empty()) {
        put(row, kSource, shown(source));
        put(row, kSources, std::to_string(KeyNumber(*mcl, "MCL Source Count", 0)));
        return;
    }
    fillLinked(*mcl, links, row.texts[kName], row);
}

void RowMaker::fillLinked(RDOMessage& mcl, const MclLinks& links, const std::string& name,
                          ListRow& row) {
    // without its source the list's own links tell the kind: data source lists keep an id of theirs
    setKind(row, links.acds.empty() ? kMclAcfTag : kMclAcdsTag);
    const RDOMessagePtr source = sources().Find(links, kShownOrder);
    if (!source) {
        broken(mcl, name, row);
        return;
    }
    relink(mcl, *source, links);
    const bool folder = !KeyText(*source, "ACF EntryID").empty();
    setKind(row, folder ? kMclAcfTag : kMclAcdsTag);
    if (m_session.quickLoad)
        return;
    if (folder)
        fillFolder(mcl, *source, row);
    else
        fillData(mcl, *source, row);
}

/// Deliberately also a mere view switches the list off: the agent must not act on it any more.
void RowMaker::broken(RDOMessage& mcl, const std::string& name, ListRow& row) {
    row.red = true;
    put(row, kSource, "Broken link to Alternate Contact Source");
    put(row, kSources, "?");
    if (row.ghosted)
        return;
    SetKey(mcl, kInactiveKey, true);
    mcl.Save();
    row.ghosted = true;
    m_session.log("LvLoadMCL: deactivated " + name + " because source ACF item could not be found");
}

/// Gives the source a GUID where it has none, and the list the source's.
void RowMaker::relink(RDOMessage& mcl, RDOMessage& source, const MclLinks& links) {
    Trap(
        [&] {
            const std::string guid = EnsureAcsGuid(m_session, source, true);
            if (guid.empty() || EqualNoCase(guid, links.guid))
                return;
            SetKey(mcl, kMclGuidKey, guid);
            mcl.Save();
        },
        [&](const Trapped& error) {
            m_session.log("LvLoadMCL: linking " + mcl.Subject() + " failed: " + error.text());
        });
}

void RowMaker::fillFolder(RDOMessage& mcl, RDOMessage& source, ListRow& row) {
    const RDOFolderPtr folder = OpenAcfFolder(m_session, source);
    if (!folder) {
        row.red = true;
        put(row, kSource, "Unable to open folder");
        put(row, kSources, "?");
        return;
    }
    put(row, kSource, shown(FolderPath(*folder)));
    const bool all = KeyFlag(mcl, "MCL Source No SMTP");
    put(row, kSources, std::to_string(CountSourceContacts(m_session, *folder, all, m_sink.stop)));
}

void RowMaker::fillData(RDOMessage& mcl, RDOMessage& source, ListRow& row) {
    const std::string query = KeyText(source, "ACF Query");
    if (Trim(query).empty()) {
        put(row, kSource, "Missing query");
        return;
    }
    put(row, kSource, shown(query));
    bool hasUniqueID = false;
    const int64_t count =
        GetAcdsCount(m_session, KeyText(source, "ACF Cxn String"), query, hasUniqueID);
    const bool unusable = KeyFlag(mcl, "MCL Source No SMTP") && !hasUniqueID;
    put(row, kSources, unusable ? "No UniqueID" : std::to_string(count));
}

} // namespace

std::vector<ListColumn> MclColumns(bool quickLoad) {
    if (quickLoad)
        return {{"Name", "name"}};
    return {{"Name", "name"},
            {"Source", "source"},
            {"Est. Sources", "intsource"},
            {"Target", "target"},
            {"Est. Targets", "inttarget"}};
}

std::string LoadMclRows(AgentSession& session, const MclFolder& folder, const MclListSink& sink) {
    if (folder.path.empty())
        session.log("LvLoadMCL:no MCLPath");
    if (!folder) {
        session.log("LvLoadMCL:no folMCL");
        return "Unable to locate " + std::string(kMclFolderName) + " folder";
    }
    std::string failure;
    const std::vector<Item> items =
        Trap([&] { return readItems(*folder.folder); },
             [&](const Trapped& error) {
                 session.log("LvLoadMCL:error getting messages:" + std::to_string(error.number));
                 failure = error.description;
             });
    if (!failure.empty())
        return failure;
    session.log("LvLoadMCL:message count:" + std::to_string(items.size()));
    RowMaker maker(session, sink);
    for (const Item& item : items) {
        if (sink.stop())
            break;
        sink.add(maker.Make(item));
    }
    return {};
}

} // namespace kr
