#include <gtest/gtest.h>

#include "contacts/basPrivacy.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

std::string describe(const std::vector<PrivateField>& fields) {
    std::string text;
    for (const PrivateField& field : fields)
        if (field.checked)
            text += field.label + "=" + field.key + "|";
    return text;
}

TEST(PrivateFieldTable, HasTheFieldsInOrder) {
    const auto fields = PrivateFields("", "");
    ASSERT_EQ(fields.size(), 15U);
    EXPECT_EQ(fields[0].label, "PIN");
    EXPECT_EQ(fields[0].key, "PIN");
    EXPECT_EQ(fields[2].label, "Home Phone");
    EXPECT_EQ(fields[2].key, "EPS Home Phone");
    EXPECT_EQ(fields[11].label, "Pager");
    EXPECT_EQ(fields[11].key, "EPS Pager");
    EXPECT_EQ(fields[14].key, "Spouse");
    EXPECT_EQ(describe(fields), "");
    EXPECT_EQ(CheckedFields(fields), "");
}

TEST(PrivateFieldTable, MarksWhatIsRestricted) {
    const auto fields =
        PrivateFields("MobilePhone;EPS Home Phone;Unknown", " notes ;SPOUSE;MobilePhone;;Nothing");
    EXPECT_EQ(describe(fields), "Mobile Phone (EPS global restriction)=MobilePhone|"
                                "Home Phone (EPS global restriction)=EPS Home Phone|"
                                "Notes=Notes|Spouse=Spouse|");
    EXPECT_TRUE(fields[1].byDefault);
    EXPECT_FALSE(fields[13].byDefault);
    // what is restricted for all contacts isn't stored with one
    EXPECT_EQ(CheckedFields(fields), "Notes;Spouse");
}

class Privacy : public ::testing::Test {
protected:
    Privacy() { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    EntryID contact(std::string_view name) {
        auto message = world.session->rdo->GetDefaultFolder(10)->Items()->Add("IPM.Contact");
        message->SetSubject(name);
        message->Save();
        return message->ID();
    }
    void setKeys(const EntryID& id, std::string_view fields, std::string_view names,
                 std::string_view addresses) {
        auto message = GetMessage(session(), id);
        SetKey(*message, kPrivateFieldsKey, fields);
        SetKey(*message, kAccessNamesKey, names);
        SetKey(*message, kAccessListKey, addresses);
        message->Save();
    }
    Value key(const EntryID& id, std::string_view name) {
        return GetKey(*GetMessage(session(), id), name);
    }
    std::string number(long value) { return std::to_string(value); }

    World world;
};

TEST_F(Privacy, LoadsOneContact) {
    const EntryID carol = contact("Carol");
    setKeys(carol, "Notes;PIN", "Alice Adams", "alice@example.test");
    const auto loaded = LoadPrivacyContacts(session(), carol.text(), "Carol", "frmAccessListMC");
    EXPECT_TRUE(loaded.readable);
    EXPECT_FALSE(loaded.Several());
    EXPECT_EQ(loaded.Title(), "Carol");
    EXPECT_EQ(loaded.fields, "Notes;PIN");
    EXPECT_EQ(loaded.accessNames, "Alice Adams");
    EXPECT_EQ(loaded.accessAddresses, "alice@example.test");
    EXPECT_EQ(world.log(), "");
}

TEST_F(Privacy, OneContactThatCannotBeOpened) {
    const EntryID carol = contact("Carol");
    GetMessage(session(), carol)->Delete();
    const auto loaded = LoadPrivacyContacts(session(), carol.text(), "Carol", "frmAccessListMC");
    EXPECT_FALSE(loaded.readable);
    EXPECT_TRUE(
        world.logHas(":frmAccessListMC_Load: GetMessage failed " + number(MAPI_E_NOT_FOUND) + "\n"))
        << world.log();
}

TEST_F(Privacy, OfSeveralContactsTheNamesOfThoseThatOpen) {
    const EntryID carol = contact("Carol");
    const EntryID gone = contact("Gone");
    const EntryID dave = contact("Dave");
    setKeys(carol, "Notes", "Alice Adams", "alice@example.test");
    GetMessage(session(), gone)->Delete();
    const auto loaded =
        LoadPrivacyContacts(session(), carol.text() + ";" + gone.text() + ";" + dave.text(),
                            "Carol", "frmPrivateFieldsMC");
    EXPECT_TRUE(loaded.readable);
    EXPECT_TRUE(loaded.Several());
    EXPECT_EQ(loaded.Title(), "3 Contacts");
    EXPECT_EQ(loaded.names, "Carol\nDave\n");
    EXPECT_EQ(loaded.fields, "");
    EXPECT_EQ(loaded.accessNames, "");
    EXPECT_TRUE(world.logHas(":GetMessageFromID failed " + number(MAPI_E_NOT_FOUND) + "\n"));
}

TEST_F(Privacy, WritesWhatIsGivenAndNothingElse) {
    const EntryID carol = contact("Carol");
    setKeys(carol, "Notes", "Alice Adams", "alice@example.test");
    PrivacyChange fields;
    fields.fields = "PIN;Spouse";
    EXPECT_EQ(SavePrivacy(session(), {carol}, fields), 1);
    EXPECT_EQ(key(carol, "EPS Private Fields"), Value("PIN;Spouse"));
    EXPECT_EQ(key(carol, "EPS Access List"), Value("alice@example.test"));
    PrivacyChange access;
    access.access = {"Bob Baker;Sales", "bob@example.test;sales@example.test"};
    EXPECT_EQ(SavePrivacy(session(), {carol}, access), 1);
    EXPECT_EQ(key(carol, "EPS Private Fields"), Value("PIN;Spouse"));
    EXPECT_EQ(key(carol, "EPS Access List"), Value("bob@example.test;sales@example.test"));
    EXPECT_EQ(key(carol, "EPS Access List Names"), Value("Bob Baker;Sales"));
    EXPECT_TRUE(key(carol, "EPS Access List Email").empty());
}

TEST_F(Privacy, AnEmptyListTakesAllGrantsAway) {
    const EntryID carol = contact("Carol");
    setKeys(carol, "Notes", "Alice Adams", "alice@example.test");
    auto message = GetMessage(session(), carol);
    SetKey(*message, kAccessEmailKey, "alice@example.test");
    message->Save();
    PrivacyChange change;
    change.access = PrivacyChange::Access{};
    EXPECT_EQ(SavePrivacy(session(), {carol}, change), 1);
    EXPECT_EQ(key(carol, "EPS Access List"), Value(""));
    EXPECT_EQ(key(carol, "EPS Access List Names"), Value(""));
    EXPECT_EQ(key(carol, "EPS Access List Email"), Value(""));
    EXPECT_EQ(AccessListOf(session(), carol), "");
}

TEST_F(Privacy, AContactThatCannotBeOpenedIsLoggedAndTheOthersAreWritten) {
    const EntryID carol = contact("Carol");
    const EntryID gone = contact("Gone");
    const EntryID dave = contact("Dave");
    GetMessage(session(), gone)->Delete();
    PrivacyChange change;
    change.fields = "Notes";
    EXPECT_EQ(SavePrivacy(session(), {carol, gone, dave}, change), 2);
    EXPECT_EQ(key(carol, "EPS Private Fields"), Value("Notes"));
    EXPECT_EQ(key(dave, "EPS Private Fields"), Value("Notes"));
    EXPECT_TRUE(world.logHas(":GetMessageFromID failed " + number(MAPI_E_NOT_FOUND) + "\n"));
}

TEST_F(Privacy, AFailingStoreNeverLeavesHalfAContact) {
    const EntryID carol = contact("Carol");
    const EntryID dave = contact("Dave");
    int logged = 0;
    const int runs = ForEachFailure([&](const Arm& arm) {
        for (const EntryID& id : {carol, dave})
            setKeys(id, "PIN", "Alice Adams", "alice@example.test");
        FailingSession failing(world);
        failing.LogOn();
        PrivacyChange change;
        change.access = {"Bob Baker", "bob@example.test"};
        arm(failing.store.plan());
        int written = 0;
        EXPECT_NO_THROW(written = SavePrivacy(failing.session, {carol, dave}, change));
        int changed = 0;
        for (const EntryID& id : {carol, dave}) {
            const bool isNew = key(id, "EPS Access List") == Value("bob@example.test");
            changed += isNew;
            EXPECT_EQ(key(id, "EPS Access List Names"), Value(isNew ? "Bob Baker" : "Alice Adams"));
            EXPECT_EQ(key(id, "EPS Private Fields"), Value("PIN"));
        }
        EXPECT_EQ(written, changed);
        EXPECT_LE(failing.ui.shown.size(), 1U); // told once, also when both failed
        for (const std::string& box : failing.ui.shown)
            EXPECT_TRUE(box.starts_with("Error saving change: ")) << box;
        logged += world.logHas("Error setting access list for Carol: " + std::string(kFailure));
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 20);
    EXPECT_GT(logged, 0);
}

TEST_F(Privacy, AFailedReadIsNoContactWithoutRestrictions) {
    const EntryID carol = contact("Carol");
    setKeys(carol, "PIN", "Alice Adams", "alice@example.test");
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        PrivacyContacts loaded;
        EXPECT_NO_THROW(loaded =
                            LoadPrivacyContacts(failing.session, carol.text(), "Carol", "frmX"));
        if (loaded.readable) {
            EXPECT_EQ(loaded.fields, "PIN");
            EXPECT_EQ(loaded.accessAddresses, "alice@example.test");
            EXPECT_EQ(loaded.accessNames, "Alice Adams");
        } else {
            EXPECT_TRUE(world.logHas("frmX_Load: GetMessage failed "));
        }
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 8);
}

} // namespace
