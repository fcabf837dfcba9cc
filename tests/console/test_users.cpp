#include <gtest/gtest.h>

#include <algorithm>

#include "console/UserFields.h"
#include "console/basUsers.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

Time utc(int64_t seconds) { return Time(std::chrono::seconds(seconds)); }

class Users : public testing::Test {
protected:
    Users() { world.LogOnConfigured(); }

    AgentSession& session() { return *world.session; }
    Recordset& users() { return *session().users; }

    RDOMessagePtr record(const EntryID& id) { return world.session->rdo->GetMessageFromID(id, {}); }
    static PropTag tag(RDOMessage& message, std::string_view key, PropType type) {
        return message.GetIDsFromNames(PS_PUBLIC_STRINGS, key) | static_cast<PropTag>(type);
    }
    Value key(const EntryID& id, std::string_view name, PropType type) {
        const RDOMessagePtr message = record(id);
        return message->Fields(tag(*message, name, type));
    }
    void setKey(const EntryID& id, std::string_view name, PropType type, const Value& value) {
        const RDOMessagePtr message = record(id);
        message->SetFields(tag(*message, name, type), value);
        message->Save();
    }
    /// The recordset's value of the user with that address.
    Value field(std::string_view email, UserFieldID which) {
        const auto row = users().Clone();
        EXPECT_TRUE(row->SetFilter(EmailFilter(email)));
        return row->Get(Index(which));
    }
    std::string emails() {
        std::string all;
        for (const auto row = users().Clone(); !row->EOF_(); row->MoveNext())
            all += std::string(row->Text(Index(UserFieldID::Email))) + " ";
        return all;
    }
    void addThree() {
        a = world.AddUserRecord("alice@example.test", "Alice Adams");
        o = world.AddUserRecord("obrien@example.test", "Séan O'Brien");
        b = world.AddUserRecord("bob@example.test", "");
        ASSERT_TRUE(LoadUsers(session()));
    }
    /// A picker that gives these entries, one at each call.
    RecipientPicker picks(std::vector<std::string> names) {
        return [this, names, turn = size_t{0}](std::string_view title, std::string& ids,
                                               std::string&, std::string&, bool one) mutable {
            EXPECT_EQ(title, "Add User");
            EXPECT_TRUE(one);
            if (turn >= names.size())
                return false;
            const AddressEntryPtr entry = world.Entry(names[turn++]);
            ids = entry ? entry->ID().text() : "";
            return true;
        };
    }

    World world;
    EntryID a, o, b;
};

// --- fields

TEST(UserFieldTable, HasTheFieldsInOrder) {
    const std::vector<Field> fields = UserRecordsetFields();
    ASSERT_EQ(fields.size(), 31U);
    EXPECT_EQ(fields[0].name, "DisplayName");
    EXPECT_EQ(FieldOf(UserFieldID::EntryID).name, "EntryID");
    EXPECT_EQ(FieldOf(UserFieldID::EPS_LastStart).key, "LastEPS");
    EXPECT_EQ(FieldOf(UserFieldID::EX_Server).key, "Home Server");
    EXPECT_EQ(FieldOf(UserFieldID::PushSelected).source, UserField::Source::None);
    EXPECT_EQ(FieldOf(UserFieldID::TextBlastEnabled).name, "TextBlastEnabled");
    EXPECT_EQ(fields[5].type, FieldType::SmallInt);
    EXPECT_EQ(fields[7].size, 1024);
}

// --- loading

TEST_F(Users, LoadsEveryField) {
    const EntryID id = world.AddUserRecord("alice@example.test", "Alice Adams");
    int32_t number = 100;
    for (const UserField& f : UserFields()) {
        if (f.source != UserField::Source::Key || f.name == "DisplayName")
            continue;
        ++number;
        const Value value = f.type == FieldType::Date      ? Value(utc(number))
                            : f.type == FieldType::Boolean ? Value(true)
                            : f.type == FieldType::Integer ? Value(number)
                            : f.type == FieldType::SmallInt
                                ? Value(int16_t{-1})
                                : Value("text " + std::to_string(number));
        setKey(id, f.key, f.keyType, value);
    }
    ASSERT_TRUE(LoadUsers(session()));
    ASSERT_EQ(users().RecordCount(), 1);
    number = 100;
    for (const UserField& f : UserFields()) {
        const Value value = users().Get(f.name);
        if (f.source != UserField::Source::Key || f.name == "DisplayName")
            continue;
        ++number;
        if (f.type == FieldType::Date)
            EXPECT_EQ(value, Value(UTCToLocal(utc(number), world.clock))) << f.name;
        else if (f.type == FieldType::Boolean)
            EXPECT_EQ(value, Value(true)) << f.name;
        else if (f.type == FieldType::Integer)
            EXPECT_EQ(value, Value(number)) << f.name;
        else if (f.type == FieldType::SmallInt)
            EXPECT_EQ(value, Value(int16_t{-1})) << f.name;
        else
            EXPECT_EQ(value, Value("text " + std::to_string(number))) << f.name;
    }
    EXPECT_EQ(users().Get("DisplayName"), Value("Alice Adams"));
    EXPECT_EQ(users().Get("Email"), Value("alice@example.test"));
    EXPECT_EQ(users().Get("EntryID"), Value(id.text()));
    EXPECT_EQ(users().Get("PushSelected"), Value(false));
}

TEST_F(Users, DatesAreLocalWithTheDaylightRuleInForce) {
    const EntryID id = world.AddUserRecord("alice@example.test", "Alice");
    setKey(id, "FirstAccess", PropType::Time, utc(0)); // a winter date
    world.clock.Set(utc(1783000000));                  // summer in Berlin
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(users().Get("FirstAccess"), Value(utc(7200)));
}

TEST_F(Users, EmptyAndWrongValuesKeepTheEmptyOne) {
    const EntryID id = world.AddUserRecord("alice@example.test", "Alice");
    setKey(id, "LCID", PropType::String, "1033");
    setKey(id, "EPS.PushEnabled", PropType::String, "True");
    setKey(id, "EPS.MoveMC", PropType::String, "2");
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_TRUE(users().Get("LCID").empty());
    EXPECT_TRUE(users().Get("FirstAccess").empty());
    EXPECT_TRUE(users().Get("EPS_Status").empty());
    EXPECT_TRUE(users().Get("SendUpdate").empty());
    EXPECT_EQ(users().Get("MoveMC"), Value("2"));
    // what filters rely on is never null
    EXPECT_EQ(users().Get("PushEnabled"), Value(false));
    EXPECT_EQ(users().Get("RestoreEnabled"), Value(false));
    EXPECT_EQ(users().Get("State"), Value(int16_t{0}));
    EXPECT_TRUE(users().SetFilter("[PushSelected]=False AND [State]>-1"));
    EXPECT_EQ(users().RecordCount(), 1);
}

TEST_F(Users, SkipsDeletedRowsAndOtherClasses) {
    addThree();
    world.AddUserRecord("gone@example.test", "deleted");
    const auto other = session().userInfo->Items()->Add("IPM.Note");
    other->SetSubject("note@example.test");
    other->Save();
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(emails(), "alice@example.test obrien@example.test bob@example.test ");
}

TEST_F(Users, ALostSubjectIsMadeUpByTheKey) {
    const EntryID id = world.AddUserRecord("alice@example.test", "Alice");
    const RDOMessagePtr message = record(id);
    message->SetSubject("");
    message->Save();
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(users().Get("Email"), Value("alice@example.test"));
}

TEST_F(Users, LogsAndShowsTheLoad) {
    addThree();
    const std::string log = world.log();
    const size_t first = log.find(":initializing Users recordset\n");
    const size_t second = log.find(":loading Users recordset\n");
    const size_t third = log.find(":Users record count = 3\n");
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
    EXPECT_NE(third, std::string::npos);
    const auto& statuses = world.ui.statuses();
    ASSERT_GE(statuses.size(), 3U);
    EXPECT_EQ(statuses[0], "Retrieving user data, please wait...");
    EXPECT_EQ(statuses[1], "Retrieving user data...");
    EXPECT_EQ(statuses.back(), "");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(Users, CancelStopsBetweenRows) {
    for (int i = 0; i < 5; ++i)
        world.AddUserRecord("user" + std::to_string(i) + "@example.test", "User");
    world.ui.CancelProgressAfter(2);
    world.ui.Expect("All user data has not been loaded!");
    EXPECT_TRUE(LoadUsers(session()));
    EXPECT_EQ(emails(), "user0@example.test user1@example.test ");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_TRUE(world.logHas("Users record count = 2"));
}

TEST_F(Users, AFailureIsLogged) {
    session().userInfo.reset();
    EXPECT_FALSE(LoadUsers(session()));
    EXPECT_TRUE(world.logHas("err loading users recordset: "));
    EXPECT_EQ(world.ui.waitCursors(), 0);
    EXPECT_EQ(RequireUsers(session()), nullptr);
    ListModel list;
    EXPECT_EQ(ListUsers(session(), list), 0);
    EXPECT_EQ(world.ui.lastStatus(), "0 users");
}

TEST_F(Users, TheOldRecordsetStaysUntilTheNewOneIsWhole) {
    addThree();
    world.AddUserRecord("dora@example.test", "Dora");
    int64_t seen = 0;
    world.ui.onDoEvents = [&] { seen = users().RecordCount(); };
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(seen, 3);
    EXPECT_EQ(users().RecordCount(), 4);
}

TEST_F(Users, ALongNameIsCutAndTheUserStays) {
    world.AddUserRecord("alice@example.test", std::string(300, 'n'));
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(users().Get("DisplayName"), Value(std::string(255, 'n')));
}

// --- lists

std::string join(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += text + "|";
    return all;
}

std::string titles(const ListModel& list) {
    std::string all;
    for (const ListColumn& column : list.Columns())
        all += column.title + "(" + column.key + ")|";
    return all;
}

TEST_F(Users, ListUsersShowsThem) {
    const EntryID id = world.AddUserRecord("zoe@example.test", "Zoë");
    world.AddUserRecord("nameless@example.test", "");
    setKey(id, "FirstAccess", PropType::Time, utc(1000000000));
    setKey(id, "LatestAccess", PropType::Time, utc(1100000000));
    setKey(id, "TotalRequests", PropType::Long, 17);
    setKey(id, "LCID", PropType::Long, 1031);
    ListModel list;
    UserListOptions options;
    options.languageName = [](int32_t lcid) { return lcid == 1031 ? "Deutsch" : "?"; };
    EXPECT_EQ(ListUsers(session(), list, options), 2); // loads what is missing
    EXPECT_EQ(titles(list), "Name(Name)|SMTP Address(SMTP)|First Use(datfirstuse)|"
                            "Last Use(datlastuse)|Requests(intrequests)|Language(Language)|");
    ASSERT_EQ(list.Count(), 2U);
    EXPECT_EQ(join(list.At(0).texts), // no display name: the address alone
              "nameless@example.test|nameless@example.test|||0||");
    EXPECT_EQ(join(list.At(1).texts),
              "Zoë|zoe@example.test|" + FormatDate(UTCToLocal(utc(1000000000), world.clock)) + "|" +
                  FormatDate(UTCToLocal(utc(1100000000), world.clock)) + "|17|Deutsch|");
    EXPECT_EQ(list.At(1).key, id.text());
    EXPECT_EQ(list.At(1).tag, "user");
    EXPECT_EQ(list.At(1).icon, "imgUser");
    EXPECT_EQ(world.ui.lastStatus(), "2 users");
    EXPECT_TRUE(world.logHas(":loading user data\n"));
    const auto& said = world.ui.statuses();
    EXPECT_NE(std::find(said.begin(), said.end(), "Loading user data, please wait..."), said.end());
    options.filter = EmailFilter("zoe@example.test");
    EXPECT_EQ(ListUsers(session(), list, options), 1);
    EXPECT_EQ(world.ui.lastStatus(), "1 user");
    EXPECT_EQ(users().RecordCount(), 2); // the recordset itself keeps no filter
}

TEST_F(Users, StatisticsShowTheLastRun) {
    const EntryID id = world.AddUserRecord("zoe@example.test", "Zoë");
    const EntryID idle = world.AddUserRecord("idle@example.test", "Idle");
    setKey(id, "EPS.Status", PropType::String, "Success");
    setKey(id, "LastEPS", PropType::Time, utc(1100000000));
    setKey(id, "EPS.LastCompletion", PropType::Time, utc(1100000090));
    setKey(id, "EPS.LifetimeUpdateCount", PropType::Long, 5);
    setKey(id, "EPS.TotalMC", PropType::Long, 6);
    setKey(id, "EPS.TotalUserContacts", PropType::Long, 7);
    setKey(id, "EPS.Server", PropType::String, "AGENT1");
    setKey(id, "EPS.Version", PropType::String, "4.0");
    setKey(id, "Home Server", PropType::String, "MAIL01");
    setKey(id, "EPS.MoveMC", PropType::String, "1");
    setKey(idle, "State", PropType::Short, kUserDisabled);
    setKey(idle, "LastEPS", PropType::Time, utc(1100000000)); // a run that has not ended
    world.clock.Set(utc(1767225600));                         // 1 January 2026 0:00 UTC
    ListModel list;
    EXPECT_EQ(LoadUserStatistics(session(), list), 2);
    EXPECT_EQ(titles(list),
              "Name(Name)|Status(Status)|Last Update(datlastcomplete)|"
              "Task Initiation(datlaststart)|Cumulative Updates(intlifetime)|MCL Count(intMCL)|"
              "Contact Tally(intContacts)|Elapsed Time(intET)|zandrel Server(zandrel Server)|"
              "Version(Version)|Exchange Server(EX Server)|Email(Email)|(sortAction)|");
    EXPECT_FALSE(list.Columns().back().visible());
    const ListRow& quiet = list.At(0);
    EXPECT_TRUE(quiet.ghosted);
    EXPECT_EQ(quiet.icon, "imgUser");
    EXPECT_EQ(join(quiet.texts), "Idle|||" + FormatDate(utc(1100003600)) +
                                     "|||||||"
                                     "|idle@example.test|20041109123320|");
    const ListRow& row = list.At(1);
    EXPECT_FALSE(row.ghosted);
    EXPECT_EQ(row.key, id.text());
    EXPECT_EQ(row.tag, "epsuser");
    EXPECT_EQ(row.icon, "imgUserCustom"); // it overrides a setting
    EXPECT_EQ(join(row.texts), "Zoë|Success|" + FormatDate(utc(1100003690)) + "|" +
                                   FormatDate(utc(1100003600)) +
                                   "|5|6|7|90|AGENT1|4.0|MAIL01|zoe@example.test|20041109123450|");
    EXPECT_TRUE(world.logHas(":loading EPS user data\n"));
    EXPECT_EQ(UserStatisticsTitle(session(), 2), "(2) - current as of 1/1/2026 1:00:00 AM");
}

TEST_F(Users, AFilterThatCannotBeReadShowsNobody) {
    addThree();
    ListModel list;
    UserListOptions options;
    options.filter = "[DisplayName]='Séan O'Brien'";
    EXPECT_EQ(ListUsers(session(), list, options), 0);
    EXPECT_TRUE(world.logHas("filter can't be read: [DisplayName]='Séan O'Brien'"));
    EXPECT_EQ(world.ui.lastStatus(), "0 users");
}

// --- adding

TEST_F(Users, AddsOneUser) {
    ASSERT_TRUE(LoadUsers(session()));
    const std::vector<EntryID> added = AddUsers(session(), picks({"Alice"}));
    ASSERT_EQ(added.size(), 1U);
    const RDOMessagePtr message = record(added[0]);
    EXPECT_EQ(message->Subject(), "alice@example.test");
    EXPECT_EQ(message->MessageClass(), "zandrel.UserInfo");
    EXPECT_EQ(key(added[0], "Email", PropType::String), Value("alice@example.test"));
    EXPECT_EQ(key(added[0], "DisplayName", PropType::String), Value("Alice Adams"));
    EXPECT_EQ(key(added[0], "TotalRequests", PropType::Long), Value(0));
    ASSERT_EQ(users().RecordCount(), 1);
    EXPECT_EQ(field("alice@example.test", UserFieldID::DisplayName), Value("Alice Adams"));
    EXPECT_EQ(field("alice@example.test", UserFieldID::State), Value(int16_t{0}));
    EXPECT_EQ(field("alice@example.test", UserFieldID::EntryID), Value(added[0].text()));
    EXPECT_EQ(field("alice@example.test", UserFieldID::PushSelected), Value(false));
}

TEST_F(Users, AUserThatExistsStaysAsItIs) {
    addThree();
    setKey(a, "DisplayName", PropType::String, "Changed");
    EXPECT_TRUE(AddUsers(session(), picks({"Alice"})).empty());
    EXPECT_EQ(key(a, "DisplayName", PropType::String), Value("Changed"));
    EXPECT_EQ(users().RecordCount(), 3);
    EXPECT_EQ(session().userInfo->Items()->Count(), 3);
}

TEST_F(Users, ARecordThatTheRecordsetLacksIsTaken) {
    ASSERT_TRUE(LoadUsers(session()));
    const EntryID id = world.AddUserRecord("alice@example.test", "Alice of old");
    setKey(id, "State", PropType::Short, kUserDisabled);
    EXPECT_EQ(AddUsers(session(), picks({"Alice"})).size(), 1U);
    EXPECT_EQ(session().userInfo->Items()->Count(), 1);
    EXPECT_EQ(field("alice@example.test", UserFieldID::State), Value(int16_t{-1}));
    EXPECT_EQ(field("alice@example.test", UserFieldID::EntryID), Value(id.text()));
}

TEST_F(Users, AddsTheMembersOfNestedListsOnce) {
    ASSERT_TRUE(LoadUsers(session())); // Sales holds Nested, which holds Sales
    world.ui.Expect("Sales is a distribution list.\nIts members will be added one by one. Proceed?",
                    BoxAnswer::Yes);
    EXPECT_EQ(AddUsers(session(), picks({"Sales"})).size(), 3U);
    EXPECT_EQ(emails(), "alice@example.test bob@example.test obrien@example.test ");
    world.ui.Expect("", BoxAnswer::No);
    EXPECT_TRUE(AddUsers(session(), picks({"Sales"})).empty());
}

TEST_F(Users, AQueryBasedListInAListGivesItsPeople) {
    ASSERT_TRUE(LoadUsers(session()));
    {
        Organisation org(world.storePath());
        const std::string dn = "/o=Example/ou=First/cn=Recipients/cn=";
        org.AddMember(dn + "sales", dn + "everybody");
    }
    const std::string category = ",CN=Schema,CN=Configuration,DC=example,DC=test";
    world.directory.answers["((proxyAddresses=SMTP:everybody@example.test))"] = {
        {{"msExchDynamicDLFilter", {"(department=D1)"}}}};
    world.directory.answers["(department=D1)"] = {
        {{"name", {"Dan"}},
         {"mail", {"Dan@Example.test"}},
         {"objectCategory", {"CN=Person" + category}}},
        {{"name", {"No Mail"}}, {"objectCategory", {"CN=Person" + category}}},
        {{"name", {"Group"}},
         {"mail", {"g@example.test"}},
         {"objectCategory", {"CN=Group" + category}}}};
    world.ui.Expect("", BoxAnswer::Yes);
    EXPECT_EQ(AddUsers(session(), picks({"Sales"})).size(), 4U);
    EXPECT_EQ(emails(),
              "alice@example.test bob@example.test obrien@example.test dan@example.test ");
    EXPECT_TRUE(world.logHas("AddUsers: no address for No Mail"));
}

TEST_F(Users, AWrongPickIsAskedForAgain) {
    ASSERT_TRUE(LoadUsers(session()));
    const char* const again =
        "Invalid selection! You must select a single user or distribution list.Try again?";
    world.ui.Expect(again, BoxAnswer::Yes);
    EXPECT_EQ(AddUsers(session(), picks({"Everybody", "Carol"})).size(), 1U);
    EXPECT_EQ(emails(), "carol@partner.test ");
    world.ui.Expect(again, BoxAnswer::No);
    EXPECT_TRUE(AddUsers(session(), picks({"Everybody", "Bob"})).empty());
    EXPECT_TRUE(AddUsers(session(), picks({})).empty()); // cancelled
    EXPECT_EQ(users().RecordCount(), 1);
}

TEST_F(Users, AFailureOfAddingIsShown) {
    world.ui.Expect("Error adding user: the directory is gone");
    EXPECT_TRUE(AddUsers(session(), [](auto, auto&, auto&, auto&, bool) -> bool {
                    throw PlatformError(1, "the directory is gone");
                }).empty());
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_TRUE(world.logHas("AddUsers: 1 the directory is gone"));
}

// --- deleting

TEST_F(Users, DeletesOne) {
    addThree();
    ASSERT_TRUE(users().SetFilter("[State]>-1"));
    world.ui.Expect("Are you sure you want \nSéan O'Brien to be deleted?", BoxAnswer::Yes);
    EXPECT_EQ(DeleteUsers(session(), {o}), std::vector<EntryID>{o});
    EXPECT_EQ(emails(), "alice@example.test bob@example.test ");
    EXPECT_EQ(session().userInfo->Items()->Count(), 2);
    EXPECT_EQ(users().Filter(), "[State]>-1");
    const auto& said = world.ui.statuses();
    EXPECT_EQ(said[said.size() - 2], "Deleting users, please wait...");
    EXPECT_EQ(world.ui.lastStatus(), "");
}

TEST_F(Users, DeletesSeveralAndTheLast) {
    addThree();
    world.ui.Expect("Are you sure you want these 3 users to be deleted?\n  Alice Adams\n"
                    "  Séan O'Brien\n  bob@example.test",
                    BoxAnswer::Yes);
    EXPECT_EQ(DeleteUsers(session(), {a, o, b}).size(), 3U);
    ListModel list;
    EXPECT_EQ(ListUsers(session(), list), 0);
    EXPECT_EQ(list.Count(), 0U);
    EXPECT_EQ(world.ui.lastStatus(), "0 users");
    EXPECT_EQ(session().userInfo->Items()->Count(), 0);
}

TEST_F(Users, NothingIsDeletedUnlessConfirmed) {
    addThree();
    world.ui.Expect("", BoxAnswer::No);
    EXPECT_TRUE(DeleteUsers(session(), {a}).empty());
    EXPECT_TRUE(DeleteUsers(session(), {}).empty());
    EXPECT_EQ(users().RecordCount(), 3);
}

TEST_F(Users, ARecordThatDoesNotOpenIsSkippedAndItsRowStays) {
    addThree();
    record(a)->Delete();
    world.ui.Expect("", BoxAnswer::Yes);
    EXPECT_EQ(DeleteUsers(session(), {a, o}), std::vector<EntryID>{o});
    EXPECT_EQ(emails(), "alice@example.test bob@example.test ");
}

// --- disabling, language

TEST_F(Users, DisablesOneAndSeveral) {
    addThree();
    world.ui.Expect("You have chosen to disable \nAlice AdamsProceed?", BoxAnswer::Yes);
    EXPECT_EQ(DisableUsers(session(), {a}), std::vector<EntryID>{a});
    EXPECT_EQ(key(a, "State", PropType::Short), Value(kUserDisabled));
    EXPECT_EQ(field("alice@example.test", UserFieldID::State), Value(kUserDisabled));
    world.ui.Expect("You have chosen to disable 2 users. Proceed?\n\tSéan O'Brien\n\t"
                    "bob@example.test",
                    BoxAnswer::Yes);
    EXPECT_EQ(DisableUsers(session(), {o, b}).size(), 2U);
    ASSERT_TRUE(LoadUsers(session())); // and so it stands in the store
    ASSERT_TRUE(users().SetFilter("[State]>-1"));
    EXPECT_EQ(users().RecordCount(), 0);
    world.ui.Expect("", BoxAnswer::No);
    EXPECT_TRUE(DisableUsers(session(), {a}).empty());
}

TEST_F(Users, SetsTheLanguage) {
    addThree();
    world.ui.Expect("Are you sure you want Deutsch as the language for Alice Adams?",
                    BoxAnswer::Yes);
    EXPECT_EQ(SetUserLanguage(session(), 1031, "Deutsch", {a}).size(), 1U);
    EXPECT_EQ(key(a, "LCID", PropType::Long), Value(1031));
    EXPECT_EQ(field("alice@example.test", UserFieldID::LCID), Value(1031));
    const auto& said = world.ui.statuses();
    EXPECT_EQ(said[said.size() - 2], "Setting language, please wait...");
    EXPECT_EQ(said.back(), "");
    world.ui.Expect("Are you sure you want Deutsch as the language for these 2 users?",
                    BoxAnswer::Yes);
    EXPECT_EQ(SetUserLanguage(session(), 1031, "Deutsch", {o, b}, UserLanguage::SelfService).size(),
              2U);
    EXPECT_EQ(key(o, "SSU LCID", PropType::String), Value("1031"));
    EXPECT_TRUE(key(o, "LCID", PropType::Long).empty());
    EXPECT_TRUE(field("obrien@example.test", UserFieldID::LCID).empty());
    world.ui.Expect("", BoxAnswer::No);
    EXPECT_TRUE(SetUserLanguage(session(), 1033, "English", {a}).empty());
    EXPECT_EQ(key(a, "LCID", PropType::Long), Value(1031));
}

TEST_F(Users, AChangeOfAnotherProgramIsSeenByTheNextLoadOnly) {
    addThree();
    const auto other = world.OtherSession();
    const RDOMessagePtr message = other->GetMessageFromID(a, {});
    message->SetFields(tag(*message, "EPS.Status", PropType::String), "Running");
    message->Save();
    EXPECT_TRUE(field("alice@example.test", UserFieldID::EPS_Status).empty());
    ASSERT_TRUE(LoadUsers(session()));
    EXPECT_EQ(field("alice@example.test", UserFieldID::EPS_Status), Value("Running"));
}

} // namespace
