#include "core/Recordset.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/basDate.h"

namespace {

using kr::Currency;
using kr::Field;
using kr::FieldType;
using kr::Recordset;
using kr::RecordsetCell;
using kr::Value;
using RecordsetPtr = std::shared_ptr<Recordset>;

kr::Time at(int64_t seconds) { return kr::Time(std::chrono::seconds(seconds)); }

/// Rows named A, B, C ... with the numbers 1, 2, 3 ...
RecordsetPtr letters(int count) {
    auto rs = std::make_shared<Recordset>(
        std::vector<Field>{{"Name", FieldType::Text, 20}, {"Number", FieldType::Integer, 4}});
    for (int i = 0; i < count; ++i)
        rs->Append({Value(std::string(1, static_cast<char>('A' + i))), Value(i + 1)});
    rs->MoveFirst();
    return rs;
}

std::string namesFromHere(Recordset& rs) {
    std::string names;
    for (; !rs.EOF_(); rs.MoveNext())
        names += rs.Text(0);
    return names;
}

std::string allNames(Recordset& rs) {
    rs.MoveFirst();
    return namesFromHere(rs);
}

Recordset every() {
    return Recordset({{"S", FieldType::SmallInt, 2},
                      {"I", FieldType::Integer, 4},
                      {"D", FieldType::Double, 8},
                      {"C", FieldType::Currency, 8},
                      {"T", FieldType::Date, 8},
                      {"B", FieldType::Boolean, 2},
                      {"V", FieldType::Variant, 16},
                      {"X", FieldType::Text, 5},
                      {"L", FieldType::LongText, 1 << 30}});
}

// --- position

TEST(RecordsetPosition, EmptyStandsAtBothEnds) {
    const RecordsetPtr rs = letters(0);
    EXPECT_TRUE(rs->BOF());
    EXPECT_TRUE(rs->EOF_());
    EXPECT_EQ(rs->RecordCount(), 0);
    rs->MoveNext();
    rs->MovePrevious();
    rs->MoveLast();
    rs->MoveFirst();
    EXPECT_TRUE(rs->BOF() && rs->EOF_());
    EXPECT_EQ(rs->Bookmark(), 0U);
    EXPECT_TRUE(rs->Get("Name").empty());
    EXPECT_THROW(rs->Set("Name", "x"), std::invalid_argument);
    rs->Delete(); // nothing to delete
}

TEST(RecordsetPosition, WalksBothWays) {
    const RecordsetPtr rs = letters(3);
    EXPECT_FALSE(rs->BOF());
    EXPECT_EQ(namesFromHere(*rs), "ABC");
    EXPECT_TRUE(rs->EOF_());
    rs->MoveNext();
    EXPECT_TRUE(rs->EOF_());
    rs->MovePrevious();
    EXPECT_EQ(rs->Text(0), "C");
    rs->MovePrevious();
    rs->MovePrevious();
    EXPECT_EQ(rs->Text(0), "A");
    rs->MovePrevious();
    EXPECT_TRUE(rs->BOF());
    EXPECT_TRUE(rs->Get(0).empty());
    rs->MovePrevious();
    rs->MoveNext();
    EXPECT_EQ(rs->Text(0), "A");
    rs->MoveLast();
    EXPECT_EQ(rs->Text(0), "C");
}

TEST(RecordsetPosition, DeletedRowStaysCurrentAndUnreadable) {
    const RecordsetPtr rs = letters(3);
    rs->MoveNext();
    rs->Delete();
    EXPECT_FALSE(rs->EOF_());
    EXPECT_FALSE(rs->BOF());
    EXPECT_TRUE(rs->Get(0).empty());
    EXPECT_EQ(rs->Bookmark(), 0U);
    EXPECT_THROW(rs->Set(0, "x"), std::invalid_argument);
    EXPECT_EQ(rs->RecordCount(), 2);
    rs->MoveNext();
    EXPECT_EQ(rs->Text(0), "C");
    rs->MovePrevious();
    EXPECT_EQ(rs->Text(0), "A");
}

TEST(RecordsetPosition, DeletingEveryRowInALoop) {
    for (const char* filter : {"", "[Number]>0"}) {
        const RecordsetPtr rs = letters(5);
        ASSERT_TRUE(rs->SetFilter(filter));
        int seen = 0;
        for (; !rs->EOF_(); rs->MoveNext(), ++seen)
            rs->Delete();
        EXPECT_EQ(seen, 5) << filter;
        EXPECT_EQ(rs->RecordCount(), 0);
        rs->MoveFirst();
        EXPECT_TRUE(rs->BOF() && rs->EOF_());
    }
}

TEST(RecordsetPosition, DeletedFirstAndLastRows) {
    const RecordsetPtr rs = letters(4);
    rs->Delete();
    rs->MoveLast();
    rs->Delete();
    EXPECT_EQ(allNames(*rs), "BC");
    rs->MoveFirst();
    rs->MovePrevious();
    EXPECT_TRUE(rs->BOF());
    rs->MoveNext();
    EXPECT_EQ(rs->Text(0), "B");
}

TEST(RecordsetPosition, BookmarksLastForTheRowsLife) {
    const RecordsetPtr rs = letters(600);
    rs->MoveNext();
    const uint64_t second = rs->Bookmark();
    const RecordsetPtr clone = rs->Clone();
    EXPECT_TRUE(clone->SetBookmark(second));
    EXPECT_EQ(clone->Text(0), "B");
    ASSERT_TRUE(clone->SetFilter("[Number]>2"));
    EXPECT_FALSE(clone->SetBookmark(second)); // the filter hides it
    EXPECT_FALSE(rs->SetBookmark(0));
    EXPECT_FALSE(rs->SetBookmark(601));
    rs->MoveFirst();
    rs->Delete();
    EXPECT_TRUE(rs->SetBookmark(second));
    EXPECT_EQ(rs->Text(0), "B");
    rs->Delete();
    EXPECT_FALSE(clone->SetBookmark(second));
    EXPECT_FALSE(rs->SetBookmark(second));
}

TEST(RecordsetPosition, NewRowIsCurrentAndHasNulls) {
    const RecordsetPtr rs = letters(2);
    rs->AddNew();
    EXPECT_TRUE(rs->Get("Name").empty());
    EXPECT_TRUE(rs->Get("Number").empty());
    rs->Set("Name", "Z");
    EXPECT_EQ(rs->RecordCount(), 3);
    EXPECT_EQ(allNames(*rs), "ABZ");
}

TEST(RecordsetPosition, NewRowStaysCurrentWhereTheFilterHidesIt) {
    const RecordsetPtr rs = letters(3);
    ASSERT_TRUE(rs->SetFilter("[Number]>=2"));
    rs->AddNew();
    EXPECT_EQ(rs->RecordCount(), 2);
    rs->Set("Name", "Y");
    rs->Set("Number", 9);
    EXPECT_EQ(rs->RecordCount(), 3);
    EXPECT_EQ(rs->Text(0), "Y");
    EXPECT_EQ(allNames(*rs), "BCY");
    rs->AddNew();
    rs->Set("Number", 1);
    EXPECT_EQ(allNames(*rs), "BCY");
    EXPECT_TRUE(rs->SetFilter(""));
    EXPECT_EQ(rs->RecordCount(), 5);
}

TEST(RecordsetPosition, AppendLeavesThePosition) {
    const RecordsetPtr rs = letters(2);
    rs->MoveNext();
    rs->Append({Value("C"), Value(3)});
    EXPECT_EQ(rs->Text(0), "B");
    rs->MoveNext();
    EXPECT_EQ(rs->Text(0), "C");
}

// --- filtered and sorted views follow changes

TEST(RecordsetView, ChangedRowLeavesTheFilterAtOnce) {
    const RecordsetPtr rs = letters(5);
    ASSERT_TRUE(rs->SetFilter("[Number]>=2"));
    rs->Set("Number", 0); // B goes; C is current
    EXPECT_EQ(rs->Text(0), "C");
    EXPECT_EQ(rs->RecordCount(), 3);
    rs->MoveLast();
    rs->Set("Number", 0);
    EXPECT_TRUE(rs->EOF_());
    EXPECT_EQ(allNames(*rs), "CD");
}

TEST(RecordsetView, ChangedRowOfAnotherFieldStays) {
    const RecordsetPtr rs = letters(3);
    ASSERT_TRUE(rs->SetFilter("[Number]>=2"));
    rs->Set("Name", "bb");
    EXPECT_EQ(rs->Text(0), "bb");
    rs->Set("Number", 7); // still matches
    EXPECT_EQ(rs->Text(0), "bb");
}

TEST(RecordsetView, ChangedRowMovesInTheSort) {
    const RecordsetPtr rs = letters(4);
    ASSERT_TRUE(rs->SetSort("Number"));
    rs->Set("Number", 99); // A goes behind D, B is current
    EXPECT_EQ(rs->Text(0), "B");
    EXPECT_EQ(allNames(*rs), "BCDA");
    rs->MoveLast();
    rs->Set("Number", 98); // keeps its place and stays current
    EXPECT_EQ(rs->Text(0), "A");
    rs->Set("Number", -1); // the last one goes to the front: nothing behind it
    EXPECT_TRUE(rs->EOF_());
    EXPECT_EQ(allNames(*rs), "ABCD");
}

TEST(RecordsetView, ClonesSeeChangesAndKeepTheirOwnPlace) {
    const RecordsetPtr rs = letters(4);
    ASSERT_TRUE(rs->SetFilter("[Number]<=3"));
    rs->MoveNext();
    const RecordsetPtr clone = rs->Clone();
    EXPECT_EQ(clone->Filter(), "");
    EXPECT_EQ(clone->RecordCount(), 4);
    EXPECT_EQ(clone->Text(0), "A");
    clone->MoveLast();
    clone->Set("Number", 1);
    EXPECT_EQ(rs->Text(0), "B");
    EXPECT_EQ(rs->RecordCount(), 4);
    clone->MoveFirst();
    clone->Delete();
    EXPECT_EQ(rs->Text(0), "B");
    EXPECT_EQ(allNames(*rs), "BCD");
    rs->MoveFirst();
    clone->MoveFirst();
    clone->Delete(); // the row on which the other one stands
    EXPECT_TRUE(rs->Get(0).empty());
    EXPECT_FALSE(rs->EOF_());
    rs->MoveNext();
    EXPECT_EQ(rs->Text(0), "C");
}

TEST(RecordsetView, CloneOutlivesItsOrigin) {
    RecordsetPtr rs = letters(3);
    const RecordsetPtr clone = rs->Clone();
    rs.reset();
    clone->MoveFirst();
    clone->Set("Name", "x");
    EXPECT_EQ(allNames(*clone), "xBC");
}

TEST(RecordsetView, RowsAddedByACloneAppearInPlace) {
    const RecordsetPtr rs = letters(3);
    const RecordsetPtr clone = rs->Clone();
    ASSERT_TRUE(rs->SetSort("Number DESC"));
    ASSERT_TRUE(rs->SetFilter("[Number]>1"));
    rs->MoveNext(); // B
    clone->Append({Value("N"), Value(50)});
    clone->Append({Value("O"), Value(0)});
    EXPECT_EQ(rs->Text(0), "B");
    EXPECT_EQ(allNames(*rs), "NCB");
    clone->AddNew();
    clone->Set("Name", "P");
    clone->Set("Number", 2);
    EXPECT_EQ(allNames(*rs), "NCBP");
}

// --- sort

TEST(RecordsetSort, OrdersAndRestores) {
    Recordset rs({{"First Name", FieldType::Text, 20}, {"N", FieldType::Integer, 4}});
    const std::pair<const char*, Value> rows[] = {{"bob", 2}, {"Émile", 1}, {"alice", Value()},
                                                  {"Bob", 1}, {"emil", 3},  {"Zoë", 0}};
    for (const auto& [name, number] : rows)
        rs.Append({Value(name), number});
    ASSERT_TRUE(rs.SetSort("[First Name] ASC, N DESC"));
    const auto list = [&] {
        std::string all;
        for (rs.MoveFirst(); !rs.EOF_(); rs.MoveNext())
            all += std::string(rs.Text(0)) + " ";
        return all;
    };
    // names that differ in case only are equal, so the number decides
    EXPECT_EQ(list(), "alice bob Bob emil Émile Zoë ");
    ASSERT_TRUE(rs.SetSort(" n desc "));
    EXPECT_EQ(list(), "emil bob Émile Bob Zoë alice "); // null last; equal ones as inserted
    ASSERT_TRUE(rs.SetSort("N"));
    EXPECT_EQ(list(), "alice Zoë Émile Bob bob emil "); // null first
    EXPECT_EQ(rs.Sort(), "N");
    ASSERT_TRUE(rs.SetSort(""));
    EXPECT_EQ(list(), "bob Émile alice Bob emil Zoë ");
}

TEST(RecordsetSort, RefusesWhatItCannotRead) {
    const RecordsetPtr rs = letters(3);
    ASSERT_TRUE(rs->SetSort("Number DESC"));
    for (const char* bad : {"Nothing", "[Name", "Name UP", "Name,", ",Name", "[Name] ASC [Number]",
                            "Name ASC DESC", "[]"})
        EXPECT_FALSE(rs->SetSort(bad)) << bad;
    EXPECT_EQ(rs->Sort(), "Number DESC");
    EXPECT_EQ(allNames(*rs), "CBA");
    EXPECT_TRUE(rs->SetSort("[Name]ASC,Number"));
}

TEST(RecordsetSort, OtherTypes) {
    Recordset rs = every();
    const auto add = [&](const char* name, const char* field, const Value& value) {
        rs.AddNew();
        rs.Set("X", name);
        rs.Set(field, value);
    };
    const auto order = [&](const char* sort) {
        EXPECT_TRUE(rs.SetSort(sort));
        std::string all;
        for (rs.MoveFirst(); !rs.EOF_(); rs.MoveNext())
            all += rs.Text(7);
        while (!rs.BOF()) {
            rs.MoveFirst();
            rs.Delete();
            rs.MoveFirst();
        }
        EXPECT_TRUE(rs.SetSort(""));
        return all;
    };
    add("a", "T", at(500));
    add("b", "T", at(-500));
    add("c", "T", Value());
    EXPECT_EQ(order("T"), "cba");
    add("a", "V", "text");
    add("b", "V", 12);
    add("c", "V", 1.5);
    add("d", "V", "Also");
    EXPECT_EQ(order("V"), "cbda");
    add("a", "B", false);
    add("b", "B", true);
    EXPECT_EQ(order("B"), "ba"); // True is -1
    add("a", "C", Currency{15000});
    add("b", "C", Currency{-15000});
    EXPECT_EQ(order("C"), "ba");
}

// --- values

TEST(RecordsetValues, KeepsEveryTypeAndNull) {
    Recordset rs = every();
    EXPECT_EQ(rs.FieldIndex("x"), 7);
    EXPECT_EQ(rs.FieldIndex("nothing"), -1);
    rs.AddNew();
    const Value values[] = {Value(int16_t{-7}), Value(2147483647), Value(-0.0),
                            Currency{-12345},   at(-86400),        Value(true),
                            Value("any"),       Value("héllo"),    Value("long")};
    for (int i = 0; i < 9; ++i) {
        rs.Set(i, values[i]);
        EXPECT_EQ(rs.Get(i), values[i]) << i;
    }
    EXPECT_EQ(rs.Text(7), "héllo");
    EXPECT_EQ(rs.Text(6), "any");
    EXPECT_EQ(rs.Text(1), "");
    for (int i = 0; i < 9; ++i) {
        rs.Set(i, Value());
        EXPECT_TRUE(rs.Get(i).empty()) << i;
    }
    EXPECT_TRUE(rs.Get(99).empty());
    EXPECT_TRUE(rs.Get(-1).empty());
    EXPECT_THROW(rs.Set(99, 1), std::invalid_argument);
    EXPECT_THROW(rs.Set("nothing", 1), std::invalid_argument);
}

TEST(RecordsetValues, EmptyTextIsNotNull) {
    const RecordsetPtr rs = letters(1);
    rs->Set("Name", "");
    EXPECT_EQ(rs->Get("Name"), Value(""));
    rs->Set("Number", 0);
    EXPECT_EQ(rs->Get("Number"), Value(0));
}

TEST(RecordsetValues, TextMayHoldAnything) {
    Recordset rs = every();
    rs.AddNew();
    const std::string odd("a\0'\n\xff", 5);
    rs.Set("L", odd);
    EXPECT_EQ(rs.Get("L"), Value(odd));
    const std::string large(3 << 20, 'x');
    rs.Set("L", large);
    EXPECT_EQ(rs.Text(8), large);
    rs.Set("X", "שלום");
    EXPECT_EQ(rs.Text(7), "שלום");
}

TEST(RecordsetValues, VariantKeepsItsType) {
    Recordset rs = every();
    rs.AddNew();
    for (const Value& value : {Value(int16_t{5}), Value(-5), Value(1.25), Value(Currency{1}),
                               Value(false), Value(at(77)), Value("t"), Value("")}) {
        rs.Set("V", value);
        EXPECT_EQ(rs.Get("V"), value);
    }
    EXPECT_THROW(rs.Set("V", kr::Bytes{1}), std::invalid_argument);
    EXPECT_THROW(rs.Set("V", kr::Strings{"a"}), std::invalid_argument);
}

TEST(RecordsetValues, ConvertsAsAdoDoes) {
    Recordset rs = every();
    rs.AddNew();
    const auto becomes = [&](const char* field, const Value& in, const Value& out) {
        rs.Set(field, in);
        EXPECT_EQ(rs.Get(field), out) << field;
    };
    becomes("I", "12", 12);
    becomes("I", int16_t{3}, 3);
    becomes("I", true, -1);
    becomes("I", 2.5, 2); // half to even
    becomes("I", 3.5, 4);
    becomes("S", -32768, int16_t{-32768});
    becomes("D", "1.5", 1.5);
    becomes("D", Currency{25000}, 2.5);
    becomes("C", 1.23456, Currency{12346});
    becomes("C", "2", Currency{20000});
    becomes("B", 5, true);
    becomes("B", 0, false);
    becomes("B", "TRUE", true);
    becomes("B", "false", false);
    becomes("B", "-1", true);
    becomes("X", 17, "17");
    becomes("X", true, "True");
    becomes("X", 2.5, "2.5");
    becomes("L", at(0), kr::FormatDate(at(0)));
    becomes("T", "1/2/1970", at(86400));
    becomes("T", 25569.5, at(43200)); // days from 30 December 1899
    becomes("D", at(43200), 25569.5);
}

TEST(RecordsetValues, RefusesAndChangesNothing) {
    Recordset rs = every();
    rs.AddNew();
    rs.Set("S", int16_t{1});
    rs.Set("I", 1);
    rs.Set("X", "ok");
    const std::pair<const char*, Value> bad[] = {{"S", 32768},
                                                 {"S", "x"},
                                                 {"I", "twelve"},
                                                 {"I", 3e9},
                                                 {"I", -3e9},
                                                 {"D", "one"},
                                                 {"C", 1e18},
                                                 {"T", "someday"},
                                                 {"T", 1e300},
                                                 {"B", "maybe"},
                                                 {"X", kr::Bytes{1, 2}},
                                                 {"X", kr::Strings{"a"}},
                                                 {"X", "sixsix"},
                                                 {"I", at(1e15)},
                                                 {"D", kr::Bytes{}}};
    for (const auto& [field, value] : bad)
        EXPECT_THROW(rs.Set(field, value), std::invalid_argument) << field;
    EXPECT_EQ(rs.Get("S"), Value(int16_t{1}));
    EXPECT_EQ(rs.Get("I"), Value(1));
    EXPECT_EQ(rs.Get("X"), Value("ok"));
}

TEST(RecordsetValues, SizeCountsCharacters) {
    Recordset rs = every();
    rs.AddNew();
    rs.Set("X", "äöüßé"); // five characters, ten bytes
    rs.Set("X", "😀😀x");   // four units and one
    EXPECT_THROW(rs.Set("X", "😀😀😀"), std::invalid_argument);
    EXPECT_THROW(rs.Set("X", "äöüßéx"), std::invalid_argument);
}

TEST(RecordsetValues, AppendRefusesWholeRows) {
    const RecordsetPtr rs = letters(2);
    EXPECT_THROW(rs->Append({Value("ok"), Value("no number")}), std::invalid_argument);
    EXPECT_THROW(rs->Append({Value("a"), Value(1), Value(2)}), std::invalid_argument);
    EXPECT_EQ(rs->RecordCount(), 2);
    rs->Append({Value("short")});
    rs->MoveLast();
    EXPECT_EQ(rs->Text(0), "short");
    EXPECT_TRUE(rs->Get(1).empty());
}

TEST(RecordsetValues, CellsOfALoader) {
    Recordset rs = every();
    using Kind = RecordsetCell::Kind;
    const RecordsetCell good[] = {
        {Kind::Integer, {-1}, {}},     {Kind::Integer, {5}, {}},    {Kind::Real, {.real = 0.5}, {}},
        {Kind::Integer, {10000}, {}},  {Kind::Integer, {60}, {}},   {Kind::Integer, {1}, {}},
        {Kind::Text, {0}, "override"}, {Kind::Text, {0}, "äöüßéx"}, {Kind::Null, {0}, "unread"}};
    rs.AppendCells(good);
    rs.MoveFirst();
    const Value expected[] = {int16_t{-1}, 5,          0.5,     Currency{10000}, at(60),
                              true,        "override", "äöüßé", Value()};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(rs.Get(i), expected[i]) << i;
    // other kinds and sizes are null, never an error
    const RecordsetCell bad[] = {{Kind::Integer, {40000}, {}},  {Kind::Integer, {1LL << 40}, {}},
                                 {Kind::Text, {0}, "1"},        {Kind::Real, {.real = 1}, {}},
                                 {Kind::Text, {0}, "1/1/2000"}, {Kind::Real, {.real = 1}, {}},
                                 {Kind::Null, {0}, {}},         {Kind::Integer, {3}, {}}};
    rs.AppendCells(bad);
    rs.MoveLast();
    for (int i = 0; i < 9; ++i)
        EXPECT_TRUE(rs.Get(i).empty()) << i;
}

TEST(RecordsetValues, TextViewStaysWhileRowsAreAdded) {
    const RecordsetPtr rs = letters(1);
    const std::string_view name = rs->Text(0);
    for (int i = 0; i < 5000; ++i)
        rs->Append({Value("row " + std::to_string(i)), Value(i)});
    EXPECT_EQ(name, "A");
    EXPECT_EQ(rs->RecordCount(), 5001);
}

TEST(RecordsetValues, MemoryStaysNearTheData) {
    Recordset rs({{"A", FieldType::Text, 50}, {"B", FieldType::Integer, 4}});
    size_t data = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = "a name that is about so long " + std::to_string(i);
        data += text.size() + 4;
        rs.Append({Value(text), Value(i)});
    }
    EXPECT_LT(rs.MemoryUse(), data * 2);
    EXPECT_GT(rs.MemoryUse(), data);
}

} // namespace
