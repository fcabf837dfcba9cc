// Counting 10,000 people behind nested lists, beside sqlite3_step over the same entries, one by
// one as the lists name them, in the same file and run.

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "bench/Measure.h"
#include "bench/People.h"
#include "contacts/basExpand.h"

namespace {

using namespace kr;
using bench::AddEntry;
using bench::DnOf;
using bench::millisecondsOf;

constexpr int kPeople = 10'000;
constexpr int kPerList = 100;
constexpr int kFan = 10; // lists in a list
constexpr int kRounds = 15;

/// Lists of people, lists of these, and the top one; every list holds the top one as well.
int addLists(World& world) {
    Organisation org(world.storePath());
    org.Begin();
    AddEntry(org, "top", 1);
    int lists = 1;
    for (int i = 0; i < kPeople; ++i) {
        const int inner = i / kPerList;
        const std::string list = "list" + std::to_string(inner);
        if (i % kPerList == 0) {
            const std::string group = "group" + std::to_string(inner / kFan);
            if (inner % kFan == 0) {
                AddEntry(org, group, 1);
                org.AddMember(DnOf("top"), DnOf(group));
                org.AddMember(DnOf(group), DnOf("top"));
                ++lists;
            }
            AddEntry(org, list, 1);
            org.AddMember(DnOf(group), DnOf(list));
            org.AddMember(DnOf(list), DnOf("top"));
            ++lists;
        }
        AddEntry(org, "person" + std::to_string(i), 0);
        org.AddMember(DnOf(list), DnOf("person" + std::to_string(i)));
    }
    org.Commit();
    return lists;
}

/// The floor: the members of each list, each entry by its number.
class RawReader {
public:
    explicit RawReader(const std::string& path) {
        check(sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READONLY, nullptr));
        check(sqlite3_exec(m_db, "PRAGMA cache_size=-65536", nullptr, nullptr, nullptr));
        prepare("SELECT member FROM ab_member WHERE list IN (SELECT id FROM ab_entry "
                "WHERE name LIKE 'Person Number %') ORDER BY list,n",
                m_members);
        prepare("SELECT dn,display_type,name,addrtype,address,props FROM ab_entry WHERE id=?",
                m_entry);
    }
    ~RawReader() {
        sqlite3_finalize(m_members);
        sqlite3_finalize(m_entry);
        sqlite3_close(m_db);
    }

    int Read() {
        int entries = 0;
        unsigned sum = 0;
        while (sqlite3_step(m_members) == SQLITE_ROW) {
            sqlite3_bind_int64(m_entry, 1, sqlite3_column_int64(m_members, 0));
            for (; sqlite3_step(m_entry) == SQLITE_ROW; ++entries)
                for (int column = 0; column < 6; ++column)
                    sum += static_cast<unsigned>(sqlite3_column_bytes(m_entry, column));
            sqlite3_reset(m_entry);
        }
        sqlite3_reset(m_members);
        m_touched = sum;
        return entries;
    }

private:
    void check(int result) {
        if (result != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(m_db));
    }
    void prepare(const char* sql, sqlite3_stmt*& statement) {
        check(sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr));
    }

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_members = nullptr;
    sqlite3_stmt* m_entry = nullptr;
    volatile unsigned m_touched = 0;
};

/// The same through the session library: every list's members, one property of each.
int readMembers(AgentSession& session, const std::vector<EntryID>& lists) {
    const AddressBookPtr book = session.rdo->GetAddressBook();
    int entries = 0;
    for (const EntryID& list : lists)
        for (const AddressEntryPtr& member : book->GetAddressEntryFromID(list)->Members())
            entries += member->SMTPAddress().empty() ? 0 : 1;
    return entries;
}

} // namespace

int main() {
    World world;
    world.LogOn();
    const int lists = addLists(world);
    AgentSession& session = *world.session;
    std::vector<EntryID> ids;
    for (const AddressRow& row : session.rdo->GetAddressBook()->Search("Person Number ", 1'000'000))
        if (row.displayType == 1)
            ids.push_back(row.id);
    RawReader raw(world.storePath());
    double floor = 1e9;
    double library = 1e9;
    double count = 1e9;
    // each list is named by those that hold it: entries read are memberships
    const int expected = kPeople + 2 * (lists - 1);
    // the best of some rounds, floor and count in turn: others use the machine as well
    for (int i = 0; i < kRounds; ++i) {
        floor = std::min(floor, millisecondsOf([&] {
                             if (raw.Read() != expected)
                                 throw std::runtime_error("not all members were read");
                         }));
        library = std::min(library, millisecondsOf([&] { readMembers(session, ids); }));
        count = std::min(count, millisecondsOf([&] {
                             if (CountRecipients(session, "top@mail.example.test") != kPeople)
                                 throw std::runtime_error("not all people were counted");
                         }));
    }
    std::printf("raw read %.1f ms, by the session library %.1f ms, count %.1f ms; %d lists\n",
                floor, library, count, lists);
    std::printf("ratio expand.count/sqlite3_step %.2f target %.2f\n", count / floor, 3.0);
    return 0;
}
