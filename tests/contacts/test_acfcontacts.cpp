#include "contacts/basACFContacts.h"
#include "core/Trap.h"
#include "tests/contacts/AcfTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using Names = std::vector<std::string>;

class AcfContacts : public AcfTest {
protected:
    AcfContacts() { folder = publicFolder("Suppliers"); }
    struct Address {
        std::string_view id, text;
    };
    EntryID add(std::string_view name, const std::vector<Address>& addresses,
                bool displayName = true) {
        const RDOMessagePtr contact = folder->Items()->Add("IPM.Contact");
        contact->SetSubject(name);
        if (displayName)
            contact->SetFields(PR_DISPLAY_NAME, name);
        for (const Address& address : addresses)
            contact->SetFields(GetPropTag(*contact, address.id, PropType::String, PSETID_Address),
                               address.text);
        contact->Save();
        return contact->ID();
    }
    ContactRows read() {
        return ReadAcfContacts(session(), *folder, [] { return false; });
    }
    ContactRows readMcr() {
        return ReadMcrContacts(session(), *folder, [] { return false; });
    }
    RDOFolderPtr folder;
};

TEST_F(AcfContacts, ColumnsAndHiddenKey) {
    Names titles;
    for (const ListColumn& column : AcfColumns())
        if (column.visible())
            titles.push_back(column.title);
    EXPECT_EQ(titles, (Names{"Name", "E-mail 1", "E-mail 2", "Last Name", "First Name",
                             "Mobile Phone", "Office Phone", "Fax"}));
    EXPECT_EQ(AcfColumns().back().key, "sortdupes");
    titles.clear();
    for (const ListColumn& column : McrColumns())
        if (column.visible())
            titles.push_back(column.title);
    EXPECT_EQ(titles,
              (Names{"Name", "E-mail 1", "Granted Access", "Additional Restricted Fields"}));
    EXPECT_EQ(McrColumns().back().key, "sortdupes");
}

TEST_F(AcfContacts, ARowHasTheContactsFields) {
    const EntryID id = add("Adam Able", {{"0x8084", "adam@x"}, {"0x8094", "able@x"}});
    const RDOMessagePtr contact = GetMessage(session(), id);
    contact->SetFields(PR_SURNAME, "Able");
    contact->SetFields(PR_GIVEN_NAME, "Adam");
    contact->SetFields(PR_MOBILE_TELEPHONE_NUMBER, "1");
    contact->SetFields(PR_BUSINESS_TELEPHONE_NUMBER, "2");
    contact->SetFields(PR_BUSINESS_FAX_NUMBER, "3");
    contact->Save();
    const ContactRows contacts = read();
    ASSERT_EQ(contacts.rows.size(), 1u);
    const ListRow& row = contacts.rows[0];
    EXPECT_EQ(row.key, id.text());
    EXPECT_EQ(row.tag, "altcntct");
    EXPECT_EQ(row.icon, "imgContact");
    EXPECT_EQ(row.texts,
              (Names{"Adam Able", "adam@x", "able@x", "Able", "Adam", "1", "2", "3", "adam@x"}));
    EXPECT_FALSE(row.ghosted || row.bold);
    EXPECT_TRUE(contacts.whole());
}

TEST_F(AcfContacts, AddressesThatRepeatAreBold) {
    add("A", {{"0x8084", "one@x"}, {"0x8094", "one@x"}}); // twice in one row is none
    add("B", {{"0x8094", "two@x"}});
    add("C", {{"0x8084", "Two@X"}});
    add("D", {{"0x8084", "three@x"}, {"0x8094", "two@x"}});
    add("E", {});
    add("F", {});
    const ContactRows contacts = read();
    ASSERT_EQ(contacts.rows.size(), 6u);
    EXPECT_TRUE(contacts.duplicates);
    Names bold, keys;
    for (const ListRow& row : contacts.rows) {
        if (row.bold)
            bold.push_back(row.texts[0]);
        keys.push_back(row.texts.back());
    }
    EXPECT_EQ(bold, (Names{"B", "C", "D"}));
    EXPECT_EQ(keys, (Names{"one@x", "two@x_", "Two@X_", "three@x_", "ZZZZZZZZ", "ZZZZZZZZ"}));
    EXPECT_TRUE(contacts.rows[4].ghosted);
    EXPECT_FALSE(contacts.rows[1].ghosted); // a second address will do
}

TEST_F(AcfContacts, TheRepositoryShowsOneAddressAndPrivacy) {
    const EntryID id = add("Adam", {{"0x8083", "adam@x"}});
    const RDOMessagePtr contact = GetMessage(session(), id);
    SetKey(*contact, "EPS Access List Names", "Sales");
    SetKey(*contact, "EPS Private Fields", "Pager;Fax");
    contact->Save();
    add("Bea", {{"0x8083", "ADAM@x"}});
    add("Carl", {{"0x8083", "/o=x/cn=carl"}, {"0x8084", "carl@x"}}); // of the organisation
    add("Dora", {});
    add("Without a display name", {{"0x8083", "w@x"}}, false);
    const ContactRows contacts = readMcr();
    ASSERT_EQ(contacts.rows.size(), 4u);
    EXPECT_EQ(contacts.rows[0].tag, "mastercntct");
    EXPECT_EQ(contacts.rows[0].texts, (Names{"Adam", "adam@x", "Sales", "Pager;Fax", "adam@x_"}));
    EXPECT_TRUE(contacts.rows[0].bold && contacts.rows[1].bold);
    EXPECT_EQ(contacts.rows[2].texts[1], "carl@x");
    EXPECT_TRUE(contacts.rows[3].ghosted);
    EXPECT_TRUE(contacts.whole());
}

TEST_F(AcfContacts, QuickLoadEndsAtAThousand) {
    for (int i = 0; i < 1000; ++i)
        add("N" + std::to_string(i), {{"0x8084", "same@x"}});
    session().quickLoad = true;
    EXPECT_EQ(read().total, 1000);
    EXPECT_TRUE(read().whole());
    add("One more", {});
    EXPECT_EQ(read().rows.size(), 1000u);
    EXPECT_EQ(read().total, 1001);
    EXPECT_FALSE(read().whole());
    session().quickLoad = false;
    const int turns = world.ui.doEventsCalls();
    EXPECT_EQ(read().rows.size(), 1001u);
    EXPECT_EQ(world.ui.doEventsCalls() - turns, 21); // one for every fifty rows
    int looks = 0;
    const ContactRows stopped = ReadAcfContacts(session(), *folder, [&] { return ++looks > 2; });
    EXPECT_EQ(stopped.rows.size(), 100u);
}

/// Contacts whose addresses can't be had must not show as contacts without one.
TEST_F(AcfContacts, AFailedReadShowsNothing) {
    add("Adam Able", {{"0x8084", "adam@x"}, {"0x8094", "able@x"}});
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        const RDOFolderPtr same = failing.session.rdo->GetFolderFromID(
            folder->ID(), failing.session.rdo->Stores().PublicStore()->ID());
        arm(failing.store.plan());
        Trap(
            [&] {
                const auto never = [] { return false; };
                const ContactRows contacts = ReadAcfContacts(failing.session, *same, never);
                ASSERT_EQ(contacts.rows.size(), 1u);
                EXPECT_EQ(contacts.rows[0].texts[1], "adam@x");
                EXPECT_EQ(contacts.rows[0].texts[2], "able@x");
            },
            [&](const Trapped& error) { EXPECT_EQ(error.description, kFailure); });
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 3);
}

} // namespace
