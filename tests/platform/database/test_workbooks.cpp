#include <cmath>

#include "tests/platform/database/LocalFilesTest.h"
#include "tests/support/XlsBytes.h"

namespace {

using kr::Value;

class WorkbookTest : public kr::LocalFilesTest {
protected:
    void workbook(const std::string& name, const std::string& sheet,
                  std::map<std::string, std::string> more = {}) {
        more.insert(
            {{"xl/workbook.xml", "<workbook xmlns:r='urn:r'><sheets><sheet name='S' r:id='r1'/>"
                                 "</sheets></workbook>"},
             {"xl/_rels/workbook.xml.rels",
              "<Relationships><Relationship Id='r1' Target='worksheets/s.xml'/></Relationships>"},
             {"xl/worksheets/s.xml",
              "<worksheet><sheetData>" + sheet + "</sheetData></worksheet>"}});
        zip(name, more);
    }
    kr::DbRows rowsOf(const std::string& name) { return excel(name)->Query("SELECT * FROM [S$]"); }
};

TEST_F(WorkbookTest, AnOldWorkbook) {
    kr::XlsBytes book("People");
    const char* heading[] = {"Name", "Rate", "Since", "On"};
    for (uint16_t i = 0; i < 4; ++i)
        book.Text(0, i, heading[i]);
    book.Text(1, 0, "Alice");
    book.Number(1, 1, 1.5);
    book.Number(1, 2, 29251, true);
    book.Flag(1, 3, true);
    book.Text(3, 0, "Bob");
    write("p.xls", book.Bytes());
    const auto rows = excel("p.xls")->Query("SELECT * FROM [people$]");
    EXPECT_EQ(rows.columns, (kr::Strings{"Name", "Rate", "Since", "On"}));
    ASSERT_EQ(rows.rows.size(), 2u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{"Alice", 1.5, "1980-01-31", 1}));
    EXPECT_EQ(rows.rows[1], (std::vector<Value>{"Bob", Value(), Value(), Value()}));
    EXPECT_EQ(excel("p.xls")->Query("SELECT Rate FROM [People$] WHERE Name='ALICE'").rows.at(0)[0],
              Value(1.5));
    EXPECT_EQ(numberOf([&] { excel("p.xls")->Query("SELECT * FROM [Other$]"); }),
              kr::DB_E_NO_TABLE);
}

TEST_F(WorkbookTest, DamagedOldWorkbooksEnd) {
    kr::XlsBytes book("S");
    for (uint16_t i = 0; i < 20; ++i)
        book.Text(i, 0, "text " + std::to_string(i));
    const std::string whole = book.Bytes();
    int refused = 0;
    for (size_t at = 0; at < whole.size(); at += 13) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        write("d.xls", bytes);
        refused += numberOf([&] { rowsOf("d.xls"); }) != 0;
        write("d.xls", std::string_view(whole).substr(0, at));
        refused += numberOf([&] { rowsOf("d.xls"); }) != 0;
    }
    EXPECT_GT(refused, 100);
}

TEST_F(WorkbookTest, RowsAndCellsOutOfOrder) {
    workbook("o.xlsx",
             "<row r='3'><c r='B3'><v>2</v></c><c r='A3'><v>1</v></c></row>"
             "<row r='1'><c r='A1' t='str'><v>A</v></c><c r='B1' t='str'><v>B</v></c></row>"
             "<row r='2'><c r='A2'><v>5</v></c></row>"
             "<row r='3'><c r='B3'><v>7</v></c></row>");
    const auto rows = rowsOf("o.xlsx");
    EXPECT_EQ(rows.columns, (kr::Strings{"A", "B"}));
    ASSERT_EQ(rows.rows.size(), 2u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{5, Value()}));
    EXPECT_EQ(rows.rows[1], (std::vector<Value>{1, 7}));
}

TEST_F(WorkbookTest, CellsWithoutPlacesFollowOneAnother) {
    workbook("n.xlsx", "<row><c t='str'><v>A</v></c><c t='str'><v>A</v></c></row>"
                       "<row><c><v> 1.5 </v></c><c><v>1E3</v></c><c/></row>");
    const auto rows = rowsOf("n.xlsx");
    EXPECT_EQ(rows.columns, (kr::Strings{"A", "A1"}));
    EXPECT_EQ(rows.rows.at(0), (std::vector<Value>{1.5, 1000}));
}

TEST_F(WorkbookTest, AnEmptySheetHasOneColumnAndNoRows) {
    workbook("e.xlsx", "");
    const auto rows = rowsOf("e.xlsx");
    EXPECT_EQ(rows.columns, (kr::Strings{"F1"}));
    EXPECT_TRUE(rows.rows.empty());
}

TEST_F(WorkbookTest, RefusesDocumentTypes) {
    const std::string bomb = "<!DOCTYPE x [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;'>]>";
    workbook("b.xlsx", "",
             {{"xl/worksheets/s.xml", bomb + "<worksheet><sheetData><row><c><v>&b;"
                                             "</v></c></row></sheetData></worksheet>"}});
    EXPECT_EQ(numberOf([&] { rowsOf("b.xlsx"); }), kr::DB_E_FAIL);
}

TEST_F(WorkbookTest, WhatUnpacksToFarMoreThanItIsEndsEarly) {
    // 30 million empty strings: 150 MB of XML in a small file
    std::string strings = "<sst>";
    for (int i = 0; i < 6'000'000; ++i)
        strings += "<si/>";
    workbook("s.xlsx", "", {{"xl/sharedStrings.xml", strings + "</sst>"}});
    EXPECT_LT(std::filesystem::file_size(folder / "s.xlsx"), 500'000u);
    std::string reason;
    EXPECT_EQ(numberOf([&] { excel("s.xlsx"); }, &reason), kr::DB_E_FAIL);
    EXPECT_EQ(reason, "The workbook is too large.");
}

TEST_F(WorkbookTest, TooManyColumnsAreRefused) {
    workbook("w.xlsx", "<row><c r='A1'><v>1</v></c><c r='XFD1'><v>1</v></c></row>");
    std::string reason;
    EXPECT_EQ(numberOf([&] { rowsOf("w.xlsx"); }, &reason), kr::DB_E_FAIL);
    EXPECT_EQ(reason, "Too many fields defined.");
}

TEST_F(WorkbookTest, DamagedPackagesEnd) {
    workbook("g.xlsx", "<row><c t='str'><v>A</v></c></row><row><c t='s'><v>0</v></c></row>",
             {{"xl/sharedStrings.xml", "<sst><si><t>x</t></si></sst>"}});
    std::ifstream in(folder / "g.xlsx", std::ios::binary);
    const std::string whole(std::istreambuf_iterator<char>(in), {});
    EXPECT_EQ(rowsOf("g.xlsx").rows.at(0)[0], Value("x"));
    int refused = 0;
    for (size_t at = 2; at < whole.size(); at += 7) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        write("d.xlsx", bytes);
        refused += numberOf([&] { rowsOf("d.xlsx"); }) != 0;
    }
    EXPECT_GT(refused, 20);
}

TEST_F(WorkbookTest, CancelEndsALongSheet) {
    std::string rows;
    for (int i = 0; i < 200'000; ++i)
        rows += "<row><c><v>1</v></c><c><v>2</v></c></row>";
    workbook("l.xlsx", rows);
    auto db = excel("l.xlsx");
    std::atomic<bool> cancel = true;
    kr::DbLimits limits;
    limits.cancel = &cancel;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { db->Query("SELECT * FROM [S$]", limits); }), kr::DB_E_CANCELED);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

} // namespace
