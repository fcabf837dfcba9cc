#include <gtest/gtest.h>

#include <random>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/basText.h"

namespace {

using kr::Field;
using kr::FieldType;
using kr::Recordset;
using kr::Value;

kr::Time at(int64_t seconds) { return kr::Time(std::chrono::seconds(seconds)); }

std::vector<Field> fields() {
    return {{"Name", FieldType::Text, 255},          {"Email", FieldType::Text, 255},
            {"State", FieldType::SmallInt, 2},       {"Count", FieldType::Integer, 4},
            {"PushSelected", FieldType::Boolean, 2}, {"Last Push", FieldType::Date, 8},
            {"Amount", FieldType::Currency, 8},      {"Any", FieldType::Variant, 16}};
}

class RecordsetFilter : public testing::TestWithParam<bool> {
protected:
    RecordsetFilter() {
        if (GetParam()) // with indexes every answer must be the same
            for (const Field& field : fields())
                rs.AddIndex(field.name);
        add("Alice Adams", "alice@example.test", 0, 1, false, 0);
        add("Bob Baker", "BOB@example.test", -1, 2, true, 86400);
        add("Séan O'Brien", "obrien@example.test", 0, 3, true, 2 * 86400);
        add("", "noname@example.test", 0, 4, false, 0);
        add("שרה לוי", "sara@example.test", 1, 5, false, 0);
        add("100% [x]*_?", "odd@example.test", 0, 6, false, 0);
        add(std::string("nul\0byte", 8), "nul@example.test", 0, 7, false, 0);
        rs.AddNew(); // all null
        rs.Set("Email", "null@example.test");
    }
    void add(const std::string& name, const char* email, int state, int count, bool push,
             int64_t date) {
        rs.Append({Value(name), Value(email), Value(state), Value(count), Value(push), at(date),
                   kr::Currency{count * 5000}, count % 2 == 0 ? Value(count) : Value(name)});
    }
    /// The local parts of the addresses that the filter shows, or "error".
    std::string shows(std::string_view filter) {
        if (!rs.SetFilter(filter)) {
            EXPECT_EQ(rs.RecordCount(), 0);
            EXPECT_TRUE(rs.BOF() && rs.EOF_());
            return "error";
        }
        std::string all;
        int64_t count = 0;
        for (; !rs.EOF_(); rs.MoveNext(), ++count) {
            const std::string_view email = rs.Text(1);
            all += std::string(email.substr(0, email.find('@'))) + " ";
        }
        EXPECT_EQ(rs.RecordCount(), count);
        return all;
    }
    Recordset rs{fields()};
};

INSTANTIATE_TEST_SUITE_P(Scan, RecordsetFilter, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(Index, RecordsetFilter, testing::Values(true));

TEST_P(RecordsetFilter, EqualityIgnoresCase) {
    EXPECT_EQ(shows("[Email]='bob@EXAMPLE.test'"), "BOB ");
    EXPECT_EQ(shows("Email = 'BOB@example.test'"), "BOB ");
    EXPECT_EQ(shows("[eMAIL]='bob@example.test'"), "BOB ");
    EXPECT_EQ(shows("[Name]='SÉAN o''brien'"), "obrien ");
    EXPECT_EQ(shows("[Name]='sean o''brien'"), "");
    EXPECT_EQ(shows("[Name]='שרה לוי'"), "sara ");
    EXPECT_EQ(shows("[Name]=''"), "noname ");
}

TEST_P(RecordsetFilter, AnApostropheFindsItself) {
    for (const char* name : {"Séan O'Brien", "'Séan O'Brien'"})
        EXPECT_EQ(shows("[Name]='" + kr::EscapeQuotes(name) + "'"), "obrien ");
    EXPECT_EQ(shows("[Name] LIKE '*" + kr::EscapeQuotes("O'B") + "*'"), "obrien ");
    EXPECT_EQ(shows("[Name]='Séan O'Brien'"), "error"); // undoubled: no row, not all rows
}

TEST_P(RecordsetFilter, LikeKnowsThreeForms) {
    EXPECT_EQ(shows("[Email] LIKE 'alice@example.test'"), "alice ");
    EXPECT_EQ(shows("[Email] like 'O*'"), "obrien odd ");
    EXPECT_EQ(shows("[Email] like 'O%'"), "obrien odd ");
    EXPECT_EQ(shows("[Name] LIKE '*BA*'"), "BOB ");
    EXPECT_EQ(shows("[Name] LIKE '%ba%'"), "BOB ");
    EXPECT_EQ(shows("[Name] LIKE '*an o*'"), "obrien ");
    EXPECT_EQ(shows("[Name] LIKE 'SÉ*'"), "obrien ");
    EXPECT_EQ(shows("[Name] LIKE '*לוי*'"), "sara ");
    EXPECT_EQ(shows("[Name] LIKE ''"), "noname ");
    EXPECT_EQ(shows("[Name] LIKE '*'"), "alice BOB obrien noname sara odd nul ");
    EXPECT_EQ(shows("[Name] LIKE '**'"), "alice BOB obrien noname sara odd nul ");
    for (const char* bad : {"*x", "%x", "a*b", "a%b*", "*a*b*", "**x*", "***"})
        EXPECT_EQ(shows("[Name] LIKE '" + std::string(bad) + "'"), "error") << bad;
    EXPECT_EQ(shows("[Count] LIKE '1'"), "error");
    EXPECT_EQ(shows("[Name] LIKE 5"), "error");
}

TEST_P(RecordsetFilter, OtherCharactersArePlain) {
    EXPECT_EQ(shows("[Name]='100% [x]*_?'"), "odd ");
    EXPECT_EQ(shows("[Name] LIKE '*[x]*'"), "odd ");
    EXPECT_EQ(shows("[Name] LIKE '*_*'"), "odd ");
    EXPECT_EQ(shows("[Name] LIKE '*?*'"), "odd ");
    EXPECT_EQ(shows("[Name] LIKE '[x]*'"), "");
    EXPECT_EQ(shows("[Name] LIKE '100*'"), "odd ");
    EXPECT_EQ(shows(std::string("[Name]='nul\0byte'", 17)), "nul ");
    EXPECT_EQ(shows("[Name]='nul'"), "");
    EXPECT_EQ(shows(std::string("[Name] LIKE 'nul\0*'", 19)), "nul ");
}

TEST_P(RecordsetFilter, NumbersBooleansDates) {
    EXPECT_EQ(shows("[Count]=5"), "sara ");
    EXPECT_EQ(shows("[Count] >= 6.0"), "odd nul ");
    EXPECT_EQ(shows("[Count]>5e0AND[Count]<7"), "odd ");
    EXPECT_EQ(shows("[Count]='5'"), "sara ");
    EXPECT_EQ(shows("[State]=-1"), "BOB ");
    EXPECT_EQ(shows("[Amount]=$1.50"), "obrien ");
    EXPECT_EQ(shows("[Amount]<=+1"), "alice BOB ");
    EXPECT_EQ(shows("[PushSelected]=True"), "BOB obrien ");
    EXPECT_EQ(shows("[PushSelected]=-1"), "BOB obrien ");
    EXPECT_EQ(shows("[PushSelected]=1"), "BOB obrien ");
    EXPECT_EQ(shows("[PushSelected]='true'"), "BOB obrien ");
    EXPECT_EQ(shows("[PushSelected]=False"), "alice noname sara odd nul ");
    EXPECT_EQ(shows("[PushSelected]=0"), "alice noname sara odd nul ");
    EXPECT_EQ(shows("[Last Push]=#1/2/1970#"), "BOB ");
    EXPECT_EQ(shows("[Last Push]>#1/1/1970 11:00:00 PM#"), "BOB obrien ");
    EXPECT_EQ(shows("[Last Push]='1/2/1970'"), "BOB ");
    EXPECT_EQ(shows("[Name]=5"), "");
    for (const char* bad :
         {"[Count]='five'", "[Count]=five", "[PushSelected]>0",
          "[Count]=", "[Last Push]=#13/45/1970#", "[Last Push]=#1/1/1970", "[Count]=-", "[Count]=.",
          "[Count]=$", "[Count]=1e999", "[Name]=Alice", "[Count]=#1/1/1970#"})
        EXPECT_EQ(shows(bad), "error") << bad;
}

TEST_P(RecordsetFilter, Variants) {
    EXPECT_EQ(shows("[Any]=6"), "odd ");
    EXPECT_EQ(shows("[Any]='ALICE adams'"), "alice ");
    EXPECT_EQ(shows("[Any] LIKE 's*'"), "obrien ");
    // a number is compared with numbers, and by its own writing with texts
    EXPECT_EQ(shows("[Any]>=4"), "alice obrien noname sara odd nul ");
    EXPECT_EQ(shows("[Any]<>6 AND [Any]<'b'"), "alice ");
}

TEST_P(RecordsetFilter, NullIsUnlikeEveryValue) {
    EXPECT_EQ(shows("[State]<>0"), "BOB sara null ");
    EXPECT_EQ(shows("[State]<>-1"), "alice obrien noname sara odd nul null ");
    EXPECT_EQ(shows("[State]<=0"), "alice BOB obrien noname odd nul ");
    EXPECT_EQ(shows("[PushSelected]<>True"), "alice noname sara odd nul null ");
    EXPECT_EQ(shows("[Name]<>'x' AND [Name] LIKE '*'"), "alice BOB obrien noname sara odd nul ");
    EXPECT_EQ(shows("[Count]<0 OR [Count]>6 OR [Count]=1"), "alice nul ");
}

TEST_P(RecordsetFilter, AndBindsFirst) {
    EXPECT_EQ(shows("[Count]=1 OR [Count]=2 AND [State]=0"), "alice ");
    EXPECT_EQ(shows("([Count]=1 OR [Count]=2) AND [State]=-1"), "BOB ");
    EXPECT_EQ(shows("[State]=0 AND [Count]=1 OR [Count]=2"), "alice BOB ");
    EXPECT_EQ(shows("([PushSelected]=True AND [State] <>-1)"), "obrien ");
    EXPECT_EQ(shows("[PushSelected]=False AND [State]>-1 AND [Email] LIKE 'a%'"), "alice ");
    EXPECT_EQ(shows("((([Count]=3)))"), "obrien ");
    EXPECT_EQ(shows("[Email]='x' or [Email]='alice@example.test' oR [Count]=2"), "alice BOB ");
}

TEST_P(RecordsetFilter, TextOrder) {
    EXPECT_EQ(shows("[Email]<'b'"), "alice ");
    EXPECT_EQ(shows("[Email]>='OBRIEN@example.test' AND [Email]<'P'"), "obrien odd ");
}

TEST_P(RecordsetFilter, EmptyShowsAll) {
    EXPECT_EQ(shows("[Count]=1"), "alice ");
    EXPECT_EQ(shows(""), "alice BOB obrien noname sara odd nul null ");
    EXPECT_EQ(shows("  "), "alice BOB obrien noname sara odd nul null ");
}

TEST_P(RecordsetFilter, WhatDoesNotParseShowsNoRow) {
    for (const char* bad : {"[Email]",         "[Email]=",        "='x'",
                            "[Email]='x",      "[Email='x'",      "[Nothing]='x'",
                            "[Email]='x' AND", "AND [Email]='x'", "[Email]='x' [Count]=1",
                            "([Email]='x'",    "[Email]='x')",    "()",
                            "[Email]=='x'",    "[Email]!='x'",    "[Email]='x' XOR [Count]=1",
                            "NOT [Email]='x'", "[Email] LIKE",    "[Count]=1 OR OR [Count]=2",
                            "\"Email\"='x'",   "[Email]='x';",    "[]='x'",
                            "[Count]=Null"})
        EXPECT_EQ(shows(bad), "error") << bad;
    EXPECT_EQ(rs.Filter(), "[Count]=Null");
    EXPECT_EQ(shows(std::string(64, '(') + "[Count]=1" + std::string(64, ')')), "alice ");
    EXPECT_EQ(shows(std::string(100000, '(')), "error");
    EXPECT_EQ(shows("[Count]=1"), "alice "); // and recovers
}

TEST_P(RecordsetFilter, SeesEditsInsertsAndDeletes) {
    ASSERT_TRUE(rs.SetFilter("[Email]='alice@example.test'"));
    rs.Set("Email", "new@example.test");
    EXPECT_EQ(shows("[Email]='alice@example.test'"), "");
    EXPECT_EQ(shows("[Email]='NEW@example.test'"), "new ");
    rs.MoveFirst();
    rs.Set("Email", "alice@example.test");
    EXPECT_EQ(shows("[Email]='alice@example.test'"), "alice ");
    rs.Append({Value("twin"), Value("Alice@Example.test")});
    EXPECT_EQ(shows("[Email]='alice@example.test'"), "alice Alice ");
    rs.MoveFirst();
    rs.Delete();
    EXPECT_EQ(shows("[Email]='alice@example.test'"), "Alice ");
    for (int i = 0; i < 20000; ++i) { // many edits of one row: the index is made anew in between
        rs.MoveFirst();
        rs.Set("Email", i % 2 == 0 ? "alice@example.test" : "ALICE@example.test");
    }
    EXPECT_EQ(shows("[Email]='alice@example.test'"), "ALICE ");
}

// --- random filters against a plain reading of the rules

struct Model {
    enum Kind { Clause, And, Or } kind = Clause;
    int field = 0;
    std::string op;
    std::string text;
    double number = 0;
    std::vector<Model> parts;
};

const char* const kTexts[] = {"", "a", "A", "ab", "aB", "b", "é", "É", "ba", "aé"};

class RandomFilters {
public:
    explicit RandomFilters(unsigned seed) : m_random(seed) {}
    int below(int n) { return static_cast<int>(m_random() % static_cast<unsigned>(n)); }

    Model model(int depth) {
        Model m;
        if (depth > 0 && below(3) != 0) {
            m.kind = below(2) == 0 ? Model::And : Model::Or;
            for (int i = 0; i < 2 + below(2); ++i)
                m.parts.push_back(model(depth - 1));
            return m;
        }
        static const char* const ops[] = {
            "=", "<>", "<", ">", "<=", ">=", "LIKE", "LIKE*", "*LIKE*"};
        m.field = below(3);
        m.op = ops[below(m.field == 0 ? 9 : m.field == 1 ? 6 : 2)];
        m.text = kTexts[below(10)];
        m.number = m.field == 2 ? -below(2) : below(5) - 2;
        return m;
    }

    static std::string write(const Model& m) {
        if (m.kind != Model::Clause) {
            std::string all;
            for (const Model& part : m.parts)
                all += (all.empty() ? "(" : m.kind == Model::And ? " AND " : " or ") + write(part);
            return all + ")";
        }
        static const char* const names[] = {"[Text]", "Number ", "[Flag]"};
        if (m.field != 0)
            return names[m.field] + m.op + std::to_string(static_cast<int>(m.number));
        if (m.op.find("LIKE") == std::string::npos)
            return names[0] + m.op + "'" + m.text + "'";
        return std::string(names[0]) + " LIKE '" + (m.op.front() == '*' ? "*" : "") + m.text +
               (m.op.back() == '*' ? "%" : "") + "'";
    }

    static bool matches(const Model& m, const Value row[3]) {
        if (m.kind != Model::Clause) {
            for (const Model& part : m.parts)
                if (matches(part, row) != (m.kind == Model::And))
                    return m.kind == Model::Or;
            return m.kind == Model::And;
        }
        const Value& cell = row[m.field];
        if (cell.empty())
            return m.op == "<>";
        if (m.op == "*LIKE*")
            return kr::ContainsNoCase(cell.text(), m.text);
        if (m.op == "LIKE*")
            return kr::StartsWithNoCase(cell.text(), m.text);
        const double number = m.field == 1 ? cell.integerOr(0) : cell.valueOr(false) ? -1 : 0;
        const int order = m.field == 0 ? kr::CompareNoCase(cell.text(), m.text)
                                       : (number > m.number) - (number < m.number);
        if (m.op == "=" || m.op == "LIKE")
            return order == 0;
        if (m.op == "<>")
            return order != 0;
        return m.op[0] == '<' ? order < 0 || (m.op == "<=" && order == 0)
                              : order > 0 || (m.op == ">=" && order == 0);
    }

private:
    std::mt19937 m_random;
};

TEST(RecordsetFilterRandom, AgreesWithAPlainReading) {
    RandomFilters random(20261);
    for (const bool indexed : {false, true}) {
        Recordset rs({{"Text", FieldType::Text, 20},
                      {"Number", FieldType::Integer, 4},
                      {"Flag", FieldType::Boolean, 2}});
        if (indexed)
            for (const char* field : {"Text", "Number", "Flag"})
                rs.AddIndex(field);
        std::vector<std::array<Value, 3>> rows;
        const auto randomRow = [&] {
            return std::array<Value, 3>{
                random.below(6) == 0 ? Value() : Value(kTexts[random.below(10)]),
                random.below(6) == 0 ? Value() : Value(random.below(5) - 2),
                random.below(6) == 0 ? Value() : Value(random.below(2) == 0)};
        };
        for (int i = 0; i < 600; ++i) {
            rows.push_back(randomRow());
            rs.Append({rows.back()[0], rows.back()[1], rows.back()[2]});
        }
        for (int turn = 0; turn < 1000; ++turn) {
            // an edit now and then, by a clone, with and without a filter standing
            if (turn % 3 == 0) {
                const auto clone = rs.Clone();
                const auto row = static_cast<size_t>(random.below(600));
                ASSERT_TRUE(clone->SetBookmark(row + 1));
                rows[row] = randomRow();
                for (int i = 0; i < 3; ++i)
                    clone->Set(i, rows[row][static_cast<size_t>(i)]);
            }
            const Model model = random.model(3);
            const std::string filter = RandomFilters::write(model);
            ASSERT_TRUE(rs.SetFilter(filter)) << filter;
            std::vector<uint64_t> expected;
            for (size_t i = 0; i < rows.size(); ++i)
                if (RandomFilters::matches(model, rows[i].data()))
                    expected.push_back(i + 1);
            std::vector<uint64_t> shown;
            for (; !rs.EOF_(); rs.MoveNext())
                shown.push_back(rs.Bookmark());
            ASSERT_EQ(shown, expected) << filter;
        }
    }
}

/// A standing filter with a sort must show after every change what a fresh one shows.
TEST(RecordsetFilterRandom, StandingViewsFollowEveryChange) {
    RandomFilters random(7);
    Recordset rs({{"Text", FieldType::Text, 20},
                  {"Number", FieldType::Integer, 4},
                  {"Flag", FieldType::Boolean, 2}});
    const auto standing = rs.Clone();
    const auto rowsOf = [](Recordset& view) {
        std::vector<uint64_t> rows;
        for (view.MoveFirst(); !view.EOF_(); view.MoveNext())
            rows.push_back(view.Bookmark());
        return rows;
    };
    static const char* const sorts[] = {"", "Text", "Number DESC, Text", "Flag, Number"};
    for (int turn = 0; turn < 1500; ++turn) {
        if (turn % 50 == 0) {
            ASSERT_TRUE(standing->SetFilter(RandomFilters::write(random.model(2))));
            ASSERT_TRUE(standing->SetSort(sorts[random.below(4)]));
        }
        const int what = random.below(5);
        if (what < 2)
            rs.AddNew();
        else if (rs.RecordCount() > 0)
            rs.SetBookmark(1 + static_cast<uint64_t>(random.below(turn + 1)));
        if (rs.Bookmark() != 0 && what == 4) {
            rs.Delete();
        } else if (rs.Bookmark() != 0) {
            rs.Set("Text", kTexts[random.below(10)]);
            rs.Set("Number", random.below(5) - 2);
            rs.Set("Flag", random.below(2) == 0 ? Value() : Value(random.below(2) == 0));
        }
        const auto fresh = rs.Clone();
        ASSERT_TRUE(fresh->SetFilter(standing->Filter()));
        ASSERT_TRUE(fresh->SetSort(standing->Sort()));
        ASSERT_EQ(rowsOf(*standing), rowsOf(*fresh)) << turn << " " << standing->Filter();
    }
}

} // namespace
