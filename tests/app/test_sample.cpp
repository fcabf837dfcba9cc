#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <set>

#include "app/ctl/Describe.h"
#include "app/sample/People.h"
#include "app/sample/Sample.h"
#include "core/Text.h"

namespace {

using namespace kr;

class SampleTest : public ::testing::Test {
protected:
    SampleTest() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kr-sample-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
    }
    ~SampleTest() override { std::filesystem::remove_all(m_folder); }

    std::string file(std::string_view name) const { return m_folder + "/" + std::string(name); }
    static RDOFolderPtr folderAt(RDOFolderPtr folder, std::string_view path) {
        for (const std::string& name : SplitNonEmpty(path, "\\"))
            folder = folder ? folder->Folders()->Item(name) : nullptr;
        return folder;
    }
    static RDOFolderPtr agentFolder(RDOSession& session, std::string_view path) {
        return folderAt(session.Stores().DefaultStore()->RootFolder(), path);
    }
    static Value key(RDOProperties& object, std::string_view name, PropType type) {
        return object.Fields(object.GetIDsFromNames(PS_PUBLIC_STRINGS, name) |
                             static_cast<PropTag>(type));
    }
    static RDOMessagePtr bySubject(RDOFolder& folder, std::string_view subject) {
        auto items = folder.Items();
        for (int i = 1; i <= items->Count(); ++i)
            if (items->Item(i)->Subject() == subject)
                return items->Item(i);
        return nullptr;
    }
    static SampleOptions small() {
        SampleOptions options;
        options.users = 40;
        return options;
    }
    static AddressEntryPtr entry(RDOSession& session, std::string_view name) {
        auto book = session.GetAddressBook();
        for (const AddressRow& row : book->Search(name, 50))
            if (row.name == name)
                return book->GetAddressEntryFromID(row.id);
        return nullptr;
    }

private:
    std::string m_folder;
};

TEST(SamplePeopleTest, AliasesDropAccentsAndApostrophes) {
    EXPECT_EQ(PlainAlias("Núñez-Álvarez"), "nunezalvarez");
    EXPECT_EQ(PlainAlias("O'Neill"), "oneill");
    EXPECT_EQ(PlainAlias("Weiß"), "weiss");
}

TEST(SamplePeopleTest, AliasesAreUniqueAndPlain) {
    SampleRandom random(3);
    std::set<std::string> seen, pins;
    for (const SamplePerson& person : MakePeople(random, 3000)) {
        EXPECT_TRUE(seen.insert(person.alias).second) << person.alias;
        EXPECT_EQ(person.alias.find_first_not_of("abcdefghijklmnopqrstuvwxyz.0123456789"),
                  std::string::npos)
            << person.alias;
        if (person.hasHandheld()) {
            EXPECT_TRUE(pins.insert(person.pin).second) << person.pin;
        }
    }
}

TEST(SamplePeopleTest, TheFirstPeopleAreFixed) {
    SampleRandom random(99);
    const auto people = MakePeople(random, 3);
    EXPECT_EQ(people[0].name, "Anna O'Neill");
    EXPECT_EQ(people[1].smtp, "jose.nunezalvarez@example.test");
    EXPECT_EQ(people[2].name, "Zoë Åkesson");
}

TEST_F(SampleTest, HoldsTheAgentsRecords) {
    const SampleCounts made = MakeSample(file("a.kr"), small());
    EXPECT_EQ(made.people, 40u);
    EXPECT_EQ(made.userRecords, 40u);
    EXPECT_EQ(made.hosts, 3u);
    Organisation org(file("a.kr"));
    auto session = org.OpenSession("agentbox");
    auto info = agentFolder(*session, "zandrelAgentInfo");
    ASSERT_TRUE(info);
    auto agent = bySubject(*info, "zandrelAgent");
    ASSERT_TRUE(agent);
    EXPECT_EQ(agent->MessageClass(), "zandrel.Agent");
    EXPECT_EQ(key(*agent, "AdminEmail", PropType::String).text(), "anna.oneill@example.test");
    auto users = agentFolder(*session, "zandrelAgentInfo\\zandrelUserInfo");
    ASSERT_TRUE(users);
    EXPECT_EQ(users->Items()->Count(), 40);
    EXPECT_EQ(users->Items()->Item(1)->MessageClass(), "zandrel.UserInfo");
    EXPECT_EQ(users->Items()->Item(1)->Subject(), "anna.oneill@example.test");
}

TEST_F(SampleTest, RecordsLeadToTheirFolders) {
    MakeSample(file("a.kr"), small());
    Organisation org(file("a.kr"));
    auto session = org.OpenSession("agentbox");
    auto info = agentFolder(*session, "zandrelAgentInfo");
    auto agent = bySubject(*info, "zandrelAgent");
    const EntryID handhelds(key(*agent, "HHEntryID", PropType::String).text());
    EXPECT_EQ(session->GetFolderFromID(handhelds, EntryID())->Name(), "Handhelds");
    const EntryID lists(key(*agent, "MCEntryID", PropType::String).text());
    EXPECT_EQ(session->GetFolderFromID(lists, EntryID())->Name(), "Mandatory Contacts");
    auto source = bySubject(*info, "Suppliers");
    ASSERT_TRUE(source);
    const EntryID contacts(key(*source, "ACF EntryID", PropType::String).text());
    auto folder = session->GetFolderFromID(contacts, session->Stores().PublicStore()->ID());
    EXPECT_EQ(folder->Items()->Count(), 60);
    auto list = bySubject(*agentFolder(*session, "Mandatory Contacts"), "Suppliers for Purchasing");
    ASSERT_TRUE(list);
    EXPECT_EQ(key(*list, "ACS.Guid", PropType::String).text(),
              key(*source, "ACS.Guid", PropType::String).text());
}

TEST_F(SampleTest, ListsNestAndOneHoldsItself) {
    MakeSample(file("a.kr"), small());
    Organisation org(file("a.kr"));
    auto session = org.OpenSession("agentbox");
    auto project = entry(*session, "Project Älv");
    ASSERT_TRUE(project);
    EXPECT_EQ(project->DisplayType(), 1);
    ASSERT_EQ(project->Members().size(), 6u);
    EXPECT_EQ(project->Members().back()->Name(), "Project Älv");
    auto staff = entry(*session, "All Staff");
    ASSERT_TRUE(staff);
    ASSERT_EQ(staff->Members().size(), 3u);
    EXPECT_EQ(staff->Members()[2]->DisplayType(), 3);
}

TEST_F(SampleTest, MailboxesHoldBackupsWithContacts) {
    const SampleCounts made = MakeSample(file("a.kr"), small());
    EXPECT_EQ(made.backups, 15u);
    Organisation org(file("a.kr"));
    auto session = org.OpenSession("anna.oneill");
    auto contacts = session->GetDefaultFolder(static_cast<int>(DefaultFolder::Contacts));
    auto backups = contacts->Folders()->Item("EPS Backups");
    ASSERT_TRUE(backups);
    auto last = backups->Items()->Item(3);
    EXPECT_EQ(last->MessageClass(), "IPM.Post");
    ASSERT_EQ(last->Attachments()->Count(), 3);
    auto stored = last->Attachments()->Item(1)->EmbeddedMessage();
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->Subject(), contacts->Items()->Item(1)->Subject());
}

TEST_F(SampleTest, EmptyHasPeopleAndNoAgentFolder) {
    SampleOptions options = small();
    options.empty = true;
    MakeSample(file("a.kr"), options);
    Organisation org(file("a.kr"));
    auto session = org.OpenSession("agentbox");
    EXPECT_FALSE(agentFolder(*session, "zandrelAgentInfo"));
    EXPECT_TRUE(entry(*session, "Zoë Åkesson"));
}

// Ids differ from file to file, so the contents are compared without them.
std::string contents(RDOFolder& folder, std::string_view path) {
    std::string text;
    auto items = folder.Items();
    for (int i = 1; i <= items->Count(); ++i)
        for (const auto& property : DescribeProperties(*items->Item(i))) {
            const std::string name = property.value("name", std::string());
            if (property["type"] != "time" && property["type"] != "binary" &&
                name.find("EntryID") == std::string::npos &&
                name.find("StoreID") == std::string::npos && name != "MCL Target Email")
                text += std::string(path) + name + property["value"].dump() + "\n";
        }
    auto folders = folder.Folders();
    for (int i = 1; i <= folders->Count(); ++i)
        text += contents(*folders->Item(i), std::string(path) + folders->Item(i)->Name() + "\\");
    return text;
}

TEST_F(SampleTest, TheSameSeedGivesTheSameContents) {
    SampleOptions options = small();
    std::vector<std::string> dumps;
    for (const auto& [name, seed] : {std::pair{"a.kr", 5u}, {"b.kr", 5u}, {"c.kr", 6u}}) {
        options.seed = seed;
        MakeSample(file(name), options);
        Organisation org(file(name));
        auto session = org.OpenSession("agentbox");
        dumps.push_back(contents(*agentFolder(*session, ""), ""));
    }
    EXPECT_GT(dumps[0].size(), 10000u);
    EXPECT_EQ(dumps[0], dumps[1]);
    EXPECT_NE(dumps[0], dumps[2]);
}

TEST_F(SampleTest, TheFileIsSound) {
    MakeSample(file("a.kr"), small());
    EXPECT_EQ(Organisation(file("a.kr")).Check(), std::vector<std::string>{});
}

TEST_F(SampleTest, RefusesTooFewPeopleAndExistingFiles) {
    SampleOptions options = small();
    options.users = 5;
    EXPECT_THROW(MakeSample(file("a.kr"), options), PlatformError);
    EXPECT_FALSE(std::filesystem::exists(file("a.kr")));
    MakeSample(file("b.kr"), small());
    EXPECT_THROW(MakeSample(file("b.kr"), small()), PlatformError);
}

} // namespace
