#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <set>

#include "core/ListModel.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "core/basListView.h"
#include "core/basText.h"

namespace kr {
namespace {

using namespace std::chrono;

// The order of list columns, the slow way: a sort text for each cell, and a plain text sort.

std::string dateText(const std::string& cell) {
    const auto date =
        cell == "Never" ? std::optional<Time>(sys_days{year{2888} / 12 / 31}) : ParseDate(cell);
    if (!date)
        return "";
    SystemTime t;
    DateToSystemTime(*date, t);
    char text[64];
    std::snprintf(text, sizeof text, "%04u%02u%02u%02u%02u%02u", t.year, t.month, t.day, t.hour,
                  t.minute, t.second);
    return text;
}

std::string numberText(const std::string& cell) {
    const auto number = cell == "Unlimited" ? std::optional<double>(32767) : ParseNumber(cell);
    if (!number)
        return "";
    char text[400];
    std::snprintf(text, sizeof text, "%061.30f", std::abs(*number));
    std::string out = text;
    if (*number >= 0)
        return out;
    for (char& c : out)
        if (c != '.')
            c = static_cast<char>('0' + '9' - c);
    return "-" + out;
}

std::string sortText(const ListRow& row, const ListColumn& column, size_t at) {
    const std::string cell = at < row.texts.size() ? row.texts[at] : "";
    switch (column.kind()) {
    case SortKind::Date:
        return dateText(cell);
    case SortKind::Number:
        return numberText(cell);
    case SortKind::Check:
        return row.checked ? "1" : "0";
    case SortKind::Text:
        break;
    }
    return cell;
}

/// Keys of the rows in the order that sorting by those texts gives.
Strings slowOrder(const ListModel& list, int column, SortOrder order) {
    const auto at = static_cast<size_t>(column);
    const bool collate = list.Columns()[at].kind() == SortKind::Text;
    const Collator collator;
    std::vector<std::pair<std::string, std::string>> rows; // sort text, key
    for (size_t i = 0; i < list.Count(); ++i)
        rows.emplace_back(sortText(list.At(i), list.Columns()[at], at), list.At(i).key);
    std::stable_sort(rows.begin(), rows.end(), [&](const auto& a, const auto& b) {
        const int c = collate ? collator.compare(a.first, b.first) : a.first.compare(b.first);
        return order == SortOrder::Ascending ? c < 0 : c > 0;
    });
    Strings keys;
    for (const auto& row : rows)
        keys.push_back(row.second);
    return keys;
}

Strings keysOf(const ListModel& list) {
    Strings keys;
    for (size_t i = 0; i < list.Count(); ++i)
        keys.push_back(list.At(i).key);
    return keys;
}

Strings textsOf(const ListModel& list, int column) {
    Strings texts;
    for (size_t i = 0; i < list.Count(); ++i)
        texts.emplace_back(list.Text(i, column));
    return texts;
}

ListRow row(std::string key, Strings texts = {}, bool checked = false) {
    ListRow made;
    made.key = std::move(key);
    made.texts = std::move(texts);
    made.checked = checked;
    return made;
}

/// One column of that key with these cells.
ListModel column(const std::string& key, const Strings& cells) {
    ListModel list;
    list.SetColumns({{"Title", key}});
    for (size_t i = 0; i < cells.size(); ++i)
        list.Add(row(std::to_string(i), {cells[i]}));
    return list;
}

/// Writes down what it hears.
class Ear : public ListModel::Listener {
public:
    explicit Ear(ListModel& list) : m_list(list) { list.SetListener(this); }
    void OnReset() override { heard.push_back("reset"); }
    void OnAppended(size_t first, size_t count) override {
        heard.push_back("append " + std::to_string(first) + "+" + std::to_string(count));
    }
    void OnRemoved(size_t position) override {
        heard.push_back("remove " + std::to_string(position));
    }
    void OnChanged(size_t position) override {
        heard.push_back("change " + std::to_string(position));
    }
    void BeforeReorder() override { heard.push_back("before"); }
    void AfterReorder(const std::vector<uint32_t>& oldOrder) override {
        heard.push_back("after");
        EXPECT_EQ(oldOrder.size(), m_list.Count());
        EXPECT_EQ(std::set<uint32_t>(oldOrder.begin(), oldOrder.end()),
                  std::set<uint32_t>(m_list.order().begin(), m_list.order().end()));
        old = oldOrder;
    }
    Strings heard;
    std::vector<uint32_t> old;

private:
    ListModel& m_list;
};

TEST(ListColumns, KindAndVisibilityComeFromTheKey) {
    EXPECT_EQ((ListColumn{"", "datLast"}).kind(), SortKind::Date);
    EXPECT_EQ((ListColumn{"", "DATLast"}).kind(), SortKind::Date);
    EXPECT_EQ((ListColumn{"", "intCount"}).kind(), SortKind::Number);
    EXPECT_EQ((ListColumn{"", "chkOn"}).kind(), SortKind::Check);
    EXPECT_EQ((ListColumn{"", "name"}).kind(), SortKind::Text);
    EXPECT_EQ((ListColumn{"", "da"}).kind(), SortKind::Text);
    EXPECT_EQ((ListColumn{"", ""}).kind(), SortKind::Text);
    EXPECT_TRUE((ListColumn{"", ""}).visible());
    EXPECT_FALSE((ListColumn{"", "sortDate"}).visible());
    EXPECT_TRUE((ListColumn{"", "datsort"}).visible());
}

TEST(ListSort, NeverIsLastAmongDates) {
    ListModel list = column("datX", {"Never", "3/9/2026 4:05:06 PM", "no date", "12/31/2887",
                                     "3/9/2026 4:05:05 PM", "", "2/1/2026 11:00:00 AM"});
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0),
              (Strings{"no date", "", "2/1/2026 11:00:00 AM", "3/9/2026 4:05:05 PM",
                       "3/9/2026 4:05:06 PM", "12/31/2887", "Never"}));
    list.Sort(0, SortOrder::Descending);
    EXPECT_EQ(list.Text(0, 0), "Never");
    EXPECT_EQ(list.Text(6, 0), "");
}

TEST(ListSort, NumbersByTheirValue) {
    ListModel list = column("intX", {"10", "9", "-2", "-10", "Unlimited", "32768", "1,000", "x",
                                     "0", "2.5", "-0.5", ""});
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"x", "", "-10", "-2", "-0.5", "0", "2.5", "9", "10",
                                         "1,000", "Unlimited", "32768"}));
}

TEST(ListSort, MarkedRowsGroupTogether) {
    ListModel list;
    list.SetColumns({{"On", "chkOn"}});
    for (int i = 0; i < 6; ++i)
        list.Add(row(std::to_string(i), {}, i % 2 == 0));
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(keysOf(list), (Strings{"1", "3", "5", "0", "2", "4"}));
    list.SetChecked(0, true);
    list.Sort(0, SortOrder::Descending);
    EXPECT_EQ(keysOf(list), (Strings{"1", "0", "2", "4", "3", "5"}));
}

TEST(ListSort, TextAsAPersonOrdersIt) {
    ListModel list = column(
        "name", {"zebra", "\xC3\x84pfel", "apple", "Banana", "", "\xD7\xA9", "apfel", "10", "9"});
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"", "10", "9", "apfel", "\xC3\x84pfel", "apple", "Banana",
                                         "zebra", "\xD7\xA9"}));
}

TEST(ListSort, EqualRowsKeepTheirOrderBothWays) {
    ListModel list = column("name", {"b", "a", "b", "a"});
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(keysOf(list), (Strings{"1", "3", "0", "2"}));
    list.Sort(0, SortOrder::Descending);
    EXPECT_EQ(keysOf(list), (Strings{"0", "2", "1", "3"}));
}

TEST(ListSort, TheSameOrderAsTheSortTexts) {
    std::minstd_rand random(11);
    const Strings odd = {"",      "Never",    "Unlimited", "-5",    "-5.25",      "1e3",
                         "abc",   "ABC",      "\xC3\xA9",  "e",     "(7)",        "\xFF",
                         "99999", "1/1/2026", "1/1/1999",  "00:10", "2026-02-03", "2/3/26",
                         "-0",    "0.000001", "E"};
    ListModel list;
    list.SetColumns({{"N", "name"}, {"D", "datD"}, {"I", "intI"}, {"C", "chkC"}});
    const auto cell = [&](int kind) -> std::string {
        const unsigned draw = random() % 4;
        if (draw == 0)
            return odd[random() % odd.size()];
        if (kind == 1)
            return FormatDate(sys_days{year{2000} / 1 / 1} +
                              seconds{static_cast<int64_t>(random() % 1'000'000'000)});
        return std::to_string(static_cast<int>(random() % 2000) - 1000);
    };
    std::vector<ListRow> rows;
    for (int i = 0; i < 3000; ++i)
        rows.push_back(row(std::to_string(i), {cell(0), cell(1), cell(2)}, random() % 3 == 0));
    list.AddAll(std::move(rows));
    for (int round = 0; round < 12; ++round) {
        const int by = static_cast<int>(random() % 4);
        const auto order = random() % 2 == 0 ? SortOrder::Ascending : SortOrder::Descending;
        const Strings expected = slowOrder(list, by, order);
        SortListView(list, by, order);
        ASSERT_EQ(keysOf(list), expected) << "column " << by;
    }
}

TEST(ListSort, AClickTurnsTheOrderWhicheverColumnWasLast) {
    ListModel list;
    list.SetColumns({{"A", "a"}, {"B", "intB"}});
    list.AddAll({row("1", {"a", "1"}), row("2", {"b", "2"})});
    list.ColumnClick(0);
    EXPECT_EQ(list.Order(), SortOrder::Descending) << "the first click on an ascending list";
    EXPECT_EQ(keysOf(list), (Strings{"2", "1"}));
    list.ColumnClick(1);
    EXPECT_EQ(list.Order(), SortOrder::Ascending);
    EXPECT_EQ(list.SortColumn(), 1);
    EXPECT_EQ(keysOf(list), (Strings{"1", "2"}));
    list.Clear();
    list.AddAll({row("1", {"a", "1"}), row("2", {"b", "2"})});
    list.ColumnClick(0);
    EXPECT_EQ(list.Order(), SortOrder::Descending) << "the order outlives the rows";
}

TEST(ListSort, ColumnsThatAreNotThere) {
    ListModel list = column("name", {"b", "a"});
    list.Sort(-1, SortOrder::Ascending);
    list.Sort(1, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"b", "a"}));
    ListModel none;
    none.Sort(0, SortOrder::Ascending);
    none.ColumnClick(0);
    EXPECT_EQ(none.Count(), 0U);
}

TEST(ListSort, NewContentMakesNewKeys) {
    ListModel list = column("intX", {"3", "1"});
    list.Sort(0, SortOrder::Ascending);
    list.Add(row("new", {"2"}));
    EXPECT_EQ(textsOf(list, 0), (Strings{"1", "3", "2"})) << "appended at the end";
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"1", "2", "3"}));
    list.Change(0, row("0", {"9"}));
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"2", "3", "9"}));
    list.SetColumns({{"Title", "name"}});
    list.Add(row("", {"10"}));
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(textsOf(list, 0), (Strings{"10", "2", "3", "9"}));
}

TEST(ListModel, FindsByKey) {
    ListModel list;
    EXPECT_EQ(list.Find("x"), ListModel::npos);
    list.SetColumns({{"N", "intN"}});
    for (int i = 0; i < 100; ++i)
        list.Add(row("k" + std::to_string(i), {std::to_string(100 - i)}));
    EXPECT_EQ(list.Find("k7"), 7U);
    EXPECT_EQ(list.Find("K7"), ListModel::npos);
    EXPECT_EQ(list.Find(""), ListModel::npos);
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(list.Find("k7"), 92U);
    list.Add(row("late"));
    EXPECT_EQ(list.Find("late"), 100U);
    list.Change(92, row("renamed", {"1"}));
    EXPECT_EQ(list.Find("k7"), ListModel::npos);
    EXPECT_EQ(list.Find("renamed"), 92U);
    list.Remove(0);
    EXPECT_EQ(list.Find("renamed"), 91U);
    EXPECT_EQ(list.Find("k99"), ListModel::npos);
    list.Add(row("k1"));
    EXPECT_EQ(list.At(list.Find("k1")).texts, Strings{"99"}) << "the first of two";
    list.Clear();
    EXPECT_EQ(list.Find("k1"), ListModel::npos);
}

TEST(ListModel, FindAgreesWithASearchThroughManyChanges) {
    std::minstd_rand random(5);
    ListModel list;
    list.SetColumns({{"N", "intN"}, {"T", "t"}});
    int next = 0;
    for (int step = 0; step < 6000; ++step) {
        const unsigned what = random() % 20;
        const size_t at = list.Count() ? random() % list.Count() : 0;
        const std::string key = "k" + std::to_string(next);
        const ListRow fresh = row(key, {std::to_string(random() % 50), key});
        // More removals than additions in the second half, so that rows are moved together.
        if (what < (step < 3000 ? 12U : 4U))
            list.Add(fresh), ++next;
        else if (what < 18)
            list.Remove(at);
        else if (what == 18)
            list.Change(at, fresh), ++next;
        else
            list.Sort(static_cast<int>(random() % 2), SortOrder::Descending);
        if (list.Count() == 0)
            continue;
        const size_t probe = random() % list.Count();
        ASSERT_EQ(list.Find(list.At(probe).key), probe) << "step " << step;
        ASSERT_EQ(list.Find("k" + std::to_string(next)), ListModel::npos);
    }
    const Strings expected = slowOrder(list, 0, SortOrder::Ascending);
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(keysOf(list), expected);
}

TEST(ListModel, RemovingAHundredThousandRowsByKeyIsQuick) {
    ListModel list;
    list.SetColumns({{"N", "intN"}});
    std::vector<ListRow> rows;
    constexpr int kRows = 100'000;
    for (int i = 0; i < kRows; ++i)
        rows.push_back(row("key" + std::to_string(i), {std::to_string(i * 7919 % kRows)}));
    list.AddAll(std::move(rows));
    list.Sort(0, SortOrder::Descending);
    const auto start = steady_clock::now();
    for (int i = 0; i < kRows; i += 2)
        list.Remove(list.Find("key" + std::to_string(i)));
    EXPECT_LT(steady_clock::now() - start, 15s) << "far below what a search for each would take";
    EXPECT_EQ(list.Count(), static_cast<size_t>(kRows / 2));
    EXPECT_EQ(list.Find("key0"), ListModel::npos);
    EXPECT_EQ(list.At(list.Find("key1")).key, "key1");
}

TEST(ListModel, ListenersHearInBatches) {
    ListModel list;
    Ear ear(list);
    list.SetColumns({{"A", "a"}});
    list.Add(row("1", {"b"}));
    list.AddAll({row("2", {"c"}), row("3", {"a"})});
    list.AddAll({});
    list.Change(1, row("2", {"d"}));
    list.SetChecked(0, true);
    list.Sort(0, SortOrder::Ascending);
    EXPECT_EQ(ear.old, (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(list.order(), (std::vector<uint32_t>{2, 0, 1}));
    list.Remove(0);
    list.Clear();
    EXPECT_EQ(ear.heard, (Strings{"reset", "append 0+1", "append 1+2", "change 1", "change 0",
                                  "before", "after", "remove 0", "reset"}));
}

TEST(ListModel, PlacesThatAreNotThere) {
    ListModel list;
    Ear ear(list);
    list.Remove(0);
    list.Change(3, row("x"));
    list.SetChecked(1, true);
    EXPECT_TRUE(ear.heard.empty());
    list.Add(row("short"));
    EXPECT_EQ(list.Text(0, 5), "");
    EXPECT_EQ(list.Text(0, -1), "");
}

TEST(ListFit, TheLongestTextsFirst) {
    ListModel list = column("name", {"a", "", "cccc", "bb", "\xC3\xA4\xC3\xA4\xC3\xA4",
                                     "\xE4\xB8\xAD\xE6\x96\x87\xE5\xAD\x97"});
    using Texts = std::vector<std::string_view>;
    EXPECT_EQ(ColumnFitTexts(list, 0, 2), (Texts{"\xE4\xB8\xAD\xE6\x96\x87\xE5\xAD\x97", "cccc"}));
    EXPECT_EQ(ColumnFitTexts(list, 0), (Texts{"\xE4\xB8\xAD\xE6\x96\x87\xE5\xAD\x97", "cccc",
                                              "\xC3\xA4\xC3\xA4\xC3\xA4", "bb", "a"}));
    EXPECT_TRUE(ColumnFitTexts(list, 7).empty());
    EXPECT_TRUE(ColumnFitTexts(list, 0, 0).empty());
}

} // namespace
} // namespace kr
