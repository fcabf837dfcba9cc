// The Users recordset at its largest: 100,000 rows of 31 fields. Every figure is a ratio to a floor
// that is measured here as well.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "core/Recordset.h"
#include "core/Text.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRows = 100000;

template <class F>
double secondsOf(F&& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The middle one of some runs.
template <class F>
double median(int runs, F&& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i)
        times.push_back(secondsOf(work));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void ratio(const char* name, double value, double target) {
    std::printf("ratio %s %.4g target %.4g%s\n", name, value, target,
                value <= target ? "" : " MISSED");
}

std::string nameOf(int i) {
    static const char* const first[] = {"Alice", "Bob", "Séan", "Dörte", "Emil", "Zoë", "Łukasz"};
    const auto number = static_cast<unsigned>(i) * 2654435761U % kRows;
    return std::string(first[i % 7]) + " Name " + std::to_string(number);
}

std::string emailOf(int i) { return "user" + std::to_string(i) + "@mail.example.test"; }

std::vector<kr::Field> fields() {
    using kr::FieldType;
    std::vector<kr::Field> list{{"DisplayName", FieldType::Text, 255},
                                {"Email", FieldType::Text, 255},
                                {"EntryID", FieldType::Text, 1024},
                                {"State", FieldType::SmallInt, 2},
                                {"PushSelected", FieldType::Boolean, 2}};
    for (int i = 0; i < 10; ++i)
        list.push_back({"Text" + std::to_string(i), FieldType::Text, 255});
    for (int i = 0; i < 9; ++i)
        list.push_back({"Count" + std::to_string(i), FieldType::Integer, 4});
    for (int i = 0; i < 7; ++i)
        list.push_back({"Date" + std::to_string(i), FieldType::Date, 8});
    return list;
}

struct World {
    kr::Recordset rs{fields()};
    std::vector<std::string> names, emails;
    size_t bytes = 0; // what the values themselves take

    World() {
        for (const char* field : {"Email", "EntryID", "DisplayName"})
            rs.AddIndex(field);
        for (int i = 0; i < kRows; ++i) {
            names.push_back(nameOf(i));
            emails.push_back(emailOf(i));
        }
    }

    void fill() {
        using Kind = kr::RecordsetCell::Kind;
        std::vector<kr::RecordsetCell> row(31);
        std::string id(140, 'A');
        for (size_t i = 0; i < kRows; ++i) {
            std::snprintf(id.data() + 120, 20, "%019zu", i);
            row[0] = {Kind::Text, {0}, names[i]};
            row[1] = {Kind::Text, {0}, emails[i]};
            row[2] = {Kind::Text, {0}, id};
            row[3] = {Kind::Integer, {i % 10 == 0 ? -1 : 0}, {}};
            row[4] = {Kind::Integer, {i % 100 == 0}, {}};
            for (size_t f = 5; f < 15; ++f)
                row[f] = {Kind::Text, {0}, f % 2 == 0 ? "Success" : "MAIL01"};
            for (size_t f = 15; f < 31; ++f)
                row[f] = {Kind::Integer, {static_cast<int64_t>(i * f)}, {}};
            rs.AppendCells(row);
            bytes += names[i].size() + emails[i].size() + id.size() + 31 * 8;
        }
    }
};

/// The floor of every scan: each folded text of one column compared with the wanted one.
double equalityFloor(const std::vector<std::string>& folded, const std::string& wanted) {
    return median(9, [&] {
        volatile auto hits = std::count(folded.begin(), folded.end(), wanted);
        (void)hits;
    });
}

void filters(World& world) {
    std::vector<std::string> folded;
    for (const std::string& email : world.emails)
        folded.push_back(kr::Fold(email));
    const double floor = equalityFloor(folded, folded[kRows / 2]);
    const double copy = median(9, [&] {
        volatile auto hits = std::count_if(folded.begin(), folded.end(), [](const auto& text) {
            return text.find("r777") != std::string::npos;
        });
        (void)hits;
    });
    const auto plain = world.rs.Clone();
    const auto scanOf = [&](const char* filter) {
        return median(5, [&] { plain->SetFilter(filter); });
    };
    const double first = secondsOf([&] { plain->SetFilter("[Email]='none'"); });
    constexpr int kProbes = 2000;
    const double probe =
        secondsOf([&] {
            for (int i = 0; i < kProbes; ++i)
                plain->SetFilter("[Email]='" + world.emails[static_cast<size_t>(i) * 49] + "'");
        }) /
        kProbes;
    std::printf("index built in %.1f ms; equality by hash %.2f us; scan floor %.3f ms\n",
                first * 1e3, probe * 1e6, floor * 1e3);
    ratio("recordset.equality_hash/scan_floor", probe / floor, 0.02);
    ratio("recordset.equality_scan/floor", scanOf("[Text0]='success!' OR [Email]>'zz'") / floor,
          20);
    ratio("recordset.like_starts/floor", scanOf("[Email] LIKE 'user777*'") / floor, 10);
    ratio("recordset.like_contains/floor", scanOf("[Email] LIKE '*r777*'") / copy, 6);
    ratio("recordset.like_contains_unicode/floor", scanOf("[DisplayName] LIKE '*ö*'") / copy, 12);
    std::printf("two clauses, 90,000 hits: %.2f ms\n",
                scanOf("[PushSelected]=False AND [State]>-1") * 1e3);
}

void sorting(World& world) {
    const double floor = median(3, [&] { // one ICU key for each text and std::sort over them
        const kr::Collator collator;
        std::vector<std::string> keys;
        for (const std::string& name : world.names)
            keys.push_back(collator.sortKey(name));
        std::sort(keys.begin(), keys.end());
    });
    const auto sorted = world.rs.Clone();
    const double time = median(3, [&] { sorted->SetSort("[DisplayName] ASC"); });
    std::printf("sort by DisplayName %.0f ms; floor %.0f ms\n", time * 1e3, floor * 1e3);
    ratio("recordset.sort_text/floor", time / floor, 1.5);
    std::printf("sort by a number %.0f ms\n",
                median(3, [&] { sorted->SetSort("Count1 DESC"); }) * 1e3);
}

} // namespace

int main() {
    World world;
    const double load = secondsOf([&] { world.fill(); });
    std::printf("appended %d rows in %.0f ms, %.1f MB\n", kRows, load * 1e3,
                static_cast<double>(world.rs.MemoryUse()) / 1e6);
    ratio("recordset.memory/data",
          static_cast<double>(world.rs.MemoryUse()) / static_cast<double>(world.bytes), 1.3);
    filters(world);
    sorting(world);
    return 0;
}
