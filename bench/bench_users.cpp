// Loading 100,000 users into the Users recordset, beside sqlite3_step over the bodies of the same
// rows in the same file and run.

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/UserFields.h"
#include "console/basUsers.h"
#include "platform/store/sqlite/Organisation.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Clock_ = std::chrono::steady_clock;

constexpr int kUsers = 100'000;
constexpr int kRounds = 9;

template <class F>
double millisecondsOf(F&& work) {
    const auto start = Clock_::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock_::now() - start).count();
}

void ratio(const char* name, double value, double target) {
    std::printf("ratio %s %.2f target %.2f\n", name, value, target);
}

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

/// The floor: every body of the folder, each cache line touched.
class RawReader {
public:
    explicit RawReader(const std::string& path) {
        check(sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READONLY, nullptr));
        check(sqlite3_exec(m_db, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr));
        m_range = number("SELECT id>>40 FROM msg GROUP BY id>>40 ORDER BY count(*) DESC LIMIT 1");
        prepare("SELECT body FROM msg WHERE id>=?1<<40 AND id<(?1+1)<<40 ORDER BY id");
        sqlite3_bind_int64(m_statement, 1, m_range);
    }
    ~RawReader() {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_db);
    }

    void Read() {
        unsigned sum = 0;
        m_rows = 0;
        for (; sqlite3_step(m_statement) == SQLITE_ROW; ++m_rows) {
            const auto* body = static_cast<const char*>(sqlite3_column_blob(m_statement, 0));
            const int size = sqlite3_column_bytes(m_statement, 0);
            for (int i = 0; i < size; i += 64)
                sum += static_cast<unsigned char>(body[i]);
        }
        sqlite3_reset(m_statement);
        m_touched = sum;
    }
    int rows() const { return m_rows; }

private:
    void check(int result) {
        if (result != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(m_db));
    }
    void prepare(const char* sql) {
        check(sqlite3_prepare_v2(m_db, sql, -1, &m_statement, nullptr));
    }
    int64_t number(const char* sql) {
        prepare(sql);
        sqlite3_step(m_statement);
        const int64_t value = sqlite3_column_int64(m_statement, 0);
        sqlite3_finalize(m_statement);
        return value;
    }

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statement = nullptr;
    int64_t m_range = 0;
    int m_rows = 0;
    volatile unsigned m_touched = 0;
};

/// A line of /proc/self/status in bytes.
double memory(const char* line) {
    std::ifstream in("/proc/self/status");
    for (std::string text; std::getline(in, text);)
        if (text.rfind(line, 0) == 0)
            return std::stod(text.substr(std::strlen(line))) * 1024;
    return 0;
}

/// The most that one load took beyond what stood before. The store's own page cache is warm.
double peakOfLoad(AgentSession& session) {
    session.users.reset();
    std::ofstream("/proc/self/clear_refs") << "5"; // the high-water mark starts anew
    const double before = memory("VmRSS:");
    LoadUsers(session);
    return memory("VmHWM:") - before;
}

} // namespace

int main() {
    World world;
    world.LogOnConfigured();
    addUsers(world);
    AgentSession& session = *world.session;
    RawReader raw(world.storePath());
    raw.Read();
    const double peak = [&] {
        const MAPITablePtr table = session.userInfo->Items()->Table(); // warms the page cache
        table->Columns({PR_SUBJECT});
        while (!table->GetRows().empty()) {
        }
        return peakOfLoad(session);
    }();
    const auto own = static_cast<double>(session.users->MemoryUse());
    // the best of some rounds, floor and load in turn: others use the machine as well
    ListModel list;
    double floor = 1e9;
    double load = 1e9;
    double statistics = 1e9;
    for (int i = 0; i < kRounds; ++i) {
        floor = std::min(floor, millisecondsOf([&] { raw.Read(); }));
        load = std::min(load, millisecondsOf([&] { LoadUsers(session); }));
        statistics =
            std::min(statistics, millisecondsOf([&] { LoadUserStatistics(session, list); }));
    }
    if (raw.rows() != kUsers || session.users->RecordCount() != kUsers)
        throw std::runtime_error("not all users were read");
    std::printf("raw read %.1f ms, load %.1f ms, list of statistics %.1f ms; %.1f MB, peak %.1f\n",
                floor, load, statistics, own / 1e6, peak / 1e6);
    ratio("users.load/sqlite3_step", load / floor, 6);
    ratio("users.peak_memory/recordset", peak / own, 3);
    return 0;
}
