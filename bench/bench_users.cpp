// Loading 100,000 users into the Users recordset, beside sqlite3_step over the bodies of the same
// rows in the same file and run.

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "bench/RawBodies.h"
#include "console/UserFields.h"
#include "console/basUsers.h"
#include "platform/store/sqlite/Organisation.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr int kUsers = 100'000;
constexpr int kRounds = 9;

Value sampleOf(const UserField& field, int i) {
    const std::string number = std::to_string(i);
    switch (field.type) {
    case FieldType::Date:
        return Time(std::chrono::seconds(1'700'000'000 + i));
    case FieldType::Boolean:
        return i % 3 == 0;
    case FieldType::Integer:
        return i % 5000;
    case FieldType::SmallInt:
        return static_cast<int16_t>(i % 20 == 0 ? -1 : 0);
    default:
        return field.name == "DisplayName"  ? "Person Number " + number
               : field.name == "EPS_Status" ? std::string("Completed")
               : field.size == 255 && field.name.find("Server") != std::string_view::npos
                   ? "SERVER0" + std::to_string(i % 9)
                   : std::string(i % 4 == 0 ? "1" : "0");
    }
}

/// The records as one import writes them: in one transaction, by a session of their own.
void addUsers(World& world) {
    Organisation org(world.storePath());
    org.Begin();
    const RDOSessionPtr session = org.OpenSession("agentbox");
    const RDOFolderPtr folder = session->Stores()
                                    .DefaultStore()
                                    ->RootFolder()
                                    ->Folders()
                                    ->Item("zandrelAgentInfo")
                                    ->Folders()
                                    ->Item("zandrelUserInfo");
    std::vector<std::pair<const UserField*, PropTag>> tags;
    for (const UserField& field : UserFields())
        if (field.source == UserField::Source::Key)
            tags.emplace_back(&field, folder->GetIDsFromNames(PS_PUBLIC_STRINGS, field.key) |
                                          static_cast<PropTag>(field.keyType));
    for (int i = 0; i < kUsers; ++i) {
        const RDOMessagePtr record = folder->Items()->Add(kUserInfoClass);
        record->SetSubject("person" + std::to_string(i) + "@mail.example.test");
        for (const auto& [field, tag] : tags)
            record->SetFields(tag, sampleOf(*field, i));
        record->Save();
    }
    org.Commit();
}

/// The most that one load took beyond what stood before. The store's own page cache is warm.
double peakOfLoad(AgentSession& session) {
    session.users.reset();
    return peakOf([&] { LoadUsers(session); });
}

} // namespace

int main() {
    World world;
    world.LogOnConfigured();
    addUsers(world);
    AgentSession& session = *world.session;
    RawBodies raw(world.storePath());
    raw.Read();
    const double peak = [&] {
        const MAPITablePtr table = session.userInfo->Items()->Table(); // warms the page cache
        table->Columns({PR_SUBJECT});
        while (!table->GetRows().empty()) {
        }
        return peakOfLoad(session);
    }();
    const auto own = static_cast<double>(session.users->MemoryUse());
    const Pair times = compare(
        kRounds, [&] { raw.Read(); }, [&] { LoadUsers(session); });
    ListModel list;
    const double statistics = millisecondsOf([&] { LoadUserStatistics(session, list); });
    if (raw.rows() != kUsers || session.users->RecordCount() != kUsers)
        throw std::runtime_error("not all users were read");
    std::printf("raw read %.1f ms, load %.1f ms, list of statistics %.1f ms; %.1f MB, peak %.1f\n",
                times.floor, times.work, statistics, own / 1e6, peak / 1e6);
    ratio("users.load/sqlite3_step", times.ratio, 6);
    ratio("users.peak_memory/recordset", peak / own, 3);
    return 0;
}
