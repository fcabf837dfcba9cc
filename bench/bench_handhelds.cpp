// Loading 100,000 handhelds into their recordset, beside the store's table alone over the same
// columns, and sqlite3_step over the bodies of the same rows.

#include <stdexcept>

#include "bench/Measure.h"
#include "bench/People.h"
#include "bench/RawBodies.h"
#include "core/Keys.h"
#include "handhelds/basHandhelds.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr int kHandhelds = 100'000;
constexpr int kRounds = 9;

/// The columns of the recordset, read and dropped.
void readTable(AgentSession& session) {
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    std::vector<PropTag> tags;
    for (const Field& field : HandheldRecordsetFields())
        tags.push_back(field.name == "Email" ? PR_CONVERSATION_TOPIC
                       : field.name == "EntryID"
                           ? PR_LONGTERM_ENTRYID_FROM_TABLE
                           : folder->GetIDsFromNames(PS_PUBLIC_STRINGS, field.name) |
                                 static_cast<PropTag>(TypeOfKey(field.name)));
    const MAPITablePtr table = folder->Items()->Table();
    table->Columns(tags);
    size_t count = 0;
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        count += rows.rows;
    if (count < kHandhelds)
        throw std::runtime_error("rows are missing");
}

} // namespace

int main() {
    PushWorld world;
    AddHandhelds(world, kHandhelds);
    AgentSession& session = *world.session;
    readTable(session); // warms the store's page cache
    const double peak = peakOf([&] { DeviceInfo(session, true); });
    const auto own = static_cast<double>(session.handhelds->MemoryUse());
    RawBodies raw(world.storePath());
    raw.Read();
    const auto load = [&] {
        DeviceInfo(session, true);
        if (session.handhelds->RecordCount() < kHandhelds)
            throw std::runtime_error("handhelds are missing");
    };
    const Pair table = compare(
        kRounds, [&] { readTable(session); }, load);
    const Pair step = compare(
        kRounds, [&] { raw.Read(); }, load);
    std::printf("raw read %.1f ms, table %.1f ms, load %.1f ms (%.2f x raw); %.1f MB, peak %.1f\n",
                step.floor, table.floor, table.work, step.ratio, own / 1e6, peak / 1e6);
    ratio("handhelds.load/table", table.ratio, 2.5);
    ratio("handhelds.peak_memory/recordset", peak / own, 3);
    return 0;
}
