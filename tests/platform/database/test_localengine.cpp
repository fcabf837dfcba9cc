#include "platform/database/local/LocalEngine.h"
#include "tests/platform/database/LocalFilesTest.h"
#include <gtest/gtest.h>

namespace {

using kr::TranslateDialect;
using kr::Value;

class LocalEngineTest : public kr::LocalFilesTest {};

TEST(DialectTest, TranslatesWhatTheEngineDoesNotKnow) {
    EXPECT_EQ(TranslateDialect("SELECT TOP 5 * FROM [a$] ORDER BY x;"),
              "SELECT * FROM [a$] ORDER BY x LIMIT 5");
    EXPECT_EQ(TranslateDialect("select x from people.csv where d > #1/31/1980#"),
              "select x from [people.csv] where d > '1980-01-31'");
    EXPECT_EQ(TranslateDialect("SELECT a & ' & ' & [b] FROM t"),
              "SELECT ifnull(a,'') || ifnull(' & ','') || ifnull([b],'') FROM t");
    EXPECT_EQ(TranslateDialect("SELECT Left(a,2) FROM t LEFT JOIN u ON 1"),
              "SELECT kr_left(a,2) FROM t LEFT JOIN u ON 1");
    EXPECT_EQ(TranslateDialect("SELECT '#1/1/2000# TOP 5' FROM [x#csv]"),
              "SELECT '#1/1/2000# TOP 5' FROM [x#csv]");
}

TEST_F(LocalEngineTest, TextWithoutSchema) {
    write("People.csv",
          "Name,Email1,,Age,Zip\r\n\"A \"\"x\"\"\r\nB\",\xDCnal@x,1,2.5,01234\n,b,,,\n");
    const auto rows = text()->Query("SELECT * FROM people.csv");
    EXPECT_EQ(rows.columns, (kr::Strings{"Name", "Email1", "F3", "Age", "Zip"}));
    ASSERT_EQ(rows.rows.size(), 2u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{"A \"x\"\r\nB", "Ünal@x", 1, 2.5, "01234"}));
    EXPECT_TRUE(rows.rows[1][0].empty());
    EXPECT_EQ(rows.Column("EMAIL1"), 1);
    EXPECT_EQ(rows.Column("none"), -1);
    EXPECT_EQ(text()
                  ->Query("SELECT Right(Email1,3) FROM people.csv WHERE email1 LIKE 'üNAL%'")
                  .rows.at(0)[0],
              Value("l@x"));
}

TEST_F(LocalEngineTest, SchemaOverridesTheString) {
    write("schema.INI", "[t.txt]\nFormat=Delimited(;)\nColNameHeader=False\nCharacterSet=OEM\n"
                        "DecimalSymbol=,\nCol1=\"First Name\" Text\nCol2=N Double\n"
                        "[f.txt]\nFormat=FixedLength\nColNameHeader=False\nCol1=A Text Width 3\n"
                        "Col2=B Long Width 2\n");
    write("t.txt", "\x81;1,5\n");
    write("f.txt", "ab 12\ncdefg\n");
    write("g.txt", "abc\n");
    const auto rows = text()->Query("SELECT * FROM t.txt");
    EXPECT_EQ(rows.columns, (kr::Strings{"First Name", "N"}));
    EXPECT_EQ(rows.rows.at(0), (std::vector<Value>{"ü", 1.5}));
    const auto fixed = text()->Query("SELECT * FROM f.txt").rows;
    ASSERT_EQ(fixed.size(), 2u);
    EXPECT_EQ(fixed[0], (std::vector<Value>{"ab", 12}));
    EXPECT_EQ(numberOf([&] { text("FMT=Fixed")->Query("SELECT * FROM g.txt"); }), kr::DB_E_FAIL);
}

TEST_F(LocalEngineTest, RefusesWhatIsNoSelect) {
    write("a.csv", "x\n1\n");
    auto db = text();
    for (const char* query : {"DELETE FROM [a.csv]", "CREATE TABLE t(x)", "SELECT 1; SELECT 2",
                              "ATTACH '/tmp/kr-never.db' AS z", "SELEC 1", ""})
        EXPECT_EQ(numberOf([&] { db->Query(query); }), kr::DB_E_SYNTAX) << query;
    EXPECT_EQ(numberOf([&] { db->Query("SELECT * FROM none"); }), kr::DB_E_NO_TABLE);
    EXPECT_EQ(db->Query("SELECT x FROM a.csv").rows.at(0)[0], Value(1));
}

constexpr const char* kEndless =
    "WITH RECURSIVE r(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM r) SELECT count(*) FROM r";

TEST_F(LocalEngineTest, TimeOutAndCancelStopAnEndlessQueryWhileEventsRun) {
    int ticks = 0;
    events->AddTimer(std::chrono::milliseconds(20), [&] { ++ticks; });
    kr::DbLimits limits;
    limits.querySeconds = 1;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { text()->Query(kEndless, limits); }), kr::DB_E_TIMEOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_GT(ticks, 10);
    std::atomic<bool> cancel = false;
    events->AddTimer(std::chrono::milliseconds(200), [&] { cancel = true; });
    limits.querySeconds = 30;
    limits.cancel = &cancel;
    auto db = text();
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { db->Query(kEndless, limits); }), kr::DB_E_CANCELED);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

std::map<std::string, std::string> workbook(const std::string& sheet) {
    return {{"xl/workbook.xml",
             "<workbook xmlns:r='urn:r'><sheets><sheet name='My Sheet' r:id='r1'/></sheets>"
             "<definedNames><definedName name='Part'>'My Sheet'!$A$1:$B$2</definedName>"
             "</definedNames></workbook>"},
            {"xl/_rels/workbook.xml.rels",
             "<Relationships><Relationship Id='r1' Target='worksheets/s.xml'/></Relationships>"},
            {"xl/styles.xml",
             "<styleSheet><cellXfs><xf numFmtId='0'/><xf numFmtId='14'/></cellXfs></styleSheet>"},
            {"xl/sharedStrings.xml",
             "<sst><si><t>Name</t></si><si><r><t>A </t></r><r><t>B</t></r></si></sst>"},
            {"xl/worksheets/s.xml", "<worksheet><sheetData>" + sheet + "</sheetData></worksheet>"}};
}

TEST_F(LocalEngineTest, WorkbookCells) {
    zip("w.xlsx", workbook("<row r='1'><c r='A1' t='s'><v>0</v></c>"
                           "<c r='B1' t='inlineStr'><is><t>When</t></is></c></row>"
                           "<row r='2'><c r='A2' t='s'><v>1</v></c><c r='B2' s='1'><v>29251</v></c>"
                           "<c r='D2' t='e'><v>#N/A</v></c></row>"
                           "<row r='3'><c r='A3'><v>7</v></c><c r='C3' t='b'><v>1</v></c></row>"));
    const auto rows = excel("w.xlsx")->Query("SELECT * FROM [My Sheet$]");
    EXPECT_EQ(rows.columns, (kr::Strings{"Name", "When", "F3"}));
    ASSERT_EQ(rows.rows.size(), 2u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{"A B", "1980-01-31", Value()}));
    EXPECT_EQ(rows.rows[1], (std::vector<Value>{7, Value(), 1}));
    EXPECT_EQ(excel("w.xlsx")->Query("SELECT * FROM Part").rows.size(), 1u);
    EXPECT_EQ(excel("w.xlsx")->Query("SELECT * FROM ['My Sheet$A2:A3']").columns,
              (kr::Strings{"A B"}));
}

TEST_F(LocalEngineTest, DamagedAndMissingFiles) {
    zip("i.xlsx", workbook("<row><c t='s'><v>99</v></c></row>"));
    zip("c.xlsx", workbook("<row r='1'><c r='ZZZZ1'><v>1</v></c></row>"));
    zip("x.xlsx", workbook("<row"));
    for (const char* name : {"i.xlsx", "c.xlsx", "x.xlsx"})
        EXPECT_EQ(numberOf([&] { excel(name)->Query("SELECT * FROM [My Sheet$]"); }), kr::DB_E_FAIL)
            << name;
    write("z.xlsx", "PK nothing");
    write("o.xls", "\xD0\xCF\x11\xE0 nothing");
    write("a.mdb", "nothing");
    for (const char* name : {"z.xlsx", "o.xls", "none.xlsx"})
        EXPECT_EQ(numberOf([&] { excel(name); }), kr::DB_E_FAIL) << name;
    for (const char* name : {"a.mdb", "none.mdb"})
        EXPECT_EQ(numberOf([&] {
                      provider->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
                                     (folder / name).string());
                  }),
                  kr::DB_E_FAIL)
            << name;
    EXPECT_EQ(numberOf([&] { provider->Open("Provider=Other"); }), kr::DB_E_PROVIDER_MISSING);
}

} // namespace
