// The list view at 100,000 rows of ten columns: filling, sorting and fitting columns, each beside
// its floor (std::stable_sort of plain keys) or as a part of the time that it may take.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTreeView>
#include <algorithm>
#include <ctime>
#include <random>

#include "console/forms/ListAdapter.h"

namespace {

using namespace kr;

constexpr int kRows = 100000;

const std::vector<ListColumn> kColumns = {{"Name", ""},
                                          {"Status", ""},
                                          {"Last Update", "datlastcomplete"},
                                          {"Start", "datstart"},
                                          {"Updates", "intcount"},
                                          {"Tally", "intcontacts"},
                                          {"Enabled", "chkenabled"},
                                          {"Server", ""},
                                          {"Email", ""},
                                          {"Order", "sortorder"}};

std::string date(int n) {
    char text[32];
    std::snprintf(text, sizeof text, "%d/%d/20%02d %02d:%02d:%02d", 1 + n % 12, 1 + n % 28,
                  10 + n % 17, n % 24, n % 60, n * 7 % 60);
    return text;
}

std::vector<ListRow> makeRows() {
    std::mt19937 random(7);
    std::vector<ListRow> rows(kRows);
    for (int i = 0; i < kRows; ++i) {
        const int n = static_cast<int>(random() % 1000000);
        const std::string name = "User " + std::to_string(n);
        rows[static_cast<size_t>(i)] = {
            "key" + std::to_string(i),
            "epsuser",
            "imgUser",
            {name, n % 3 ? "Done" : "Waiting", n % 20 ? date(n) : "Never", date(n / 3),
             std::to_string(n), std::to_string(n % 5000), "", "SERVER" + std::to_string(n % 40),
             "user" + std::to_string(n) + "@example.test", std::to_string(kRows - i)},
            i % 15 == 0,
            i % 50 == 0,
            i % 70 == 0,
            true,
            n % 2 == 0};
    }
    return rows;
}

/// A loaded list in a shown view.
struct Shown {
    ListModel list;
    ListAdapter adapter{list};
    QTreeView view;
    Shown() {
        list.SetColumns(kColumns);
        view.setRootIsDecorated(false);
        view.setUniformRowHeights(true);
        view.setModel(&adapter);
        view.resize(1200, 700);
        view.show();
        list.AddAll(makeRows());
    }
};

double cpuMs() { return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// CPU time of the call as a part of what it may take.
template <class Call>
void measured(benchmark::State& state, double goalMs, Call call) {
    double total = 0;
    int64_t runs = 0;
    for (auto _ : state) {
        const double before = cpuMs();
        call();
        total += cpuMs() - before;
        ++runs;
    }
    state.counters["of_goal"] = total / static_cast<double>(runs) / goalMs;
}

void Fill(benchmark::State& state) {
    std::vector<ListRow> rows = makeRows();
    double total = 0;
    int64_t runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ListModel list;
        ListAdapter adapter(list);
        list.SetColumns(kColumns);
        std::vector<ListRow> copy = rows;
        state.ResumeTiming();
        const double before = cpuMs();
        adapter.Freeze(true);
        for (size_t first = 0; first < copy.size(); first += 5000)
            list.AddAll(
                {std::make_move_iterator(copy.begin() + static_cast<ptrdiff_t>(first)),
                 std::make_move_iterator(copy.begin() + static_cast<ptrdiff_t>(first) + 5000)});
        for (int column = 0; column < 10; ++column)
            list.Sort(column, SortOrder::Ascending); // all keys
        adapter.Freeze(false);
        total += cpuMs() - before;
        ++runs;
    }
    state.counters["of_goal"] = total / static_cast<double>(runs) / 700.0;
}

void FirstPage(benchmark::State& state) {
    Shown shown;
    measured(state, 70, [&] {
        shown.adapter.Freeze(true);
        shown.adapter.Freeze(false);
        benchmark::DoNotOptimize(shown.view.grab());
    });
}

void FirstTextSort(benchmark::State& state) {
    Shown shown;
    measured(state, 350, [&] {
        shown.list.SetColumns(kColumns); // forgets the keys
        shown.list.Sort(8, SortOrder::Ascending);
    });
}

void LaterSort(benchmark::State& state) {
    Shown shown;
    const int column = static_cast<int>(state.range(0));
    shown.list.Sort(column, SortOrder::Ascending);
    shown.list.Sort(0, SortOrder::Ascending);
    measured(state, state.range(0) == 8 ? 40 : 30, [&] {
        shown.list.Sort(column, SortOrder::Descending);
        shown.list.Sort(0, SortOrder::Ascending);
    });
}

/// What two sorts cost at least: keys and rows sorted stably.
void SortFloor(benchmark::State& state) {
    std::mt19937 random(7);
    std::vector<std::pair<double, uint32_t>> keys(kRows);
    for (uint32_t i = 0; i < kRows; ++i)
        keys[i] = {static_cast<double>(random() % 1000000), i};
    for (auto _ : state) {
        for (int twice = 0; twice < 2; ++twice) {
            auto copy = keys;
            std::ranges::stable_sort(copy, {}, &std::pair<double, uint32_t>::first);
            benchmark::DoNotOptimize(copy.data());
        }
    }
}

void SortWithSelection(benchmark::State& state) {
    Shown shown;
    shown.view.setSelectionMode(QAbstractItemView::ExtendedSelection);
    QItemSelection selection(shown.adapter.index(0, 0),
                             shown.adapter.index(static_cast<int>(state.range(0)) - 1, 9));
    shown.view.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    shown.list.Sort(2, SortOrder::Ascending);
    measured(state, 100, [&] {
        shown.list.Sort(2, shown.list.Order() == SortOrder::Ascending ? SortOrder::Descending
                                                                      : SortOrder::Ascending);
    });
}

void FitAllColumns(benchmark::State& state) {
    Shown shown;
    measured(state, 50, [&] { FitColumns(shown.view, shown.list); });
}

BENCHMARK(Fill)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstPage)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstTextSort)->Unit(benchmark::kMillisecond);
BENCHMARK(SortFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(LaterSort)->Arg(2)->Arg(4)->Arg(6)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(SortWithSelection)->Arg(1000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(FitAllColumns)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
