#include <gtest/gtest.h>

#include "core/TableRowCells.h"
#include "tests/fakes/FakePlatform.h"

namespace {

using namespace kr;

TableCell binary(std::string_view bytes) {
    TableCell cell;
    cell.type = PropType::Binary;
    cell.bytes = bytes;
    return cell;
}

TableCell number(int64_t value) {
    TableCell cell;
    cell.type = PropType::Long;
    cell.integer = value;
    return cell;
}

class TableRowCellsTest : public ::testing::Test {
protected:
    std::string text(size_t field, const TableCell& cell) {
        m_cells.Fill(field, cell);
        return std::string(m_cells.cells()[field].text);
    }

private:
    SettableClock m_clock;
    TableRowCells m_cells{{{"First", FieldType::Text, 255}, {"Second", FieldType::Text, 255}},
                          m_clock};
};

TEST_F(TableRowCellsTest, IdsOfOneFolderAreWrittenInFull) {
    EXPECT_EQ(text(0, binary("abcdefgh")), "6162636465666768");
    EXPECT_EQ(text(0, binary("abcdefgz")), "616263646566677A");
    EXPECT_EQ(text(0, binary("abcdzzzz")), "616263647A7A7A7A");
    EXPECT_EQ(text(0, binary("zbcdzzzz")), "7A6263647A7A7A7A");
    EXPECT_EQ(text(0, binary("abc")), "616263");
    EXPECT_EQ(text(0, binary("abd")), "616264");
    EXPECT_EQ(text(0, binary("abcdefgh")), "6162636465666768");
}

TEST_F(TableRowCellsTest, IdsOfTwoFieldsDoNotMix) {
    EXPECT_EQ(text(0, binary("abcdefgh")), "6162636465666768");
    EXPECT_EQ(text(1, binary("abcdEFGH")), "6162636445464748");
    EXPECT_EQ(text(0, binary("abcdefgi")), "6162636465666769");
    EXPECT_EQ(text(1, binary("abcdEFGI")), "6162636445464749");
}

TEST_F(TableRowCellsTest, AnIdBehindANumberIsWrittenAnew) {
    EXPECT_EQ(text(0, binary("abcdefgh")), "6162636465666768");
    EXPECT_EQ(text(0, number(-17)), "-17");
    EXPECT_EQ(text(0, binary("abcdefgi")), "6162636465666769");
}

} // namespace
