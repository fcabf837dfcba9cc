#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>

#include "platform/store/sqlite/TestSwitches.h"
#include "tests/platform/store/Processes.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

PropTag key(RDOProperties& object, std::string_view name, PropType type) {
    return object.GetIDsFromNames(PS_PUBLIC_STRINGS, name) | static_cast<PropTag>(type);
}

/// The store file and a session on it, as a program that has just started.
struct Program {
    explicit Program(const std::string& path)
        : organisation(path), session(organisation.OpenSession("agentbox")),
          inbox(session->GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox))) {}
    Organisation organisation;
    RDOSessionPtr session;
    RDOFolderPtr inbox;
};

class StoreProcesses : public ::testing::Test {
protected:
    /// Adds a record and closes the file again.
    EntryID addRecord() {
        Program program(world.storePath());
        auto message = program.inbox->Items()->Add("zandrel.Test");
        message->SetSubject("shared");
        message->Save();
        return message->ID();
    }
    World world;
    Children children;
};

class SavesAtOnce : public StoreProcesses, public ::testing::WithParamInterface<int> {};

TEST_P(SavesAtOnce, LoseNothingAndNobodyWaitsLong) {
    constexpr int kSaves = 300;
    const EntryID shared = addRecord();
    const std::string path = world.storePath();
    for (int p = 0; p < GetParam(); ++p)
        children.Start([&, p] {
            Program program(path);
            const PropTag own = key(*program.inbox, "Process " + std::to_string(p), PropType::Long);
            children.AtGate();
            double longest = 0;
            for (int32_t i = 1; i <= kSaves; ++i) {
                auto message = program.session->GetMessageFromID(shared, {});
                message->SetFields(own, i);
                auto added = program.inbox->Items()->Add("zandrel.Test");
                added->SetSubject(std::to_string(p) + "/" + std::to_string(i));
                const auto start = std::chrono::steady_clock::now();
                message->Save();
                const auto middle = std::chrono::steady_clock::now();
                added->Save();
                const auto end = std::chrono::steady_clock::now();
                const auto waited = std::max(middle - start, end - middle);
                longest =
                    std::max(longest, std::chrono::duration<double, std::milli>(waited).count());
            }
            children.Answer(longest);
            return 0;
        });
    children.Open();
    double longest = 0;
    for (int p = 0; p < GetParam(); ++p)
        longest = std::max(longest, children.NextAnswer());
    EXPECT_EQ(std::vector<int>(static_cast<size_t>(GetParam()), 0), children.Wait());
    std::printf("%d processes, longest wait of a save: %.1f ms\n", GetParam(), longest);
    EXPECT_LT(longest, 1000);

    Program program(path);
    auto message = program.session->GetMessageFromID(shared, {});
    for (int p = 0; p < GetParam(); ++p)
        EXPECT_EQ(Value(int32_t{kSaves}),
                  message->Fields(key(*message, "Process " + std::to_string(p), PropType::Long)));
    EXPECT_EQ(1 + kSaves * GetParam(), program.inbox->Items()->Count());
    EXPECT_EQ(Strings(), program.organisation.Check());
}
INSTANTIATE_TEST_SUITE_P(StoreProcesses, SavesAtOnce, ::testing::Values(2, 3));

TEST_F(StoreProcesses, AKilledWriterLeavesEveryRecordWhole) {
    const EntryID shared = addRecord();
    const std::string path = world.storePath();
    std::mt19937 random(11);
    int32_t last = 0;
    for (int round = 0; round < 50; ++round) {
        const pid_t pid = children.Start([&]() -> int {
            Program program(path);
            children.Answer(1);
            for (int32_t i = last + 1;; ++i) {
                auto message = program.session->GetMessageFromID(shared, {});
                message->SetFields(key(*message, "A", PropType::Long), i);
                message->SetFields(key(*message, "B", PropType::Long), i);
                message->SetFields(key(*message, "Text", PropType::String),
                                   std::string(2000, static_cast<char>('a' + i % 26)));
                message->Save();
                auto added = program.inbox->Items()->Add("zandrel.Test");
                added->SetSubject("added " + std::to_string(i));
                added->SetFields(key(*added, "A", PropType::Long), i);
                added->Attachments()->AddContent("a.bin", Bytes(3000, 1));
                added->Save();
            }
        });
        ASSERT_EQ(1, children.NextAnswer());
        usleep(500 + random() % 15'000);
        children.Kill(pid);

        Program program(path);
        auto message = program.session->GetMessageFromID(shared, {});
        const Value a = message->Fields(key(*message, "A", PropType::Long));
        ASSERT_EQ(a, message->Fields(key(*message, "B", PropType::Long)));
        ASSERT_GE(a.integerOr(0), last);
        last = a.integerOr(0);
        if (last > 0) {
            EXPECT_EQ(std::string(2000, static_cast<char>('a' + last % 26)),
                      message->Fields(key(*message, "Text", PropType::String)).text());
        }
        ASSERT_EQ(Strings(), program.organisation.Check());
    }
    EXPECT_GT(last, 0);
    Program program(path);
    auto items = program.inbox->Items();
    for (int i = 2; i <= items->Count(); ++i) {
        auto added = items->Item(i);
        EXPECT_EQ("added " +
                      std::to_string(added->Fields(key(*added, "A", PropType::Long)).integerOr(0)),
                  added->Subject());
        ASSERT_EQ(1, added->Attachments()->Count());
        EXPECT_EQ(3000, added->Attachments()->Item(1)->Size());
    }
}

TEST_F(StoreProcesses, AChangeIsHeardByAnotherProcess) {
    const EntryID shared = addRecord();
    const std::string path = world.storePath();
    children.Start([&] {
        Program program(path);
        program.session->PollChanges();
        children.Answer(1);
        for (int i = 0; i < 5000; ++i, usleep(1000)) {
            const StoreChanges heard = program.session->PollChanges();
            if (heard.empty())
                continue;
            const bool right = !heard.reloadAll && heard.changes.size() == 1 &&
                               heard.changes[0].kind == StoreChange::Changed &&
                               heard.changes[0].object == shared &&
                               heard.changes[0].folder == program.inbox->ID();
            return right ? 0 : 1;
        }
        return 2;
    });
    ASSERT_EQ(1, children.NextAnswer());
    Program program(path);
    auto message = program.session->GetMessageFromID(shared, {});
    message->SetSubject("heard");
    message->Save();
    EXPECT_EQ(std::vector<int>{0}, children.Wait());
}

TEST_F(StoreProcesses, TheSameFolderAndTheSameKeyMadeAtOnceAreOne) {
    constexpr int kProcesses = 4, kNames = 20;
    const std::string path = world.storePath();
    for (int p = 0; p < kProcesses; ++p)
        children.Start([&] {
            Program program(path);
            auto folders = program.session->Stores().DefaultStore()->RootFolder()->Folders();
            children.AtGate();
            for (int i = 0; i < kNames; ++i) {
                const std::string name = "Same " + std::to_string(i);
                folders->Add(name);
                if (key(*program.inbox, name, PropType::String) < 0x80000000)
                    return 1;
            }
            return 0;
        });
    EXPECT_EQ(std::vector<int>(kProcesses, 0), children.Wait());
    Program program(path);
    auto folders = program.session->Stores().DefaultStore()->RootFolder()->Folders();
    Strings names;
    for (int i = 1; i <= folders->Count(); ++i)
        if (folders->Item(i)->Name().starts_with("Same "))
            names.push_back(folders->Item(i)->Name());
    EXPECT_EQ(static_cast<size_t>(kNames), names.size());
    std::set<PropTag> tags;
    for (int i = 0; i < kNames; ++i)
        tags.insert(key(*program.inbox, "Same " + std::to_string(i), PropType::String));
    EXPECT_EQ(static_cast<size_t>(kNames), tags.size());
    // ids go up without a gap: no name has two
    EXPECT_EQ(static_cast<PropTag>(kNames - 1) << 16, *tags.rbegin() - *tags.begin());
    EXPECT_EQ(Strings(), program.organisation.Check());
}

TEST_F(StoreProcesses, ProcessesOpenAFreshFileAtOnce) {
    for (int round = 0; round < 10; ++round) {
        const std::string path = world.folder() + "/fresh" + std::to_string(round);
        Organisation::Create(path);
        Children round_;
        for (int p = 0; p < 3; ++p)
            round_.Start([&, p] {
                round_.AtGate();
                Organisation organisation(path);
                NewAddressEntry entry;
                entry.alias = entry.name = "box" + std::to_string(p);
                entry.dn = "/o=Example/cn=" + entry.alias;
                entry.smtp = entry.alias + "@example.test";
                organisation.AddMailbox(entry);
                return 0;
            });
        EXPECT_EQ((std::vector<int>{0, 0, 0}), round_.Wait());
        Organisation organisation(path);
        for (int p = 0; p < 3; ++p)
            EXPECT_TRUE(organisation.OpenSession("box" + std::to_string(p))->LoggedOn());
        EXPECT_EQ(Strings(), organisation.Check());
    }
}

TEST_F(StoreProcesses, OnlyOneOfSeveralCreatesAFile) {
    const std::string path = world.folder() + "/contested";
    for (int p = 0; p < 4; ++p)
        children.Start([&] {
            children.AtGate();
            try {
                Organisation::Create(path);
                return 0;
            } catch (const PlatformError& e) {
                return e.number() == MAPI_E_COLLISION ? 1 : 2;
            }
        });
    std::vector<int> codes = children.Wait();
    std::ranges::sort(codes);
    EXPECT_EQ((std::vector<int>{0, 1, 1, 1}), codes);
    EXPECT_EQ(Strings(), Organisation(path).Check());
}

TEST_F(StoreProcesses, TooManyMissedChangesReloadAll) {
    Program listener(world.storePath()), writer(world.storePath());
    sqlite::KeepChanges(*writer.session, 10);
    listener.session->PollChanges();
    const auto save = [&](int count) {
        for (int i = 0; i < count; ++i)
            writer.inbox->Items()->Add("zandrel.Test")->Save();
    };
    save(10);
    StoreChanges heard = listener.session->PollChanges();
    EXPECT_FALSE(heard.reloadAll) << "all of these are still there";
    EXPECT_EQ(10u, heard.changes.size());
    save(11);
    heard = listener.session->PollChanges();
    EXPECT_TRUE(heard.reloadAll);
    EXPECT_TRUE(listener.session->PollChanges().empty());
    save(1);
    heard = listener.session->PollChanges();
    EXPECT_FALSE(heard.reloadAll);
    EXPECT_EQ(1u, heard.changes.size());
}

} // namespace
