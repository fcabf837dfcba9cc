#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "core/ListModel.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "core/basListView.h"

// A list of 100,000 rows and 10 columns: what filling, sorting and fitting its columns cost beside
// std::sort over keys that are ready.

namespace {

using namespace kr;
using Clock_ = std::chrono::steady_clock;

constexpr int kRows = 100'000;
constexpr int kRounds = 5;
enum Columns { kName, kDate, kNumber, kCheck };

double milliseconds(const std::function<void()>& work) {
    const auto start = Clock_::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock_::now() - start).count();
}

/// The middle one of several runs, each after its own preparation.
double median(const std::function<void()>& prepare, const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        prepare();
        times.push_back(milliseconds(work));
    }
    std::sort(times.begin(), times.end());
    return times[kRounds / 2];
}

void report(const char* name, double value, double target) {
    std::printf("%-26s %8.1f ms   goal %5.0f ms\n", name, value, target);
    std::printf("ratio %s %.2f target 1.00\n", name, value / target);
}

void reportFloor(const char* name, double value, double floor, double target) {
    std::printf("ratio %s-vs-std-sort %.2f target %.2f\n", name, value / floor, target);
}

std::vector<ListRow> makeRows() {
    const char* const names[] = {"Adams",      "Baker",   "M\xC3\xBCller",
                                 "O'Brien",    "Smith",   "\xC3\x96zt\xC3\xBCrk",
                                 "S\xC3\xA3o", "van Dyk", "Zimmer"};
    std::minstd_rand random(3);
    const auto start = std::chrono::sys_days{std::chrono::year{2020} / 1 / 1};
    std::vector<ListRow> rows(kRows);
    for (int i = 0; i < kRows; ++i) {
        ListRow& row = rows[static_cast<size_t>(i)];
        row.key = "00000000A1B2C3D4E5F60718293A4B5C" + std::to_string(i);
        row.icon = "imgUser";
        row.ghosted = i % 15 == 0;
        row.checked = random() % 3 == 0;
        const std::string name = names[random() % 9];
        row.texts = {name + ", " + names[random() % 9] + ' ' + std::to_string(random() % 10000),
                     i % 40 == 0 ? "Never"
                                 : FormatDate(start + std::chrono::seconds(random() % 190'000'000)),
                     i % 50 == 0 ? "Unlimited" : std::to_string(random() % 100'000),
                     "",
                     name + std::to_string(i) + "@example.test",
                     "MAIL0" + std::to_string(random() % 9),
                     "Completed",
                     std::to_string(random() % 100),
                     "4.0." + std::to_string(random() % 20),
                     "hidden " + std::to_string(i)};
    }
    return rows;
}

std::vector<ListColumn> makeColumns() {
    return {{"Name", "name"},     {"Last Update", "datLast"},  {"Contacts", "intCount"},
            {"On", "chkOn"},      {"Email", "email"},          {"Server", "server"},
            {"Status", "status"}, {"Progress", "intProgress"}, {"Version", "version"},
            {"Sort", "sortName"}};
}

/// std::sort over pairs of key and row: no list can be faster.
double floorOf() {
    std::minstd_rand random(9);
    std::vector<std::pair<double, uint32_t>> keys(kRows);
    return median(
        [&] {
            for (uint32_t i = 0; i < kRows; ++i)
                keys[i] = {static_cast<double>(random()), i};
        },
        [&] { std::sort(keys.begin(), keys.end()); });
}

/// The collation keys alone, which the first sort of a text column can't do without.
double collationFloor(const std::vector<ListRow>& rows) {
    std::vector<std::string> keys(rows.size());
    return median([] {},
                  [&] {
                      const Collator collator;
                      for (size_t i = 0; i < rows.size(); ++i)
                          keys[i] = collator.sortKey(rows[i].texts[0]);
                      std::sort(keys.begin(), keys.end());
                  });
}

} // namespace

int main() {
    const std::vector<ListRow> rows = makeRows();
    const double floor = floorOf();
    ListModel list;
    std::vector<ListRow> copy;
    const auto refill = [&] {
        list = ListModel();
        list.SetColumns(makeColumns());
        copy = rows;
    };
    const auto fill = [&] { list.AddAll(std::move(copy)); };
    const auto filled = [&] {
        refill();
        fill();
    };
    report("fill", median(refill, fill), 350);

    struct Case {
        const char* name;
        int column;
        double first, later; // goals in ms
    };
    const Case cases[] = {{"text", kName, 350, 40},
                          {"date", kDate, 100, 30},
                          {"number", kNumber, 100, 30},
                          {"check", kCheck, 30, 30}};
    for (const Case& c : cases) {
        const auto ascending = [&] { list.Sort(c.column, SortOrder::Ascending); };
        const auto other = [&] {
            list.Sort(c.column == kName ? kDate : kName, SortOrder::Ascending);
        };
        const double first = median(filled, ascending);
        report((std::string("first-sort-") + c.name).c_str(), first, c.first);
        if (c.column == kName)
            reportFloor("first-sort-text-keys", first, collationFloor(rows), 1.2);
        const double later = median(other, ascending);
        report((std::string("later-sort-") + c.name).c_str(), later, c.later);
        reportFloor((std::string("later-sort-") + c.name).c_str(), later, floor, 2);
    }

    size_t texts = 0;
    report("fit-texts",
           median([] {},
                  [&] {
                      for (int i = 0; i < 10; ++i)
                          texts += ColumnFitTexts(list, i).size();
                  }),
           100);
    size_t found = 0;
    report("find-every-key",
           median(filled,
                  [&] {
                      for (const ListRow& row : rows)
                          found += list.Find(row.key);
                  }),
           150);
    return texts > 0 && found > 0 ? 0 : 1;
}
