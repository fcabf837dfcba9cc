#include "contacts/AcdsKinds.h"

#include "console/Console.h"
#include "console/ListCounts.h"
#include "contacts/ContactKinds.h"
#include "contacts/SourceKind.h"
#include "contacts/basACDS.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kAcdsTag = "acds"; // the node, and its row in the list of all sources
constexpr std::string_view kAcdsRecordTag = "adscntct"; // a row of a source's records

/// Fills the list with what the source's query gives; `total` counts all its rows.
std::string fillRecords(Console& console, const EntryID& id, const std::string& name,
                        int64_t& total) {
    AgentSession& session = console.session();
    const auto source = GetMessage(session, id);
    if (!source)
        return "Unable to open connection for " + name;
    AcdsRecords records = LoadAcdsRecords(session, name, KeyText(*source, "ACF Cxn String"),
                                          KeyText(*source, "ACF Query"));
    if (!records.failure.empty())
        return records.failure;
    for (ListRow& row : records.rows) {
        if (console.LoadOvertaken())
            return {};
        console.AddRow(std::move(row));
    }
    total = records.total;
    return {};
}

/// A data source in the tree and in the list of all sources.
class AcdsKind : public SourceKind {
public:
    explicit AcdsKind(const ContactForms& forms) : SourceKind(kAcdsTag, forms) {}
    void Load(Console& console, TreeNode& node) override { LoadAcdsList(console, node); }
};

} // namespace

void LoadAcdsList(Console& console, const TreeNode& node) {
    const EntryID id(node.key);
    const std::string name = node.text;
    int64_t total = 0;
    console.LoadList({"Loading " + name + ", please wait...", "loading ACDS", AcdsColumns(),
                      "1 record", " records",
                      [&](Console& c) { return fillRecords(c, id, name, total); }});
    // another node may have been clicked meanwhile; the status is that node's then
    if (total > kQuickLoadRows && console.CurrentTag() == kAcdsTag &&
        console.CurrentKey() == id.text())
        console.ShowStatus(QuickLoadText(Counted::Record, total, console.session().quickLoad));
}

void RegisterAcdsKinds(Console& console, const ContactForms& forms) {
    console.RegisterKind(std::make_unique<AcdsKind>(forms));
    console.RegisterKind(std::make_unique<NodeKind>(std::string(kAcdsRecordTag)));
}

} // namespace kr
