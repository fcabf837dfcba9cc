#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/Text.h"
#include "platform/store/sqlite/SqliteStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class StoreObjects : public ::testing::Test {
protected:
    void SetUp() override {
        world.LogOn();
        inbox = world.session->rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox));
    }
    RDOSession& rdo() { return *world.session->rdo; }
    RDOMessagePtr add(std::string_view messageClass, std::string_view subject) {
        auto message = inbox->Items()->Add(messageClass);
        message->SetSubject(subject);
        message->Save();
        return message;
    }
    static PropTag key(RDOProperties& object, std::string_view name, PropType type) {
        return object.GetIDsFromNames(PS_PUBLIC_STRINGS, name) | static_cast<PropTag>(type);
    }

    World world;
    RDOFolderPtr inbox;
};

TEST_F(StoreObjects, EveryTypeComesBackAsItWasWritten) {
    auto message = inbox->Items()->Add("IPM.Note");
    const Time time(std::chrono::seconds(1700000000));
    const std::vector<std::pair<PropType, Value>> values = {
        {PropType::Short, int16_t{-7}},
        {PropType::Long, int32_t{-70000}},
        {PropType::Double, 3.25},
        {PropType::Currency, Currency{-123456}},
        {PropType::Boolean, true},
        {PropType::String,
         std::string("R\xC3\xA9n\xC3\xA9 \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D 'x'\0y", 20)},
        {PropType::Time, time},
        {PropType::Binary, Bytes{0, 1, 255}},
        {PropType::StringList, Strings{"a", "", "b;c"}},
    };
    for (size_t i = 0; i < values.size(); ++i)
        message->SetFields(key(*message, "Key" + std::to_string(i), values[i].first),
                           values[i].second);
    message->Save();
    auto again = rdo().GetMessageFromID(message->ID(), {});
    for (size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(values[i].second,
                  again->Fields(key(*again, "Key" + std::to_string(i), values[i].first)))
            << i;
}

TEST_F(StoreObjects, AnUnsetPropertyIsEmptyAndAnEmptyTextIsNot) {
    auto message = add("IPM.Note", "x");
    const PropTag tag = key(*message, "Some Key", PropType::String);
    EXPECT_TRUE(message->Fields(tag).empty());
    message->SetFields(tag, "");
    message->Save();
    auto again = rdo().GetMessageFromID(message->ID(), {});
    EXPECT_EQ(Value(""), again->Fields(tag));
    again->SetFields(tag, Value());
    again->Save();
    EXPECT_TRUE(rdo().GetMessageFromID(message->ID(), {})->Fields(tag).empty());
}

TEST_F(StoreObjects, AnotherTypeReplacesTheOldValue) {
    auto message = add("IPM.Note", "x");
    message->SetFields(key(*message, "K", PropType::String), "12");
    message->Save();
    message->SetFields(key(*message, "K", PropType::Long), int32_t{12});
    message->Save();
    auto again = rdo().GetMessageFromID(message->ID(), {});
    EXPECT_EQ(Value(int32_t{12}), again->Fields(key(*again, "K", PropType::String)));
}

TEST_F(StoreObjects, TheTwoTextTypesNameOneProperty) {
    auto message = add("IPM.Note", "x");
    message->SetFields(key(*message, "K", PropType::Unicode), "text");
    message->Save();
    EXPECT_EQ(
        Value("text"),
        rdo().GetMessageFromID(message->ID(), {})->Fields(key(*message, "K", PropType::String)));
}

TEST_F(StoreObjects, ATagWithoutIdReadsEmptyAndRefusesWrites) {
    auto message = add("IPM.Note", "x");
    EXPECT_TRUE(message->Fields(0x0000001E).empty());
    EXPECT_THROW(message->SetFields(0x0000001E, "x"), PlatformError);
}

TEST_F(StoreObjects, LongTextsLieOutsideAndComeBackWhole) {
    auto message = inbox->Items()->Add("IPM.Note");
    const std::string body(300'000, 'b');
    message->SetBody(body);
    message->Save();
    EXPECT_EQ(body, rdo().GetMessageFromID(message->ID(), {})->Body());
    auto again = rdo().GetMessageFromID(message->ID(), {});
    again->SetBody("short");
    again->Save();
    EXPECT_EQ("short", rdo().GetMessageFromID(message->ID(), {})->Body());
    EXPECT_TRUE(Organisation(world.storePath()).Check().empty());
}

TEST_F(StoreObjects, NothingIsWrittenBeforeSave) {
    auto message = inbox->Items()->Add("IPM.Note");
    message->SetSubject("draft");
    EXPECT_TRUE(message->ID().empty());
    EXPECT_EQ(0, inbox->Items()->Count());
    message->Save();
    EXPECT_EQ(1, inbox->Items()->Count());
    message->SetSubject("later");
    EXPECT_EQ("draft", rdo().GetMessageFromID(message->ID(), {})->Subject());
}

TEST_F(StoreObjects, TheLastSaveWinsForEachPropertyByItself) {
    auto first = add("IPM.Note", "x");
    auto a = rdo().GetMessageFromID(first->ID(), {});
    auto other = world.OtherSession();
    auto b = other->GetMessageFromID(first->ID(), {});
    a->SetFields(key(*a, "A", PropType::String), "from a");
    b->SetFields(key(*b, "B", PropType::String), "from b");
    a->Save();
    b->Save();
    auto now = rdo().GetMessageFromID(first->ID(), {});
    EXPECT_EQ("from a", now->Fields(key(*now, "A", PropType::String)).text());
    EXPECT_EQ("from b", now->Fields(key(*now, "B", PropType::String)).text());
    EXPECT_EQ("x", now->Subject());
}

TEST_F(StoreObjects, AnOpenedObjectIsASnapshot) {
    auto first = add("IPM.Note", "before");
    auto snapshot = rdo().GetMessageFromID(first->ID(), {});
    first->SetSubject("after");
    first->Save();
    EXPECT_EQ("before", snapshot->Subject());
    EXPECT_EQ("after", rdo().GetMessageFromID(first->ID(), {})->Subject());
}

TEST_F(StoreObjects, ADeletedMessageCantBeSavedOrOpened) {
    auto message = add("IPM.Note", "x");
    auto other = rdo().GetMessageFromID(message->ID(), {});
    message->Delete();
    EXPECT_THROW(rdo().GetMessageFromID(message->ID(), {}), PlatformError);
    other->SetSubject("y");
    try {
        other->Save();
        FAIL() << "saved a deleted message";
    } catch (const PlatformError& e) {
        EXPECT_EQ(MAPI_E_OBJECT_DELETED, e.number());
    }
    EXPECT_EQ(0, inbox->Items()->Count());
}

TEST_F(StoreObjects, NormalAndHiddenItemsAreTwoSides) {
    add("IPM.Note", "seen");
    auto hidden = inbox->HiddenItems()->Add("IPM.Config");
    hidden->SetSubject("hidden");
    hidden->Save();
    EXPECT_EQ(1, inbox->Items()->Count());
    EXPECT_EQ(1, inbox->HiddenItems()->Count());
    EXPECT_EQ("hidden", inbox->HiddenItems()->Item(1)->Subject());
    EXPECT_EQ(Value(true), rdo().GetMessageFromID(hidden->ID(), {})->Fields(PR_ASSOCIATED));
}

TEST_F(StoreObjects, ItemsCountFromOneInTheOrderOfCreation) {
    for (const char* subject : {"one", "two", "three"})
        add("IPM.Note", subject);
    auto items = inbox->Items();
    EXPECT_EQ("one", items->Item(1)->Subject());
    EXPECT_EQ("two", items->Item(2)->Subject());
    EXPECT_EQ("three", items->Item(3)->Subject());
    EXPECT_EQ("one", items->Item(1)->Subject());
    EXPECT_THROW(items->Item(0), PlatformError);
    EXPECT_THROW(items->Item(4), PlatformError);
}

TEST_F(StoreObjects, FoldersAreUniqueAmongSiblingsWithoutCase) {
    auto folders = inbox->Folders();
    auto made = folders->Add("\xC3\x89t\xC3\xA9", "IPF.Contact");
    auto again = folders->Add("\xC3\xA9T\xC3\x89");
    EXPECT_EQ(made->ID(), again->ID());
    EXPECT_EQ("IPF.Contact", again->DefaultItemClass());
    EXPECT_EQ(1, folders->Count());
    EXPECT_EQ(nullptr, folders->Item("other"));
    auto second = folders->Add("Second");
    EXPECT_THROW(second->SetName("\xC3\x89T\xC3\xA9"), PlatformError);
    second->SetName("Third");
    EXPECT_EQ("Third", rdo().GetFolderFromID(second->ID(), {})->Name());
    EXPECT_EQ(inbox->ID(), second->Parent()->ID());
}

TEST_F(StoreObjects, AFolderGoesWithAllBelowIt) {
    auto outer = inbox->Folders()->Add("Outer");
    auto inner = outer->Folders()->Add("Inner");
    auto message = inner->Items()->Add("IPM.Note");
    message->Save();
    outer->Delete();
    EXPECT_EQ(0, inbox->Folders()->Count());
    EXPECT_THROW(rdo().GetFolderFromID(inner->ID(), {}), PlatformError);
    EXPECT_THROW(rdo().GetMessageFromID(message->ID(), {}), PlatformError);
    EXPECT_TRUE(Organisation(world.storePath()).Check().empty());
}

TEST_F(StoreObjects, FolderPropertiesAreKept) {
    const PropTag tag = key(*inbox, "Folder Key", PropType::String);
    inbox->SetFields(tag, "kept");
    inbox->Save();
    EXPECT_EQ("kept", rdo().GetFolderFromID(inbox->ID(), {})->Fields(tag).text());
}

TEST_F(StoreObjects, DefaultFoldersHaveTheirClasses) {
    EXPECT_EQ("IPF.Contact", rdo().GetDefaultFolder(10)->DefaultItemClass());
    EXPECT_EQ("IPF.StickyNote", rdo().GetDefaultFolder(12)->DefaultItemClass());
    EXPECT_EQ("IPF.Task", rdo().GetDefaultFolder(13)->DefaultItemClass());
    EXPECT_EQ("Outbox", rdo().GetDefaultFolder(4)->Name());
    EXPECT_EQ("All Public Folders", rdo().GetDefaultFolder(18)->Name());
    EXPECT_THROW(rdo().GetDefaultFolder(99), PlatformError);
}

TEST_F(StoreObjects, NamedPropertiesHaveOtherIdsInAnotherStore) {
    auto shared = rdo().GetSharedMailbox("SMTP:alice@example.test");
    const PropTag here = inbox->GetIDsFromNames(PS_PUBLIC_STRINGS, "EPS.Status");
    const PropTag there = shared->RootFolder()->GetIDsFromNames(PS_PUBLIC_STRINGS, "EPS.Status");
    EXPECT_NE(here, there);
    EXPECT_GE(PropId(here), 0x8000);
    EXPECT_EQ(here, world.OtherSession()->GetDefaultFolder(6)->GetIDsFromNames(PS_PUBLIC_STRINGS,
                                                                               "EPS.Status"));
}

TEST_F(StoreObjects, ANameByNumberIsNotTheSameNameAsText) {
    const PropTag byNumber = inbox->GetIDsFromNames(PSETID_Address, "0x8051");
    const PropTag byText = inbox->GetIDsFromNames(PSETID_Address, "8051");
    EXPECT_NE(byNumber, byText);
    const auto name = inbox->NameOf(byNumber);
    ASSERT_TRUE(name);
    EXPECT_TRUE(name->byNumber);
    EXPECT_EQ(0x8051u, name->lid);
    EXPECT_EQ("8051", inbox->NameOf(byText)->name);
}

TEST_F(StoreObjects, KeysThatDifferInCaseAreTwoKeys) {
    EXPECT_NE(inbox->GetIDsFromNames(PS_PUBLIC_STRINGS, "Key"),
              inbox->GetIDsFromNames(PS_PUBLIC_STRINGS, "KEY"));
}

TEST_F(StoreObjects, AttachmentsRoundTrip) {
    const std::string path = world.folder() + "/\xC3\xBC b.bin";
    std::string big(10 * 1024 * 1024, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 31);
    std::ofstream(path, std::ios::binary) << big;
    auto message = add("IPM.Note", "with file");
    message->Attachments()->Add(path);
    message->Attachments()->AddContent("../../evil\\name.txt", Bytes{'h', 'i'});
    message->Save();
    auto again = rdo().GetMessageFromID(message->ID(), {});
    ASSERT_EQ(2, again->Attachments()->Count());
    EXPECT_EQ("\xC3\xBC b.bin", again->Attachments()->Item(1)->DisplayName());
    EXPECT_EQ("name.txt", again->Attachments()->Item(2)->DisplayName());
    EXPECT_EQ(Value(true), again->Fields(PR_HASATTACH));
    const std::string copy = world.folder() + "/copy.bin";
    again->Attachments()->Item(1)->SaveAsFile(copy);
    std::ifstream in(copy, std::ios::binary);
    EXPECT_EQ(big, std::string(std::istreambuf_iterator<char>(in), {}));
    again->Attachments()->Item(1)->Delete();
    again->Save();
    EXPECT_EQ(1, rdo().GetMessageFromID(message->ID(), {})->Attachments()->Count());
    EXPECT_TRUE(Organisation(world.storePath()).Check().empty());
}

TEST_F(StoreObjects, AnEmbeddedMessageIsAMessage) {
    auto inner = add("IPM.Contact", "inner");
    auto outer = add("IPM.Note", "outer");
    outer->Attachments()->AddMessage(*inner);
    outer->Save();
    inner->Delete();
    auto again = rdo().GetMessageFromID(outer->ID(), {});
    auto embedded = again->Attachments()->Item(1)->EmbeddedMessage();
    ASSERT_NE(nullptr, embedded);
    EXPECT_EQ("inner", embedded->Subject());
    EXPECT_EQ("IPM.Contact", embedded->MessageClass());
    EXPECT_EQ(1, inbox->Items()->Count());
    again->Delete();
    EXPECT_TRUE(Organisation(world.storePath()).Check().empty());
}

TEST_F(StoreObjects, SendReachesPeopleAndListsOnceEach) {
    auto message = rdo().GetDefaultFolder(4)->Items()->Add("IPM.Note");
    message->SetSubject("to all");
    message->SetFields(key(*message, "My Key", PropType::String), "value");
    message->Recipients()->AddEntry(world.Entry("Sales")->ID());
    message->Recipients()->Add("alice@example.test");
    message->Send();
    for (const char* alias : {"alice", "bob", "obrien"}) {
        auto items = world.OtherSession(alias)->GetDefaultFolder(6)->Items();
        ASSERT_EQ(1, items->Count()) << alias;
        auto received = items->Item(1);
        EXPECT_EQ("to all", received->Subject());
        // the same name, by the id that this store has for it
        EXPECT_EQ("value", received->Fields(key(*received, "My Key", PropType::String)).text());
        EXPECT_EQ(2, received->Recipients()->Count());
    }
    EXPECT_EQ(0, rdo().GetDefaultFolder(4)->Items()->Count());
    EXPECT_EQ(1, rdo().GetDefaultFolder(5)->Items()->Count());
}

TEST_F(StoreObjects, SendWithoutRecipientsIsRefused) {
    auto message = rdo().GetDefaultFolder(4)->Items()->Add("IPM.Note");
    EXPECT_THROW(message->Send(), PlatformError);
}

TEST_F(StoreObjects, TwoFormsOfAnIdNameOneObject) {
    auto message = add("IPM.Note", "x");
    auto table = inbox->Items()->Table();
    table->Columns({PR_ENTRYID, PR_LONGTERM_ENTRYID_FROM_TABLE});
    const TableRows rows = table->GetRows();
    ASSERT_EQ(1u, rows.rows);
    const EntryID shortTerm(HexOf(rows.at(0, 0).bytes.data(), rows.at(0, 0).bytes.size()));
    const EntryID longTerm(HexOf(rows.at(0, 1).bytes.data(), rows.at(0, 1).bytes.size()));
    EXPECT_NE(shortTerm, longTerm);
    EXPECT_EQ(140u, longTerm.text().size());
    EXPECT_EQ(92u, inbox->ID().text().size());
    auto store = rdo().Stores().DefaultStore();
    EXPECT_TRUE(store->CompareEntryIDs(shortTerm, longTerm));
    EXPECT_TRUE(store->CompareEntryIDs(longTerm, message->ID()));
    EXPECT_FALSE(store->CompareEntryIDs(longTerm, inbox->ID()));
    EXPECT_THROW(store->CompareEntryIDs(longTerm, EntryID("no id")), PlatformError);
    EXPECT_EQ(longTerm, rdo().GetMessageFromID(shortTerm, {})->ID());
    // it ends with its session
    EXPECT_THROW(world.OtherSession()->GetMessageFromID(shortTerm, {}), PlatformError);
}

TEST_F(StoreObjects, AnIdOfAnotherStoreNeedsThatStoresId) {
    auto folder = rdo().Stores().AllPublicFolders()->Folders()->Item("Shared");
    auto message = folder->Items()->Add("IPM.Contact");
    message->Save();
    EXPECT_THROW(rdo().GetMessageFromID(message->ID(), {}), PlatformError);
    EXPECT_THROW(rdo().GetFolderFromID(folder->ID(), {}), PlatformError);
    const EntryID publicStore = rdo().Stores().PublicStore()->ID();
    EXPECT_EQ(message->ID(), rdo().GetMessageFromID(message->ID(), publicStore)->ID());
    EXPECT_EQ(folder->ID(), rdo().GetFolderFromID(folder->ID(), publicStore)->ID());
    EXPECT_EQ("Public Folders", rdo().GetStoreFromID(publicStore)->Name());
}

TEST_F(StoreObjects, BrokenIdsAreNotFound) {
    const std::string good = inbox->ID().text();
    for (const std::string& bad :
         {std::string(), std::string("0"), std::string("ZZ"), good.substr(0, 40), good + "00",
          std::string(92, 'F'), std::string(140, '0')}) {
        EXPECT_THROW(rdo().GetFolderFromID(EntryID(bad), {}), PlatformError) << bad;
        EXPECT_THROW(rdo().GetMessageFromID(EntryID(bad), {}), PlatformError) << bad;
    }
}

TEST_F(StoreObjects, TheAddressBookKnowsPeopleListsAndContacts) {
    auto alice = world.Entry("Alice Adams");
    ASSERT_NE(nullptr, alice);
    EXPECT_EQ("EX", alice->Type());
    EXPECT_EQ("alice@example.test", alice->SMTPAddress());
    EXPECT_EQ(Value(Strings{"SMTP:alice@example.test", "smtp:alice@old.test"}),
              alice->Fields(PR_EMS_PROXY_ADDRESSES));
    auto sales = world.Entry("Sales");
    EXPECT_EQ(1, sales->DisplayType());
    ASSERT_EQ(3u, sales->Members().size());
    EXPECT_EQ("Alice Adams", sales->Members()[0]->Name());
    EXPECT_EQ("Nested", sales->Members()[2]->Name());
    EXPECT_EQ(sales->ID(), sales->Members()[2]->Members()[1]->ID());
    EXPECT_EQ(6, world.Entry("Carol Contact")->DisplayType());
    EXPECT_EQ(3, world.Entry("Everybody")->DisplayType());
    auto book = rdo().GetAddressBook();
    EXPECT_EQ(alice->ID(), book->GetAddressEntryFromID(alice->ID())->ID());
    EXPECT_EQ(8, book->GAL()->Entries()->Count());
    EXPECT_EQ("Agent Mailbox", book->GAL()->Entries()->Item(1)->Name());
}

TEST_F(StoreObjects, SearchIgnoresCaseAndFindsAddresses) {
    auto book = rdo().GetAddressBook();
    ASSERT_EQ(1u, book->Search("s\xC3\xA9"
                               "AN",
                               10)
                      .size());
    EXPECT_EQ("S\xC3\xA9"
              "an O'Brien",
              book->Search("S\xC3\x89"
                           "an O'",
                           10)[0]
                  .name);
    EXPECT_EQ(1u, book->Search("OBRIEN@example", 10).size());
    EXPECT_EQ(3u, book->Search("", 3).size());
    EXPECT_TRUE(book->Search("%", 10).empty());
    EXPECT_TRUE(book->Search("' OR 1=1", 10).empty());
}

TEST_F(StoreObjects, ServerAliasAndProfileLeadToTheMailbox) {
    auto session = world.store->CreateSession();
    EXPECT_FALSE(session->LoggedOn());
    EXPECT_THROW(session->GetDefaultFolder(6), PlatformError);
    session->Logon("Agent Profile", "", false, true, 0);
    EXPECT_TRUE(session->LoggedOn());
    EXPECT_EQ("Mailbox - Agent Mailbox", session->Stores().DefaultStore()->Name());
    EXPECT_EQ("agentbox@example.test", session->CurrentUser()->SMTPAddress());
    session->Logoff();
    EXPECT_FALSE(session->LoggedOn());
    session->LogonExchangeMailbox("ALICE", "mail01");
    EXPECT_EQ("Alice Adams", session->CurrentUser()->Name());
}

TEST_F(StoreObjects, RefusedLogonsSayWhy) {
    const auto reason = [&](auto logon) {
        auto session = world.store->CreateSession();
        try {
            logon(*session);
        } catch (const PlatformError& e) {
            EXPECT_EQ(MAPI_E_LOGON_FAILED, e.number());
            EXPECT_FALSE(session->LoggedOn());
            return e.description();
        }
        return std::string("logged on");
    };
    EXPECT_EQ("The server MAIL99 is not known. The name could not be resolved.",
              reason([](RDOSession& s) { s.LogonExchangeMailbox("agentbox", "MAIL99"); }));
    EXPECT_EQ("There is no mailbox named nobody on this server.",
              reason([](RDOSession& s) { s.LogonExchangeMailbox("nobody", "MAIL01"); }));
    EXPECT_EQ("There is no mail profile named Gone.",
              reason([](RDOSession& s) { s.Logon("Gone", "", false, true, 0); }));
    std::filesystem::remove(world.storePath());
    EXPECT_NE(std::string::npos, reason([](RDOSession& s) {
                                     s.LogonExchangeMailbox("agentbox", "MAIL01");
                                 }).find("is not available"));
}

TEST_F(StoreObjects, ChangesOfOthersAreHeardAndOwnOnesAreNot) {
    rdo().PollChanges();
    add("IPM.Note", "own");
    EXPECT_TRUE(rdo().PollChanges().empty());
    auto other = world.OtherSession();
    auto message = other->GetDefaultFolder(6)->Items()->Add("IPM.Note");
    message->Save();
    message->SetSubject("changed");
    message->Save();
    const StoreChanges changes = rdo().PollChanges();
    ASSERT_EQ(2u, changes.changes.size());
    EXPECT_EQ(StoreChange::New, changes.changes[0].kind);
    EXPECT_EQ(StoreChange::Changed, changes.changes[1].kind);
    EXPECT_EQ(message->ID(), changes.changes[1].object);
    EXPECT_EQ(inbox->ID(), changes.changes[1].folder);
    message->Delete();
    const StoreChanges deleted = rdo().PollChanges();
    ASSERT_EQ(1u, deleted.changes.size());
    EXPECT_EQ(StoreChange::Deleted, deleted.changes[0].kind);
    EXPECT_TRUE(rdo().PollChanges().empty());
}

TEST_F(StoreObjects, AVanishedFileIsNoticed) {
    EXPECT_TRUE(rdo().StillThere());
    std::filesystem::rename(world.storePath(), world.storePath() + ".away");
    EXPECT_FALSE(rdo().StillThere());
}

TEST_F(StoreObjects, AMovedMessageIsWholeInTheOtherStore) {
    auto message = add("IPM.Post", "Moves");
    message->SetFields(key(*message, "Moved Key", PropType::String), "kept");
    message->SetFields(key(*message, "Long Key", PropType::String), std::string(100000, 'x'));
    message->Save();
    const EntryID before = message->ID();
    const Time created = message->CreationTime();
    auto target = rdo().Stores().AllPublicFolders()->Folders()->Item("Shared");
    const PropTag otherId = key(*target, "A Key That Shifts The Ids", PropType::String);
    EXPECT_NE(PropId(otherId), 0);

    message->MoveTo(*target);
    EXPECT_EQ(inbox->Items()->Count(), 0);
    ASSERT_EQ(target->Items()->Count(), 1);
    EXPECT_THROW(rdo().GetMessageFromID(before, {}), PlatformError);
    EXPECT_NE(message->ID(), before);
    auto moved = rdo().GetMessageFromID(message->ID(), target->StoreID());
    EXPECT_EQ(moved->Subject(), "Moves");
    EXPECT_EQ(moved->CreationTime(), created);
    EXPECT_EQ(moved->Parent()->ID(), target->ID());
    EXPECT_EQ(moved->Fields(key(*moved, "Moved Key", PropType::String)), Value("kept"));
    EXPECT_EQ(moved->Fields(key(*moved, "Long Key", PropType::String)).text().size(), 100000U);
    // the object goes on with the moved message
    message->SetSubject("Moved");
    message->Save();
    EXPECT_EQ(rdo().GetMessageFromID(message->ID(), target->StoreID())->Subject(), "Moved");
    EXPECT_EQ(target->Items()->Count(), 1);
}

TEST_F(StoreObjects, MovesThatCantBeAreRefusedAndChangeNothing) {
    auto fresh = inbox->Items()->Add("IPM.Note");
    EXPECT_THROW(fresh->MoveTo(*inbox), PlatformError);
    auto message = add("IPM.Note", "Stays");
    const EntryID before = message->ID();
    message->MoveTo(*inbox); // where it lies already
    EXPECT_EQ(message->ID(), before);
    auto gone = inbox->Folders()->Add("Gone");
    auto same = inbox->Folders()->Item("Gone");
    same->Delete();
    EXPECT_THROW(message->MoveTo(*gone), PlatformError);
    EXPECT_EQ(message->ID(), before);
    EXPECT_EQ(inbox->Items()->Count(), 1);
    rdo().GetMessageFromID(before, {})->Delete();
    auto other = inbox->Folders()->Add("Other");
    EXPECT_THROW(message->MoveTo(*other), PlatformError);
    EXPECT_EQ(other->Items()->Count(), 0);
}

} // namespace
