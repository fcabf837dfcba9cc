#include "tests/platform/store/StoreFixture.h"

namespace {

using namespace kr;

/// Attachments, recipients, sending, long values, ids: what goes between stores and sessions.
class StoreMail : public StoreFixture {
protected:
    StoreMail() : org(path), session(org.OpenSession("alice")), inbox(inboxOf(*session)) {}
    static void list(Organisation& to, const std::string& alias, int type,
                     const std::vector<std::string>& members) {
        NewAddressEntry entry = person(alias, alias);
        entry.displayType = type;
        to.AddEntry(entry);
        for (const std::string& member : members)
            to.AddMember(entry.dn, person(member, "").dn);
    }
    RDOMessagePtr draft(std::string_view subject) {
        auto message = session->GetDefaultFolder(static_cast<int>(DefaultFolder::Drafts))
                           ->Items()
                           ->Add("IPM.Note");
        message->SetSubject(subject);
        return message;
    }

    Organisation org;
    RDOSessionPtr session;
    RDOFolderPtr inbox;
};

TEST_F(StoreMail, AnAttachmentOfTenMegabytesComesBackByteByByte) {
    Bytes large(10 << 20);
    for (size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    auto message = inbox->Items()->Add("IPM.Note");
    message->Attachments()->AddContent("large.bin", large);
    EXPECT_TRUE(message->Attachments()->Item(1)->Content() == large);
    message->Save();
    auto attachment = session->GetMessageFromID(message->ID(), {})->Attachments()->Item(1);
    EXPECT_EQ(attachment->Size(), 10 << 20);
    attachment->SaveAsFile(folder + "/out.bin");
    const std::string out = contentOf(folder + "/out.bin");
    EXPECT_TRUE(std::equal(out.begin(), out.end(), large.begin(), large.end(),
                           [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; }));
}

TEST_F(StoreMail, FileNamesComeDownToTheirLastPart) {
    auto message = inbox->Items()->Add("IPM.Note");
    message->Attachments()->AddContent("../../etc/passwd", Bytes{1});
    message->Attachments()->AddContent("C:\\Temp\\x.txt", Bytes{2});
    EXPECT_EQ(message->Attachments()->Item(1)->DisplayName(), "passwd");
    EXPECT_EQ(message->Attachments()->Item(2)->DisplayName(), "x.txt");
}

TEST_F(StoreMail, AFileThatCantBeReadIsNotAttached) {
    auto message = inbox->Items()->Add("IPM.Note");
    EXPECT_NE(failure([&] { message->Attachments()->Add(folder + "/none.txt"); }), 0);
    EXPECT_NE(failure([&] { message->Attachments()->Add(folder); }), 0);
    EXPECT_EQ(message->Attachments()->Count(), 0);
}

TEST_F(StoreMail, SaveAsFileReplacesWhollyOrNotAtAll) {
    auto message = inbox->Items()->Add("IPM.Note");
    message->Attachments()->AddContent("a.txt", Bytes{'n', 'e', 'w'});
    message->Save();
    auto attachment = message->Attachments()->Item(1);
    write(folder + "/a.txt", "old and longer");
    attachment->SaveAsFile(folder + "/a.txt");
    EXPECT_EQ(contentOf(folder + "/a.txt"), "new");
    EXPECT_NE(failure([&] { attachment->SaveAsFile(folder + "/none/a.txt"); }), 0);
    std::filesystem::create_directory(folder + "/taken");
    EXPECT_NE(failure([&] { attachment->SaveAsFile(folder + "/taken"); }), 0);
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        EXPECT_EQ(entry.path().string().find("taken."), std::string::npos) << entry.path();
}

TEST_F(StoreMail, ADeletedAttachmentGoesWithTheSave) {
    auto message = inbox->Items()->Add("IPM.Note");
    message->Attachments()->AddContent("a", Bytes{1});
    message->Attachments()->AddContent("b", Bytes{2});
    message->Save();
    EXPECT_EQ(message->Fields(PR_HASATTACH), Value(true));
    auto first = session->GetMessageFromID(message->ID(), {});
    ASSERT_EQ(first->Attachments()->Count(), 2);
    auto second = session->GetMessageFromID(message->ID(), {});
    second->Attachments()->AddContent("c", Bytes{3}); // another program's stays
    second->Save();
    first->Attachments()->Item(1)->Delete();
    EXPECT_EQ(first->Attachments()->Count(), 1);
    EXPECT_EQ(session->GetMessageFromID(message->ID(), {})->Attachments()->Count(), 3);
    first->Save();
    auto again = session->GetMessageFromID(message->ID(), {});
    ASSERT_EQ(again->Attachments()->Count(), 2);
    EXPECT_EQ(again->Attachments()->Item(1)->DisplayName(), "b");
    EXPECT_EQ(again->Attachments()->Item(2)->Content(), Bytes{3});
    EXPECT_EQ(again->Fields(PR_HASATTACH), Value(true));
    again->Attachments()->Item(2)->Delete();
    again->Attachments()->Item(1)->Delete();
    again->Save();
    EXPECT_EQ(session->GetMessageFromID(message->ID(), {})->Fields(PR_HASATTACH), Value(false));
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreMail, AnEmbeddedMessageOfAnotherStoreKeepsItsKeys) {
    auto shared = session->Stores().AllPublicFolders()->Folders()->Add("Shared");
    shared->GetIDsFromNames(PS_PUBLIC_STRINGS, "Other Key First");
    auto inner = shared->Items()->Add("IPM.Task");
    inner->SetSubject("inner");
    inner->SetFields(key(*inner, "Inner Key"), "value");
    inner->SetBody(std::string(5000, 'i'));
    inner->Attachments()->AddContent("deep.txt", Bytes{9});
    inner->Save();
    auto outer = inbox->Items()->Add("IPM.Note");
    outer->Attachments()->AddMessage(*inner);
    outer->Save();
    inner->Delete();
    auto attachment = session->GetMessageFromID(outer->ID(), {})->Attachments()->Item(1);
    auto embedded = attachment->EmbeddedMessage();
    ASSERT_TRUE(embedded);
    EXPECT_EQ(embedded->Subject(), "inner");
    EXPECT_EQ(embedded->MessageClass(), "IPM.Task");
    EXPECT_EQ(embedded->Fields(key(*embedded, "Inner Key")).text(), "value");
    EXPECT_EQ(embedded->Body(), std::string(5000, 'i'));
    EXPECT_EQ(embedded->Attachments()->Item(1)->Content(), Bytes{9});
    EXPECT_EQ(inbox->Items()->Count(), 1);
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
    outer->Delete();
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreMail, DeliveredMessagesKeepKeysLongValuesAndAttachments) {
    auto bob = org.OpenSession("bob");
    inboxOf(*bob)->GetIDsFromNames(PS_PUBLIC_STRINGS, "Something of Bob");
    auto message = draft("To Bob");
    message->SetFields(key(*message, "Email"), "x@example.test"); // an indexed key
    message->SetFields(key(*message, "Long"), std::string(3000, 'l'));
    message->Attachments()->AddContent("a.txt", Bytes{1, 2});
    message->Recipients()->Add("bob@example.test");
    message->Recipients()->Add("outside@partner.test");
    message->Send();
    auto received = inboxOf(*bob)->Items();
    ASSERT_EQ(received->Count(), 1);
    auto copy = received->Item(1);
    EXPECT_EQ(copy->Fields(key(*copy, "Email")).text(), "x@example.test");
    EXPECT_EQ(copy->Fields(key(*copy, "Long")).text(), std::string(3000, 'l'));
    EXPECT_EQ(copy->Attachments()->Item(1)->Content(), (Bytes{1, 2}));
    EXPECT_EQ(copy->Recipients()->Count(), 2);
    auto table = received->Table();
    table->Columns({PR_SUBJECT});
    Restriction byKey = CreateRestriction(Restriction::Content);
    byKey.tag = key(*copy, "Email");
    byKey.fuzzyLevel = FL_IGNORECASE;
    byKey.value = "X@EXAMPLE.TEST";
    table->Restrict(byKey);
    EXPECT_EQ(table->GetRows().rows, 1u);
    auto sent = session->GetDefaultFolder(static_cast<int>(DefaultFolder::SentMail))->Items();
    ASSERT_EQ(sent->Count(), 1);
    EXPECT_EQ(sent->Item(1)->Fields(key(*sent->Item(1), "Email")).text(), "x@example.test");
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreMail, ListsThatHoldThemselvesDeliverOnceAndQueryListsNotAtAll) {
    list(org, "query", 3, {});
    list(org, "inner", 4, {"bob"});
    list(org, "outer", 1, {"inner", "bob", "query"});
    org.AddMember(person("inner", "").dn, person("outer", "").dn);
    org.AddMember(person("outer", "").dn, person("outer", "").dn);
    auto message = draft("all");
    message->Recipients()->Add("outer");
    message->Send();
    EXPECT_EQ(inboxOf(*org.OpenSession("bob"))->Items()->Count(), 1);
    EXPECT_EQ(inbox->Items()->Count(), 0);
}

TEST_F(StoreMail, HiddenItemsAndUnknownNamesAreNotSent) {
    auto hidden = inbox->HiddenItems()->Add("IPM.Note");
    hidden->Recipients()->Add("bob");
    EXPECT_NE(failure([&] { hidden->Send(); }), 0);
    EXPECT_EQ(failure([&] { draft("x")->Recipients()->Add("Nobody Known"); }), MAPI_E_NOT_FOUND);
    EXPECT_EQ(inboxOf(*org.OpenSession("bob"))->Items()->Count(), 0);
}

TEST_F(StoreMail, ARecipientWhoseEntryIsUnknownKeepsItsName) {
    auto message = draft("x");
    message->Recipients()->Add("Bob Baker");
    message->Recipients()->Add("smtp:Somebody@Partner.test");
    message->Save();
    auto again = session->GetMessageFromID(message->ID(), {});
    ASSERT_EQ(again->Recipients()->Count(), 2);
    EXPECT_EQ(again->Recipients()->Item(1)->Name(), "Bob Baker");
    EXPECT_EQ(again->Recipients()->Item(1)->Address(), person("bob", "").dn);
    EXPECT_EQ(again->Recipients()->Item(2)->Address(), "Somebody@Partner.test");
    EXPECT_EQ(again->Recipients()->Item(2)->Entry()->Type(), "SMTP");
    again->Recipients()->Remove(1);
    again->Save();
    EXPECT_EQ(session->GetMessageFromID(message->ID(), {})->Recipients()->Count(), 1);
}

TEST_F(StoreMail, AnOpenedObjectKeepsItsLongValuesToo) {
    auto message = add(inbox, "x");
    message->SetBody(std::string(2000, 'a'));
    message->Save();
    auto opened = session->GetMessageFromID(message->ID(), {});
    message->SetBody("short now");
    message->Save();
    EXPECT_EQ(opened->Body(), std::string(2000, 'a'));
    EXPECT_EQ(session->GetMessageFromID(message->ID(), {})->Body(), "short now");
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreMail, AFurtherAddressLeadsToTheMailbox) {
    NewAddressEntry dora = person("dora", "Dora");
    dora.proxies = {"smtp:d.dorn@example.test"};
    org.AddMailbox(dora);
    const EntryID store = session->GetSharedMailbox("SMTP:Dora@Example.test")->ID();
    EXPECT_EQ(session->GetSharedMailbox("SMTP:d.dorn@example.test")->ID(), store);
    auto message = draft("x");
    message->Recipients()->Add("D.Dorn@example.test");
    message->Send();
    EXPECT_EQ(inboxOf(*org.OpenSession("dora"))->Items()->Count(), 1);
    EXPECT_EQ(failure([&] { session->GetSharedMailbox("SMTP:nobody@example.test"); }),
              MAPI_E_NOT_FOUND);
}

TEST_F(StoreMail, AShortTermIdEndsWithItsSession) {
    auto message = add(inbox, "x");
    auto table = inbox->Items()->Table();
    table->Columns({PR_ENTRYID});
    const auto bytes = table->GetRows().at(0, 0).bytes;
    std::string hex;
    for (const char c : bytes) {
        char two[3];
        snprintf(two, sizeof two, "%02X", static_cast<uint8_t>(c));
        hex += two;
    }
    const EntryID shortId(hex);
    auto store = session->Stores().DefaultStore();
    EXPECT_NE(shortId, message->ID());
    EXPECT_TRUE(store->CompareEntryIDs(shortId, message->ID()));
    EXPECT_EQ(session->GetMessageFromID(shortId, {})->ID(), message->ID());
    EXPECT_EQ(
        failure([&] { session->GetMessageFromID(shortId, session->Stores().PublicStore()->ID()); }),
        MAPI_E_NOT_FOUND);
    auto later = org.OpenSession("alice");
    EXPECT_EQ(failure([&] { later->GetMessageFromID(shortId, {}); }), MAPI_E_NOT_FOUND);
    EXPECT_NE(failure([&] { store->CompareEntryIDs(EntryID("ABCD"), message->ID()); }), 0);
}

TEST_F(StoreMail, LogoffEndsTheSessionsObjects) {
    auto message = add(inbox, "x");
    const EntryID id = message->ID();
    session->Logoff();
    EXPECT_FALSE(session->LoggedOn());
    EXPECT_NE(failure([&] { session->GetMessageFromID(id, {}); }), 0);
    message->SetSubject("y");
    EXPECT_NE(failure([&] { message->Save(); }), 0);
    EXPECT_NE(failure([&] { inbox->Items()->Count(); }), 0);
}

TEST_F(StoreMail, FuzzyLevelsIgnoreMarks) {
    add(inbox, "Résumé Ångström");
    const auto found = [&](uint32_t level, std::string_view text) {
        auto table = inbox->Items()->Table();
        table->Columns({PR_SUBJECT});
        Restriction r = CreateRestriction(Restriction::Content);
        r.tag = PR_SUBJECT;
        r.fuzzyLevel = level;
        r.value = text;
        table->Restrict(r);
        return table->GetRows().rows == 1;
    };
    EXPECT_FALSE(found(FL_IGNORECASE, "resume angstrom"));
    EXPECT_TRUE(found(FL_IGNORECASE | 0x20000, "resume angstrom"));
    EXPECT_FALSE(found(0x20000, "resume angstrom"));
    EXPECT_TRUE(found(0x20000 | FL_PREFIX, "Resume"));
    EXPECT_TRUE(found(0x40000 | FL_SUBSTRING, "ANGSTROM"));
}

TEST_F(StoreMail, ItemsFollowWhatOthersAddAndDelete) {
    auto items = inbox->Items();
    auto a = add(inbox, "a");
    auto b = add(inbox, "b");
    EXPECT_EQ(items->Count(), 2);
    EXPECT_EQ(items->Item(2)->Subject(), "b");
    Organisation other(path);
    auto there = other.OpenSession("alice");
    there->GetMessageFromID(a->ID(), {})->Delete();
    add(inboxOf(*there), "c");
    EXPECT_EQ(items->Count(), 2);
    EXPECT_EQ(items->Item(1)->Subject(), "b");
    EXPECT_EQ(items->Item(2)->Subject(), "c");
    for (int i = items->Count(); i >= 1; --i)
        items->Item(i)->Delete();
    EXPECT_EQ(items->Count(), 0);
    EXPECT_EQ(failure([&] { items->Item(1); }), MAPI_E_NOT_FOUND);
}

TEST_F(StoreMail, AFolderThatOthersDeletedTakesNoMessages) {
    auto made = inbox->Folders()->Add("Gone");
    auto message = made->Items()->Add("IPM.Note");
    Organisation other(path);
    inboxOf(*other.OpenSession("alice"))->Folders()->Item("Gone")->Delete();
    EXPECT_EQ(failure([&] { message->Save(); }), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(failure([&] { made->Folders()->Add("Below"); }), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(org.Check(), std::vector<std::string>{});
}

TEST_F(StoreMail, DefaultFoldersAndRootsCantBeDeleted) {
    EXPECT_NE(failure([&] { inbox->Delete(); }), 0);
    EXPECT_NE(failure([&] { session->Stores().DefaultStore()->IPMRootFolder()->Delete(); }), 0);
    EXPECT_EQ(inboxOf(*session)->Name(), "Inbox");
}

TEST_F(StoreMail, FolderIdsAreNotUsedTwice) {
    auto first = inbox->Folders()->Add("One");
    const EntryID old = first->ID();
    first->Delete();
    auto second = inbox->Folders()->Add("Two");
    EXPECT_NE(second->ID(), old);
    EXPECT_EQ(failure([&] { session->GetFolderFromID(old, {}); }), MAPI_E_NOT_FOUND);
}

} // namespace
