#include <sys/stat.h>

#include <cstdlib>

#include "tests/platform/database/LocalFilesTest.h"
#include "tests/support/JetFile.h"

namespace {

using kr::JetColumn;
using kr::Value;

class AccessTest : public kr::LocalFilesTest {
protected:
    AccessTest() {
        kr::JetTable people{"My People",
                            {{"ID", JetColumn::Long},
                             {"Email1", JetColumn::Text},
                             {"Rate", JetColumn::Double},
                             {"Since", JetColumn::Date},
                             {"Active", JetColumn::Boolean}},
                            {}};
        people.rows = {{1, "007", 1.5, 29251.5, true},
                       {Value(), Value(), Value(), Value(), false},
                       {-7, "a \"b\", c", 2.0, 39879.0, true}};
        kr::JetTable numbers{"Numbers", {{"N", JetColumn::Long}}, {}};
        for (int i = 0; i < 3000; ++i)
            numbers.rows.push_back({i});
        write("p.mdb", kr::JetFileBytes({people, numbers}));
    }
    ~AccessTest() override { setenv("PATH", m_path.c_str(), 1); }
    /// Puts a program of that name before those of the system.
    void replaceProgram(const std::string& name, const std::string& body) {
        write(name, "#!/bin/sh\n" + body + "\n");
        chmod((folder / name).c_str(), 0755);
        setenv("PATH", (folder.string() + ":" + m_path).c_str(), 1);
    }

private:
    std::string m_path = std::getenv("PATH");
};

TEST_F(AccessTest, ReadsTables) {
    const auto rows = access("p.mdb")->Query("SELECT * FROM [my people]");
    EXPECT_EQ(rows.columns, (kr::Strings{"ID", "Email1", "Rate", "Since", "Active"}));
    ASSERT_EQ(rows.rows.size(), 3u);
    EXPECT_EQ(rows.rows[0], (std::vector<Value>{1, "007", 1.5, "1980-01-31 12:00:00", 1}));
    EXPECT_EQ(rows.rows[1], (std::vector<Value>{Value(), Value(), Value(), Value(), 0}));
    EXPECT_EQ(rows.rows[2], (std::vector<Value>{-7, "a \"b\", c", 2, "2009-03-07 00:00:00", 1}));
    EXPECT_EQ(access("p.mdb")
                  ->Query("SELECT TOP 2 N FROM Numbers WHERE N > 5 ORDER BY N DESC")
                  .rows.at(1)[0],
              Value(2998));
    EXPECT_EQ(access("p.mdb")->Query("SELECT TOP 10 N, n FROM Numbers").rows.size(), 10u);
    EXPECT_EQ(numberOf([&] { access("p.mdb")->Query("SELECT * FROM nowhere"); }),
              kr::DB_E_NO_TABLE);
    EXPECT_EQ(numberOf([&] { access("p.mdb")->Query("DELETE FROM Numbers"); }), kr::DB_E_SYNTAX);
    EXPECT_EQ(access("p.mdb")->Query("SELECT count(*) FROM Numbers").rows.at(0)[0], Value(3000));
}

TEST_F(AccessTest, NumbersReadTheSameOnEveryDesktop) {
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    const auto rows = access("p.mdb")->Query("SELECT Rate FROM [My People]");
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(rows.rows.at(0)[0], Value(1.5));
}

TEST_F(AccessTest, DamagedFilesEnd) {
    std::ifstream in(folder / "p.mdb", std::ios::binary);
    const std::string whole(std::istreambuf_iterator<char>(in), {});
    kr::DbLimits limits;
    limits.querySeconds = 2;
    for (size_t at = 0x100; at < 5 * 4096; at += 997) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x5A);
        write("d.mdb", bytes);
        const auto start = std::chrono::steady_clock::now();
        numberOf([&] { access("d.mdb", limits)->Query("SELECT * FROM [My People]", limits); });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << at;
    }
}

TEST_F(AccessTest, AProgramThatHangsIsKilled) {
    const std::string mark = (folder / "pid").string();
    replaceProgram("mdb-export", "echo $$ > " + mark + "; exec sleep 60");
    auto db = access("p.mdb");
    kr::DbLimits limits;
    limits.querySeconds = 1;
    int ticks = 0;
    events->AddTimer(std::chrono::milliseconds(20), [&] { ++ticks; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { db->Query("SELECT * FROM Numbers", limits); }), kr::DB_E_TIMEOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_GT(ticks, 20);
    std::string pid;
    std::ifstream(mark) >> pid;
    ASSERT_FALSE(pid.empty());
    for (int i = 0; i < 100 && kill(std::stoi(pid), 0) == 0; ++i)
        usleep(10'000);
    EXPECT_NE(kill(std::stoi(pid), 0), 0);
}

TEST_F(AccessTest, AProgramThatClosesItsOutputAndStaysIsKilled) {
    replaceProgram("mdb-export", "exec >&-; exec sleep 60");
    auto db = access("p.mdb");
    std::atomic<bool> cancel = false;
    events->AddTimer(std::chrono::milliseconds(300), [&] { cancel = true; });
    kr::DbLimits limits;
    limits.cancel = &cancel;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(numberOf([&] { db->Query("SELECT * FROM Numbers", limits); }), kr::DB_E_CANCELED);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(AccessTest, AProgramThatFailsOrIsNotThere) {
    replaceProgram("mdb-export", "echo 'half,a'; exit 1");
    EXPECT_EQ(numberOf([&] { access("p.mdb")->Query("SELECT * FROM Numbers"); }), kr::DB_E_FAIL);
    setenv("PATH", folder.c_str(), 1);
    std::string reason;
    EXPECT_EQ(numberOf([&] { access("p.mdb"); }, &reason), kr::DB_E_PROVIDER_MISSING);
    EXPECT_EQ(reason, "Provider cannot be found. It may not be properly installed.");
}

} // namespace
