#include "tests/platform/database/LocalFilesTest.h"

#include "platform/database/local/Delimited.h"
#include "platform/database/local/LocalEngine.h"

namespace {

using kr::Value;

class TextFolderTest : public kr::LocalFilesTest {
protected:
    std::vector<std::vector<Value>> rows(const std::string& query,
                                         const std::string& more = "HDR=Yes;FMT=Delimited") {
        return text(more)->Query(query).rows;
    }
};

std::string recordsOf(std::string_view text, char delimiter = ',', char quote = '"') {
    kr::Delimited records(text, delimiter, quote);
    std::vector<kr::Delimited::Field> fields;
    std::string out;
    while (records.Next(fields)) {
        for (const auto& field : fields)
            out += std::string(field.quoted ? "q(" : "(") + std::string(field.text) + ")";
        out += "/";
    }
    return out;
}

TEST(DelimitedTest, FieldsOfEachKind) {
    EXPECT_EQ(recordsOf(""), "");
    EXPECT_EQ(recordsOf("\r\n\n"), "");
    EXPECT_EQ(recordsOf("a,b\r\nc"), "(a)(b)/(c)/");
    EXPECT_EQ(recordsOf(",a,\n,"), "()(a)()/()()/");
    EXPECT_EQ(recordsOf("\"a,b\",\"c\nd\""), "q(a,b)q(c\nd)/");
    EXPECT_EQ(recordsOf("\"say \"\"hi\"\"\",x"), "q(say \"hi\")(x)/");
    EXPECT_EQ(recordsOf("\"\",\"\"\"\""), "q()q(\")/");
    EXPECT_EQ(recordsOf("\"\"\"\"\"\"x,y"), "q(\"\"x)(y)/");
    EXPECT_EQ(recordsOf("\"a\"b,c\"d"), "q(ab)(c\"d)/");
    EXPECT_EQ(recordsOf("\"never ends,\n"), "q(never ends,\n)/");
    EXPECT_EQ(recordsOf("\"a\"\""), "q(a\")/");
    EXPECT_EQ(recordsOf("\"a\",b", ',', '\0'), "(\"a\")(b)/");
    EXPECT_EQ(recordsOf("a\"b\"c", '"', '"'), "(a)(b)(c)/");
}

TEST(PlainSelectTest, KnowsWhatNeedsNoEngine) {
    const auto read = [](const char* query) {
        const auto plain = kr::ReadPlainSelect(query);
        if (!plain)
            return std::string("no");
        std::string out = plain->table + ":";
        for (const std::string& column : plain->columns)
            out += column + ",";
        return out + std::to_string(plain->most);
    };
    EXPECT_EQ(read("SELECT * FROM [a$];"), "a$:0");
    EXPECT_EQ(read("select top 5 [First Name], email1 from people.csv"),
              "people.csv:First Name,email1,5");
    EXPECT_EQ(read("SELECT \"a\"\"b\", `c` FROM \"t u\""), "t u:a\"b,c,0");
    for (const char* other : {"",
                              "SELECT",
                              "SELECT FROM",
                              "SELECT * FROM",
                              "SELECT * FROM t WHERE 1",
                              "SELECT a b FROM t",
                              "SELECT a, FROM t",
                              "SELECT 1 FROM t",
                              "SELECT DISTINCT a FROM t",
                              "SELECT t.a FROM t",
                              "SELECT * FROM t, u",
                              "SELECT * FROM t u",
                              "SELECT count(*) FROM t",
                              "SELECT a FROM (t)",
                              "SELECT TOP x a FROM t",
                              "SELECT TOP 0 a FROM t",
                              "SELECT *, a FROM t",
                              "SELECT TOP 5",
                              "UPDATE t",
                              "SELECT 'a' FROM t"})
        EXPECT_EQ(read(other), "no") << other;
}

TEST_F(TextFolderTest, PlainAndOtherQueriesAgree) {
    write("p.csv", "Name,Pin,Rate,Yes\nÜnal,007,1.5,1\n\"12\",12,-3,\nx,+49,1e3,0.5\n");
    const auto plain = text()->Query("SELECT * FROM p.csv");
    const auto engine = text()->Query("SELECT * FROM p.csv WHERE 1=1");
    EXPECT_EQ(plain.columns, engine.columns);
    EXPECT_EQ(plain.rows, engine.rows);
    EXPECT_EQ(plain.rows.at(0), (std::vector<Value>{"Ünal", "007", 1.5, 1}));
    const auto picked = text()->Query("SELECT rate, NAME, rate FROM P.CSV");
    EXPECT_EQ(picked.columns, (kr::Strings{"Rate", "Name", "Rate"}));
    EXPECT_EQ(picked.rows.at(2), (std::vector<Value>{1000.0, "x", 1000.0}));
    std::string reason;
    EXPECT_EQ(numberOf([&] { text()->Query("SELECT Name, Shoe FROM p.csv"); }, &reason),
              kr::DB_E_SYNTAX);
    EXPECT_NE(reason.find("no such column: Shoe"), std::string::npos) << reason;
    EXPECT_EQ(numberOf([&] { text()->Query("SELECT * FROM q.csv"); }), kr::DB_E_NO_TABLE);
    kr::DbLimits limits;
    limits.maxRows = 1;
    EXPECT_EQ(text()->Query("SELECT TOP 2 * FROM p.csv", limits).rows.size(), 1u);
    EXPECT_EQ(text()->Query("SELECT TOP 2 * FROM p.csv").rows.size(), 2u);
}

TEST_F(TextFolderTest, NumbersOfOtherLanguages) {
    write("schema.ini", "[n.txt]\nFormat=Delimited(;)\nDecimalSymbol=,\n");
    write("n.txt", "A;B;C\n1,5;1.5;1e400\n");
    EXPECT_EQ(rows("SELECT * FROM n.txt").at(0), (std::vector<Value>{1.5, "1.5", "1e400"}));
}

TEST_F(TextFolderTest, FixedWidthCountsCharacters) {
    write("Schema.ini",
          "[f.txt]\r\nFormat=FixedLength\r\nColNameHeader=False\r\n"
          "CharacterSet=ANSI\r\nCol1=Name\tText Width 5\r\nCol2=\"The Pin\" Text Width "
          "3\r\nCol3=N Long Width 4\r\n");
    write("f.txt", "\xDCnal 007 12 \r\nab\r\n\r\nabcdefghijkl99\n");
    const auto found = rows("SELECT * FROM f.txt");
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0], (std::vector<Value>{"Ünal", "007", 12}));
    EXPECT_EQ(found[1], (std::vector<Value>{"ab", Value(), Value()}));
    EXPECT_EQ(found[2], (std::vector<Value>{"abcde", "fgh", "ijkl"}));
}

TEST_F(TextFolderTest, FixedWidthNeedsItsSection) {
    write("f.txt", "abc\n");
    std::string reason;
    EXPECT_EQ(numberOf([&] { rows("SELECT * FROM f.txt", "HDR=No;FMT=Fixed"); }, &reason),
              kr::DB_E_FAIL);
    EXPECT_EQ(reason, "A file of fixed width needs a section [f.txt] in Schema.ini with the width "
                      "of each column.");
    write("schema.ini", "[F.TXT]\nCol1=A Text\n");
    EXPECT_EQ(numberOf([&] { rows("SELECT * FROM f.txt", "HDR=No;FMT=Fixed"); }), kr::DB_E_FAIL);
    write("schema.ini", "[F.TXT]\nCol1=A Text Width 2\n");
    EXPECT_EQ(rows("SELECT A FROM f.txt", "HDR=No;FMT=Fixed").at(0)[0], Value("ab"));
    // the section overrides the string
    write("schema.ini", "[F.TXT]\nFormat=CSVDelimited\n");
    EXPECT_EQ(rows("SELECT F1 FROM f.txt", "HDR=No;FMT=Fixed").at(0)[0], Value("abc"));
}

TEST_F(TextFolderTest, CharacterSets) {
    write("a.csv", "x\n\xDCnal\n");
    write("b.csv", "\xEF\xBB\xBFx\nÜnal\n");
    write("c.csv", std::string("\xFF\xFEx\0\n\0\xDC\0n\0", 10));
    write("d.csv", std::string("\xFE\xFF\0x\0\n\0\xDC\0n", 10));
    EXPECT_EQ(rows("SELECT x FROM a.csv").at(0)[0], Value("Ünal"));
    EXPECT_EQ(rows("SELECT x FROM b.csv").at(0)[0], Value("Ünal"));
    EXPECT_EQ(rows("SELECT x FROM c.csv").at(0)[0], Value("Ün"));
    EXPECT_EQ(rows("SELECT x FROM d.csv").at(0)[0], Value("Ün"));
    write("schema.ini", "[a.csv]\nCharacterSet=nonsense\n");
    EXPECT_EQ(numberOf([&] { rows("SELECT x FROM a.csv"); }), kr::DB_E_FAIL);
}

TEST_F(TextFolderTest, HeadingsThatRepeat) {
    write("h.csv", "A,a,A1,,F4,A,x.y\n1,2,3,4,5,6,7\n");
    EXPECT_EQ(text()->Query("SELECT * FROM h.csv").columns,
              (kr::Strings{"A", "a1", "A11", "F4", "F41", "A2", "x#y"}));
    EXPECT_EQ(rows("SELECT F3 FROM h.csv", "HDR=No").size(), 2u);
    std::string wide = "x";
    for (int i = 0; i < 2000; ++i)
        wide += ",x";
    write("w.csv", wide);
    EXPECT_EQ(numberOf([&] { text()->Query("SELECT * FROM w.csv"); }), kr::DB_E_FAIL);
}

TEST_F(TextFolderTest, WhatIsNoFolderOrNoFile) {
    write("a.csv", "x\n1\n");
    EXPECT_EQ(numberOf([&] {
                  provider->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/nowhere;"
                                 "Extended Properties=\"text;HDR=Yes\"");
              }),
              kr::DB_E_FAIL);
    std::filesystem::create_directory(folder / "d.csv");
    EXPECT_EQ(numberOf([&] { rows("SELECT * FROM d.csv"); }), kr::DB_E_NO_TABLE);
    EXPECT_EQ(numberOf([&] { rows("SELECT * FROM [../a.csv]"); }), kr::DB_E_NO_TABLE);
    write("e.csv", "");
    EXPECT_TRUE(rows("SELECT * FROM e.csv").empty());
}

} // namespace
