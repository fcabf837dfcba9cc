#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/store/sqlite/Organisation.h"
#include "platform/store/sqlite/Schema.h"
#include "tests/platform/store/Processes.h"

namespace {

using namespace kr;
namespace fs = std::filesystem;

constexpr size_t kPage = 4096;

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// A plain connection, as another program would have.
struct Plain {
    explicit Plain(const std::string& path) {
        sqlite3_open(path.c_str(), &db);
        sqlite3_busy_timeout(db, 5000);
    }
    ~Plain() { sqlite3_close(db); }
    Plain(const Plain&) = delete;
    Plain& operator=(const Plain&) = delete;
    void Run(const char* sql) {
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, sql, nullptr, nullptr, nullptr))
            << sqlite3_errmsg(db);
    }
    int64_t Number(const char* sql) {
        sqlite::Statement statement(db, sql);
        return statement.Step() ? statement.Integer(0) : -1;
    }
    sqlite3* db = nullptr;
};

class StoreFailures : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "kr-failures-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        path = folder + "/it's org.kr";
    }
    void TearDown() override {
        chmod(folder.c_str(), 0700);
        fs::remove_all(folder);
    }
    void create(int messages = 0) const {
        Organisation::Create(path);
        Organisation organisation(path);
        NewAddressEntry entry;
        entry.dn = "/o=Example/cn=box";
        entry.alias = entry.name = "box";
        entry.smtp = "box@example.test";
        organisation.AddMailbox(entry);
        addMessages(organisation, messages);
    }
    static void addMessages(Organisation& organisation, int count, size_t size = 700) {
        auto inbox = organisation.OpenSession("box")->GetDefaultFolder(6);
        const PropTag pin = inbox->GetIDsFromNames(PS_PUBLIC_STRINGS, "PIN") | 0x1E;
        for (int i = 0; i < count; ++i) {
            auto message = inbox->Items()->Add("zandrel.Test");
            message->SetSubject("subject " + std::to_string(i));
            message->SetFields(pin, "pin" + std::to_string(i));
            message->SetBody(std::string(size + static_cast<size_t>(i % 7) * 100, 'b'));
            message->Save();
        }
    }
    /// What opening says: the number, then the words.
    std::pair<long, std::string> refusal() const {
        try {
            Organisation organisation(path);
        } catch (const PlatformError& e) {
            return {e.number(), e.description()};
        }
        return {0, ""};
    }
    /// Opening is refused so, names the file, and leaves it as it was.
    void expectRefused(long number, const std::string& words) const {
        const std::string before = contents(path);
        for (int again = 0; again < 2; ++again) {
            const auto [got, said] = refusal();
            EXPECT_EQ(number, got) << said;
            EXPECT_NE(std::string::npos, said.find(words)) << said;
            EXPECT_NE(std::string::npos, said.find(path)) << said;
        }
        EXPECT_EQ(before, contents(path));
    }
    /// Reads all there is; true when something says that the file is damaged.
    bool noticed() const {
        try {
            Organisation organisation(path);
            if (!organisation.Check().empty())
                return true;
            auto items = organisation.OpenSession("box")->GetDefaultFolder(6)->Items();
            auto table = items->Table();
            table->Columns({PR_SUBJECT, PR_BODY, PR_MESSAGE_CLASS});
            while (!table->GetRows(100).empty()) {
            }
            for (int i = 1; i <= items->Count(); ++i)
                items->Item(i)->Body();
        } catch (const PlatformError& e) {
            return !e.description().empty();
        }
        return false;
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        std::ranges::sort(names);
        return names;
    }

    std::string folder, path;
    Children children;
};

TEST_F(StoreFailures, WhatIsNoDatabaseIsRefused) {
    write(path, std::string(3 * kPage, 'x'));
    expectRefused(MAPI_E_CORRUPT_STORE, "the file is not a message store");
}

TEST_F(StoreFailures, ADatabaseOfAnotherProgramIsRefused) {
    Plain(path).Run("CREATE TABLE other(x); INSERT INTO other VALUES(1)");
    expectRefused(MAPI_E_CORRUPT_STORE, "is not a message store");
    EXPECT_EQ(1, Plain(path).Number("SELECT x FROM other"));
}

TEST_F(StoreFailures, ANewerLayoutIsRefused) {
    create(3);
    Plain(path).Run("PRAGMA user_version=2");
    expectRefused(MAPI_E_VERSION, "newer version");
    Plain(path).Run("PRAGMA user_version=1");
    EXPECT_EQ(0, refusal().first) << "back at its own layout it opens again";
}

TEST_F(StoreFailures, AnEmptyFileIsRefused) {
    write(path, "");
    expectRefused(MAPI_E_CORRUPT_STORE, "is not a message store");
    EXPECT_EQ(0u, fs::file_size(path));
}

TEST_F(StoreFailures, AMissingFileAndAFolderAreRefused) {
    expectRefused(MAPI_E_NOT_FOUND, "There is no message store at");
    EXPECT_FALSE(fs::exists(path)) << "asking makes no file";
    fs::create_directory(path);
    EXPECT_EQ(MAPI_E_NOT_FOUND, refusal().first);
}

TEST_F(StoreFailures, ADamagedPageIsReported) {
    create(200);
    const std::string whole = contents(path);
    ASSERT_FALSE(noticed());
    ASSERT_GT(whole.size(), 30 * kPage);
    for (size_t page = 0; page < whole.size() / kPage; ++page) {
        std::string damaged = whole;
        // the head of each page; the first one's stands behind that of the file
        damaged.replace(page * kPage + (page == 0 ? 100 : 0), 8, 8, '\x7F');
        write(path, damaged);
        EXPECT_TRUE(noticed()) << "page " << page;
    }
    write(path, whole);
    EXPECT_FALSE(noticed()) << "the whole file opens again";
}

TEST_F(StoreFailures, BytesTurnedAnywhereNeverCrash) {
    create(100);
    const std::string whole = contents(path);
    size_t reported = 0;
    for (size_t at = 50; at < whole.size(); at += 997) {
        std::string damaged = whole;
        for (size_t i = at; i < std::min(at + 40, damaged.size()); ++i)
            damaged[i] = static_cast<char>(~damaged[i]);
        write(path, damaged);
        reported += noticed();
    }
    EXPECT_GT(reported, 0u);
}

TEST_F(StoreFailures, ATruncatedFileIsReported) {
    create(200);
    const std::string whole = contents(path);
    for (const size_t size : {whole.size() / 2, whole.size() / 2 / kPage * kPage, kPage, kPage / 2,
                              size_t{90}, size_t{10}}) {
        write(path, whole.substr(0, size));
        EXPECT_TRUE(noticed()) << size;
        EXPECT_LE(fs::file_size(path), std::max(size, whole.size() / 2)) << size;
    }
}

TEST_F(StoreFailures, AFileThatCantBeWrittenIsRefused) {
    create(3);
    fs::remove(path + "-queue");
    const std::string before = contents(path);
    chmod(path.c_str(), 0444);
    chmod(folder.c_str(), 0555);
    children.Start([&] {
        if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            return 1;
        const auto [number, said] = refusal();
        if (number != MAPI_E_NO_ACCESS || said.find("can't be written") == std::string::npos) {
            std::fprintf(stderr, "%lx %s\n", static_cast<unsigned long>(number), said.c_str());
            return 2;
        }
        try {
            Organisation::Create(folder + "/new.kr");
        } catch (const PlatformError& e) {
            return e.number() == MAPI_E_NO_ACCESS || e.number() == MAPI_E_NOT_FOUND ? 0 : 3;
        }
        return 4;
    });
    EXPECT_EQ(std::vector<int>{0}, children.Wait());
    EXPECT_EQ(before, contents(path));
    chmod(folder.c_str(), 0700);
    chmod(path.c_str(), 0600);
    EXPECT_EQ(0, refusal().first);
}

/// Files may grow up to that size only, as on a full disk.
void limitFiles(rlim_t size) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(StoreFailures, AFullDiskIsReportedAndNothingIsLost) {
    create(20);
    const auto size = fs::file_size(path);
    children.Start([&] {
        Organisation organisation(path);
        auto session = organisation.OpenSession("box");
        auto items = session->GetDefaultFolder(6)->Items();
        limitFiles(size + 200'000);
        try {
            addMessages(organisation, 5000);
            return 1;
        } catch (const PlatformError& e) {
            if (e.number() != MAPI_E_NOT_ENOUGH_DISK ||
                e.description().find("the disk is full") == std::string::npos) {
                std::fprintf(stderr, "%s\n", e.description().c_str());
                return 2;
            }
        }
        const int saved = items->Count();
        children.Answer(saved);
        if (items->Item(saved)->Body().size() < 700) // reading goes on
            return 3;
        limitFiles(RLIM_INFINITY); // there is room again
        addMessages(organisation, 1);
        return items->Count() == saved + 1 ? 0 : 4;
    });
    const int saved = static_cast<int>(children.NextAnswer());
    EXPECT_EQ(std::vector<int>{0}, children.Wait());
    EXPECT_GT(saved, 20);
    Organisation organisation(path);
    EXPECT_EQ(saved + 1, organisation.OpenSession("box")->GetDefaultFolder(6)->Items()->Count());
    EXPECT_EQ(std::vector<std::string>(), organisation.Check());
}

TEST_F(StoreFailures, AGroupThatFailsIsTakenBackAsAWhole) {
    create(5);
    Plain(path).Run("PRAGMA wal_checkpoint(TRUNCATE)");
    const auto size = fs::file_size(path);
    children.Start([&] {
        Organisation organisation(path);
        auto items = organisation.OpenSession("box")->GetDefaultFolder(6)->Items();
        limitFiles(size + 100'000);
        organisation.Begin();
        int failed = 0;
        for (int i = 0; i < 40; ++i)
            try {
                addMessages(organisation, 1, 40'000);
            } catch (const PlatformError&) {
                ++failed;
            }
        try {
            organisation.Commit();
            return 1;
        } catch (const PlatformError& e) {
            if (e.number() != MAPI_E_NOT_ENOUGH_DISK && failed == 0)
                return 4;
        }
        if (items->Count() != 5)
            return 2;
        limitFiles(RLIM_INFINITY);
        addMessages(organisation, 1);
        return items->Count() == 6 ? 0 : 3;
    });
    EXPECT_EQ(std::vector<int>{0}, children.Wait());
    EXPECT_EQ(std::vector<std::string>(), Organisation(path).Check());
}

TEST_F(StoreFailures, AFailedSaveInAGroupTakesBackItsOwnPartOnly) {
    create(1);
    Organisation organisation(path);
    auto session = organisation.OpenSession("box");
    auto items = session->GetDefaultFolder(6)->Items();
    auto gone = items->Item(1);
    organisation.Begin();
    addMessages(organisation, 2);
    items->Item(1)->Delete();
    gone->SetSubject("no longer there");
    EXPECT_THROW(gone->Save(), PlatformError);
    addMessages(organisation, 1);
    organisation.Commit();
    EXPECT_EQ(3, items->Count());
    EXPECT_EQ(std::vector<std::string>(), organisation.Check());
}

TEST_F(StoreFailures, CreatingIsWholeOrNot) {
    children.Start([&] {
        limitFiles(2 * kPage);
        try {
            Organisation::Create(path);
            return 1;
        } catch (const PlatformError& e) {
            return e.number() == MAPI_E_NOT_ENOUGH_DISK ? 0 : 2;
        }
    });
    EXPECT_EQ(std::vector<int>{0}, children.Wait());
    EXPECT_EQ(std::vector<std::string>(), files());
    Organisation::Create(path);
    EXPECT_EQ(std::vector<std::string>{"it's org.kr"}, files());
}

TEST_F(StoreFailures, CreatingNeverOverwrites) {
    for (const std::string& existing : {std::string("precious"), std::string()}) {
        write(path, existing);
        try {
            Organisation::Create(path);
            ADD_FAILURE() << "must refuse";
        } catch (const PlatformError& e) {
            EXPECT_EQ(MAPI_E_COLLISION, e.number());
        }
        EXPECT_EQ(existing, contents(path));
    }
}

constexpr const char* kStep = "CREATE TABLE extra(x); INSERT INTO extra VALUES(7)";

TEST_F(StoreFailures, AStepKeepsACopyAndRunsOnce) {
    create(20);
    {
        Plain plain(path);
        const char* const steps[] = {kStep};
        sqlite::CheckLayout(plain.db, path, steps);
        sqlite::CheckLayout(plain.db, path, steps);
        EXPECT_EQ(2, plain.Number("PRAGMA user_version"));
        EXPECT_EQ(7, plain.Number("SELECT sum(x) FROM extra"));
        EXPECT_THROW(sqlite::CheckLayout(plain.db, path), PlatformError) << "now it is newer";
    }
    Organisation copy(path + ".layout1");
    EXPECT_EQ(20, copy.OpenSession("box")->GetDefaultFolder(6)->Items()->Count());
    EXPECT_EQ(std::vector<std::string>(), copy.Check());
}

TEST_F(StoreFailures, SeveralStepsRunInTheirOrder) {
    create();
    Plain plain(path);
    const char* const steps[] = {kStep, "UPDATE extra SET x=x+1", "INSERT INTO extra VALUES(10)"};
    sqlite::CheckLayout(plain.db, path, steps);
    EXPECT_EQ(4, plain.Number("PRAGMA user_version"));
    EXPECT_EQ(18, plain.Number("SELECT sum(x) FROM extra"));
}

TEST_F(StoreFailures, AFailedStepChangesNothing) {
    create(5);
    {
        Plain plain(path);
        const char* const steps[] = {"CREATE TABLE extra(x); INSERT INTO missing VALUES(1)"};
        EXPECT_THROW(sqlite::CheckLayout(plain.db, path, steps), PlatformError);
        EXPECT_EQ(1, plain.Number("PRAGMA user_version"));
        EXPECT_EQ(0, plain.Number("SELECT count(*) FROM sqlite_master WHERE name='extra'"));
    }
    EXPECT_EQ(std::vector<std::string>(), Organisation(path).Check());
}

TEST_F(StoreFailures, AFileWithoutLayoutIsRefused) {
    create(1);
    Plain(path).Run("PRAGMA user_version=0");
    expectRefused(MAPI_E_CORRUPT_STORE, "no layout that is known");
}

TEST_F(StoreFailures, ProcessesThatMigrateAtOnceDoItOnce) {
    create(100);
    for (int p = 0; p < 4; ++p)
        children.Start([&] {
            children.AtGate();
            Plain plain(path);
            const char* const steps[] = {kStep};
            sqlite::CheckLayout(plain.db, path, steps);
            return plain.Number("PRAGMA user_version") == 2 ? 0 : 1;
        });
    EXPECT_EQ((std::vector<int>{0, 0, 0, 0}), children.Wait());
    EXPECT_EQ(7, Plain(path).Number("SELECT sum(x) FROM extra"));
    EXPECT_EQ(
        100,
        Organisation(path + ".layout1").OpenSession("box")->GetDefaultFolder(6)->Items()->Count());
    for (const std::string& name : files())
        EXPECT_EQ(std::string::npos, name.find(".layout1.")) << name << " was left behind";
}

} // namespace
