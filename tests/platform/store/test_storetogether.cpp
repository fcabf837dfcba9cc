#include <signal.h>

#include <chrono>
#include <thread>

#include "tests/platform/store/StoreFixture.h"

namespace {

using namespace kr;

class StoreTogether : public StoreFixture {
protected:
    /// Each writer adds records and counts up its own key of one shared record.
    void writersLoseNothing(int writers, int saves) {
        EntryID shared;
        {
            Organisation org(path);
            shared = add(inboxOf(*org.OpenSession("alice")), "shared")->ID();
        }
        std::vector<pid_t> children;
        for (int w = 0; w < writers; ++w)
            children.push_back(start([&, w] {
                Organisation org(path);
                auto session = org.OpenSession("alice");
                for (int i = 0; i < saves; ++i) {
                    add(inboxOf(*session), std::to_string(w) + "/" + std::to_string(i));
                    auto message = session->GetMessageFromID(shared, {});
                    const PropTag tag =
                        key(*message, "Counter" + std::to_string(w), PropType::Long);
                    message->SetFields(tag, message->Fields(tag).integerOr(0) + 1);
                    message->Save();
                }
                return 0;
            }));
        for (const pid_t child : children)
            EXPECT_EQ(finish(child), 0);
        Organisation org(path);
        auto session = org.OpenSession("alice");
        EXPECT_EQ(inboxOf(*session)->Items()->Count(), 1 + writers * saves);
        auto message = session->GetMessageFromID(shared, {});
        for (int w = 0; w < writers; ++w)
            EXPECT_EQ(message->Fields(key(*message, "Counter" + std::to_string(w), PropType::Long)),
                      Value(int32_t{saves}));
        EXPECT_EQ(org.Check(), std::vector<std::string>{});
    }
};

TEST_F(StoreTogether, TwoWritersLoseNothing) { writersLoseNothing(2, 150); }

TEST_F(StoreTogether, ThreeWritersLoseNothing) { writersLoseNothing(3, 100); }

TEST_F(StoreTogether, NewNamesAndFoldersOfOneNameMeet) {
    std::vector<pid_t> children;
    for (int w = 0; w < 3; ++w)
        children.push_back(start([&] {
            Organisation org(path);
            auto session = org.OpenSession("alice");
            for (int i = 0; i < 40; ++i) {
                const std::string name = "Key " + std::to_string(i);
                auto made = inboxOf(*session)->Folders()->Add(name, "IPF.Note");
                auto message = made->Items()->Add("IPM.Note");
                message->SetFields(key(*message, name), name);
                message->Save();
            }
            return 0;
        }));
    for (const pid_t child : children)
        EXPECT_EQ(finish(child), 0);
    Organisation org(path);
    auto session = org.OpenSession("alice");
    auto folders = inboxOf(*session)->Folders();
    ASSERT_EQ(folders->Count(), 40);
    std::set<PropTag> tags;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "Key " + std::to_string(i);
        auto items = folders->Item(name)->Items();
        ASSERT_EQ(items->Count(), 3);
        tags.insert(key(*items->Item(1), name));
        for (int n = 1; n <= 3; ++n)
            EXPECT_EQ(items->Item(n)->Fields(key(*items->Item(n), name)).text(), name);
    }
    EXPECT_EQ(tags.size(), 40u);
}

/// A record is whole when its parts, written in one Save, agree: key, long text, subject and
/// attachment all carry the same number.
TEST_F(StoreTogether, AKilledWriterLeavesRecordsWhole) {
    EntryID changing;
    {
        Organisation org(path);
        auto message = add(inboxOf(*org.OpenSession("alice")), "n 0");
        message->SetFields(key(*message, "Number", PropType::Long), int32_t{0});
        message->SetBody("0:" + std::string(3000, 'b'));
        message->Save();
        changing = message->ID();
    }
    for (int round = 0; round < 50; ++round) {
        const pid_t child = start([&] {
            Organisation org(path);
            auto session = org.OpenSession("alice");
            for (int n = round * 100000;; ++n) {
                auto message = session->GetMessageFromID(changing, {});
                message->SetSubject("n " + std::to_string(n));
                message->SetFields(key(*message, "Number", PropType::Long), int32_t{n});
                message->SetBody(std::to_string(n) + ":" + std::string(3000, 'b'));
                message->Save();
                auto fresh = inboxOf(*session)->Items()->Add("IPM.Note");
                fresh->SetSubject("new " + std::to_string(n));
                fresh->Attachments()->AddContent("n.txt", Bytes(5000, static_cast<uint8_t>(n)));
                fresh->Save();
            }
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(15 + round % 20));
        kill(child, SIGKILL);
        finish(child);
        Organisation org(path);
        auto session = org.OpenSession("alice");
        auto message = session->GetMessageFromID(changing, {});
        const std::string number = message->Subject().substr(2);
        EXPECT_EQ(
            std::to_string(message->Fields(key(*message, "Number", PropType::Long)).integerOr(-1)),
            number);
        EXPECT_EQ(message->Body(), number + ":" + std::string(3000, 'b'));
    }
    Organisation org(path);
    auto session = org.OpenSession("alice");
    auto items = inboxOf(*session)->Items();
    EXPECT_GT(items->Count(), 50) << "the writers hardly got to write";
    for (int i = 2; i <= items->Count(); ++i) {
        auto message = items->Item(i);
        const int n = std::stoi(message->Subject().substr(4));
        ASSERT_EQ(message->Attachments()->Count(), 1);
        EXPECT_EQ(message->Attachments()->Item(1)->Content(), Bytes(5000, static_cast<uint8_t>(n)));
    }
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreTogether, AnotherProcessIsHeard) {
    Organisation org(path);
    auto session = org.OpenSession("alice");
    auto inbox = inboxOf(*session);
    auto own = add(inbox, "own");
    EXPECT_TRUE(session->PollChanges().empty());
    ASSERT_EQ(finish(start([&] {
                  Organisation mine(path);
                  auto there = mine.OpenSession("alice");
                  auto message = there->GetMessageFromID(own->ID(), {});
                  message->SetSubject("changed");
                  message->Save();
                  add(inboxOf(*there), "new");
                  inboxOf(*there)->Folders()->Add("Sub");
                  message->Delete();
                  return 0;
              })),
              0);
    const StoreChanges heard = session->PollChanges();
    EXPECT_FALSE(heard.reloadAll);
    ASSERT_EQ(heard.changes.size(), 4u);
    EXPECT_EQ(heard.changes[0].kind, StoreChange::Changed);
    EXPECT_EQ(heard.changes[0].object, own->ID());
    EXPECT_EQ(heard.changes[0].folder, inbox->ID());
    EXPECT_EQ(heard.changes[1].kind, StoreChange::New);
    EXPECT_EQ(session->GetMessageFromID(heard.changes[1].object, {})->Subject(), "new");
    EXPECT_EQ(heard.changes[2].kind, StoreChange::Folder);
    EXPECT_EQ(session->GetFolderFromID(heard.changes[2].object, {})->Name(), "Sub");
    EXPECT_EQ(heard.changes[2].folder, inbox->ID());
    EXPECT_EQ(heard.changes[3].kind, StoreChange::Deleted);
    EXPECT_TRUE(session->PollChanges().empty());
}

TEST_F(StoreTogether, SessionsThatShareAConnectionHearEachOther) {
    Organisation org(path);
    auto a = org.OpenSession("alice");
    auto b = org.OpenSession("alice");
    add(inboxOf(*a), "from a");
    EXPECT_TRUE(a->PollChanges().empty());
    EXPECT_EQ(b->PollChanges().changes.size(), 1u);
}

TEST_F(StoreTogether, WhatWasCommittedBeforeTheLogonIsNoChange) {
    Organisation org(path);
    auto early = org.OpenSession("bob");
    Organisation other(path);
    add(inboxOf(*other.OpenSession("alice")), "before");
    auto session = org.OpenSession("alice");
    EXPECT_TRUE(session->PollChanges().empty());
}

TEST_F(StoreTogether, AFolderThatWasDeletedIsHeardByItsParent) {
    Organisation org(path);
    auto session = org.OpenSession("alice");
    auto inbox = inboxOf(*session);
    EntryID gone;
    ASSERT_TRUE(session->PollChanges().empty());
    {
        Organisation other(path);
        auto there = other.OpenSession("alice");
        auto made = inboxOf(*there)->Folders()->Add("Short-lived");
        gone = made->ID();
        made->Delete();
    }
    const StoreChanges heard = session->PollChanges();
    ASSERT_FALSE(heard.changes.empty());
    for (const StoreChange& change : heard.changes) {
        EXPECT_EQ(change.object, gone);
        EXPECT_EQ(change.folder, inbox->ID());
    }
}

TEST_F(StoreTogether, AFileUnderTheOldNameIsAnotherFile) {
    Organisation org(path);
    auto session = org.OpenSession("alice");
    EXPECT_TRUE(session->StillThere());
    std::filesystem::rename(path, path + ".old");
    EXPECT_FALSE(session->StillThere());
    Organisation::Create(path);
    EXPECT_FALSE(session->StillThere());
}

} // namespace
