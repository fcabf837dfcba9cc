#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>

#include "tests/platform/store/StoreFixture.h"

namespace {

using namespace kr;

class StoreFiles : public StoreFixture {
protected:
    static long opening(const std::string& file, std::string* words = nullptr) {
        return failure([&] { Organisation org(file); }, words);
    }
    void sql(const std::string& file, const char* text) const {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, text, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
};

TEST_F(StoreFiles, CreateNeverOverwrites) {
    const std::string before = contentOf(path);
    EXPECT_EQ(failure([&] { Organisation::Create(path); }), MAPI_E_COLLISION);
    EXPECT_EQ(contentOf(path), before);
    write(folder + "/note.txt", "mine");
    EXPECT_EQ(failure([&] { Organisation::Create(folder + "/note.txt"); }), MAPI_E_COLLISION);
    EXPECT_EQ(contentOf(folder + "/note.txt"), "mine");
}

TEST_F(StoreFiles, NothingIsLeftBesideANewFile) {
    Organisation::Create(folder + "/new.kr");
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files += entry.path().string().find("new.kr") != std::string::npos;
    EXPECT_EQ(files, 1);
}

TEST_F(StoreFiles, MissingFileAndFolderAreNamed) {
    std::string words;
    EXPECT_EQ(opening(folder + "/none.kr", &words), MAPI_E_NOT_FOUND);
    EXPECT_NE(words.find(folder + "/none.kr"), std::string::npos) << words;
    EXPECT_FALSE(std::filesystem::exists(folder + "/none.kr"));
    EXPECT_EQ(opening(folder + "/none/org.kr", &words), MAPI_E_NOT_FOUND);
    EXPECT_NE(words.find(folder + "/none"), std::string::npos) << words;
    EXPECT_EQ(failure([&] { Organisation::Create(folder + "/none/org.kr"); }, &words),
              MAPI_E_NOT_FOUND);
    EXPECT_NE(words.find(folder + "/none"), std::string::npos) << words;
}

TEST_F(StoreFiles, AFolderIsNoStore) {
    EXPECT_NE(opening(folder), 0);
    EXPECT_NE(opening(path + "/below"), 0);
}

TEST_F(StoreFiles, WhatIsNoStoreIsLeftAsItIs) {
    const std::string text = folder + "/letter.txt";
    write(text, std::string(5000, 'x'));
    EXPECT_EQ(opening(text), MAPI_E_CORRUPT_STORE);
    EXPECT_EQ(contentOf(text), std::string(5000, 'x'));
    const std::string empty = folder + "/empty";
    write(empty, "");
    EXPECT_EQ(opening(empty), MAPI_E_CORRUPT_STORE);
    EXPECT_EQ(std::filesystem::file_size(empty), 0u);
    const std::string foreign = folder + "/foreign.db";
    sql(foreign, "CREATE TABLE msg(id INTEGER PRIMARY KEY); INSERT INTO msg VALUES(7)");
    const std::string before = contentOf(foreign);
    EXPECT_EQ(opening(foreign), MAPI_E_CORRUPT_STORE);
    EXPECT_EQ(contentOf(foreign), before);
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        EXPECT_EQ(entry.path().string().find("foreign.db-"), std::string::npos) << entry.path();
}

TEST_F(StoreFiles, ANewerLayoutIsRefused) {
    sql(path, "PRAGMA user_version=2");
    std::string words;
    EXPECT_EQ(opening(path, &words), MAPI_E_VERSION);
    EXPECT_NE(words.find("newer version"), std::string::npos) << words;
}

TEST_F(StoreFiles, AFileThatWasCutOffIsDamaged) {
    {
        Organisation org(path);
        auto session = org.OpenSession("alice");
        for (int i = 0; i < 300; ++i)
            add(inboxOf(*session), std::string(200, 'a'));
    }
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2 / 4096 * 4096);
    std::string words;
    EXPECT_EQ(opening(path, &words), MAPI_E_CORRUPT_STORE);
    EXPECT_NE(words.find("damaged"), std::string::npos) << words;
}

TEST_F(StoreFiles, DamagedPagesAreReportedAndNotMistakenForEmptyOnes) {
    EntryID id;
    {
        Organisation org(path);
        auto session = org.OpenSession("alice");
        for (int i = 0; i < 300; ++i)
            id = add(inboxOf(*session), std::string(200, 'a'))->ID();
    }
    const auto size = std::filesystem::file_size(path);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096 * 8);
    file << std::string(size - 4096 * 8, '\xA5');
    file.close();
    std::vector<std::string> found;
    const long opened = failure([&] { found = Organisation(path).Check(); });
    EXPECT_TRUE(opened == MAPI_E_CORRUPT_STORE || !found.empty());
    const long read = failure([&] {
        Organisation org(path);
        org.OpenSession("alice")->GetMessageFromID(id, {});
    });
    EXPECT_TRUE(read == MAPI_E_CORRUPT_STORE) << read;
}

/// In a process without privileges, since root may write anywhere.
TEST_F(StoreFiles, AReadOnlyFolderSaysSo) {
    std::filesystem::permissions(folder, std::filesystem::perms(0555));
    const int result = finish(start([&] {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            return 2;
        std::string words;
        if (failure([&] { Organisation org(path); }, &words) != MAPI_E_NO_ACCESS)
            return 3;
        if (words.find("read-only") == std::string::npos &&
            words.find("can't be written") == std::string::npos)
            return 4;
        return failure([&] { Organisation::Create(folder + "/new.kr"); }) == MAPI_E_NO_ACCESS ? 0
                                                                                              : 5;
    }));
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    EXPECT_EQ(result, 0);
}

TEST_F(StoreFiles, AFileThatIsReadOnlyCanBeReadAndNotWritten) {
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    std::filesystem::permissions(folder, std::filesystem::perms(0777));
    const int result = finish(start([&] {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            return 2;
        Organisation org(path);
        auto session = org.OpenSession("alice");
        if (inboxOf(*session)->Items()->Count() != 0)
            return 3;
        // no id for a new name, and no error
        if (inboxOf(*session)->GetIDsFromNames(PS_PUBLIC_STRINGS, "New Key") != 0)
            return 4;
        return failure([&] { add(inboxOf(*session), "x"); }) == MAPI_E_NO_ACCESS ? 0 : 5;
    }));
    EXPECT_EQ(result, 0);
}

TEST_F(StoreFiles, AFullDiskSavesNothingAndBreaksNothing) {
    const int result = finish(start([&] {
        Organisation org(path);
        auto session = org.OpenSession("alice");
        auto kept = add(inboxOf(*session), "kept");
        signal(SIGXFSZ, SIG_IGN);
        const rlimit small{1 << 20, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &small);
        auto large = inboxOf(*session)->Items()->Add("IPM.Note");
        large->SetSubject("large");
        large->Attachments()->AddContent("a.bin", Bytes(4 << 20, 7));
        std::string words;
        if (const long n = failure([&] { large->Save(); }, &words); n != MAPI_E_NOT_ENOUGH_DISK) {
            fprintf(stderr, "%lx %s\n", n, words.c_str());
            return 2;
        }
        if (words.find("disk is full") == std::string::npos)
            return 3;
        if (!large->ID().empty() || inboxOf(*session)->Items()->Count() != 1)
            return 4;
        const rlimit all{RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &all);
        large->Save(); // the object still holds all that it was given
        auto again = session->GetMessageFromID(large->ID(), {});
        return again->Attachments()->Item(1)->Content().size() == 4 << 20 ? 0 : 5;
    }));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(faults(), std::vector<std::string>{});
}

TEST_F(StoreFiles, TwoFilesOpenAtOnceInOneProgram) {
    const std::string other = folder + "/other.kr";
    Organisation::Create(other);
    Organisation a(path), b(other);
    b.AddMailbox(person("alice", "Other Alice"));
    auto first = add(inboxOf(*a.OpenSession("alice")), "in a");
    auto session = b.OpenSession("alice");
    EXPECT_EQ(failure([&] { session->GetMessageFromID(first->ID(), {}); }), MAPI_E_NOT_FOUND);
    EXPECT_EQ(inboxOf(*session)->Items()->Count(), 0);
}

TEST_F(StoreFiles, ABulkThatIsNotCommittedLeavesNothing) {
    {
        Organisation org(path);
        org.Begin();
        org.AddMailbox(person("carol", "Carol"));
        auto session = org.OpenSession("carol");
        add(inboxOf(*session), "lost");
        inboxOf(*session)->GetIDsFromNames(PS_PUBLIC_STRINGS, "Lost Key");
    }
    Organisation org(path);
    EXPECT_EQ(failure([&] { org.OpenSession("carol"); }), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreFiles, AFailureWithinABulkUndoesItsOwnStepOnly) {
    Organisation org(path);
    org.Begin();
    auto session = org.OpenSession("alice");
    add(inboxOf(*session), "first");
    EXPECT_EQ(failure([&] { org.AddMailbox(person("bob", "Twice")); }), MAPI_E_COLLISION);
    NewAddressEntry clash = person("carol", "Carol");
    clash.dn = person("bob", "").dn; // the mailbox would be there before its entry fails
    EXPECT_NE(failure([&] { org.AddMailbox(clash); }), 0);
    add(inboxOf(*session), "second");
    org.Commit();
    EXPECT_EQ(inboxOf(*session)->Items()->Count(), 2);
    EXPECT_EQ(failure([&] { org.OpenSession("carol"); }), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

} // namespace
