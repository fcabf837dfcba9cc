#include "app/sample/Sample.h"

#include "app/sample/Build.h"

namespace kr {

namespace {

// What the lists, sources and mailboxes below pick from.
constexpr size_t kFewestPeople = 20;

void addList(SampleBuild& build, std::string_view name, int displayType) {
    build.org.AddEntry(ListEntry(name, displayType));
    ++build.counts.lists;
}

void addMembers(SampleBuild& build, std::string_view list, size_t first, size_t last) {
    const std::string dn = ListEntry(list, 1).dn;
    for (size_t i = first; i < last && i < build.people.size(); ++i)
        build.org.AddMember(dn, build.people[i].dn());
}

// Lists within lists: All Staff holds the two sites, Hamburg holds a project list that holds
// itself, and two lists hold each other.
void makeLists(SampleBuild& build) {
    for (const std::string_view name : {"All Staff", "Hamburg", "London", "Project Älv", "Sales",
                                        "Sales Support", "Help Desk", "No Members"})
        addList(build, name, 1);
    addList(build, "Everybody in Finance", 3);
    addList(build, "Handheld Users", 3);
    const size_t half = build.people.size() / 2;
    addMembers(build, "Hamburg", 0, half < 60 ? half : 60);
    addMembers(build, "London", half, half + 40);
    addMembers(build, "Project Älv", 0, 5);
    addMembers(build, "Sales", 3, 15);
    addMembers(build, "Sales Support", 10, 20);
    addMembers(build, "Help Desk", 1, 4);
    constexpr std::pair<std::string_view, std::string_view> kNested[] = {
        {"All Staff", "Hamburg"},       {"All Staff", "London"},    {"Hamburg", "Project Älv"},
        {"Project Älv", "Project Älv"}, {"Sales", "Sales Support"}, {"Sales Support", "Sales"},
        {"All Staff", "Handheld Users"}};
    for (const auto& [list, member] : kNested)
        build.org.AddMember(ListEntry(list, 1).dn, ListEntry(member, 1).dn);
}

void makePartners(SampleBuild& build) {
    constexpr std::pair<std::string_view, std::string_view> kPartners[] = {
        {"Carol Contact", "carol"}, {"Dírk d'Hondt", "dirk"}, {"Service Line", "service"}};
    for (const auto& [name, alias] : kPartners) {
        NewAddressEntry entry = ListEntry(name, 6);
        entry.smtp = std::string(alias) + "@partner." + std::string(kSampleDomain);
        build.org.AddEntry(entry);
    }
}

void makeAddressBook(SampleBuild& build) {
    NewAddressEntry agent = ListEntry("zandrelAgent Mailbox", 0);
    agent.alias = "agentbox";
    agent.dn = std::string(kSampleDn) + agent.alias;
    agent.smtp = agent.alias + "@" + std::string(kSampleDomain);
    build.org.AddMailbox(agent);
    NewAddressEntry bes = ListEntry("BESAdmin", 0);
    build.org.AddMailbox(bes);
    for (const SamplePerson& person : build.people)
        build.org.AddMailbox(AddressEntryOf(person));
    build.counts.people = build.people.size();
    makePartners(build);
    makeLists(build);
}

} // namespace

SampleCounts MakeSample(const std::string& path, const SampleOptions& options) {
    if (options.users < kFewestPeople)
        throw PlatformError(MAPI_E_CALL_FAILED, "A sample needs at least 20 users", "Sample");
    Organisation::Create(path);
    Organisation org(path);
    SampleBuild build(org, options);
    build.people = MakePeople(build.random, options.users);
    org.Begin();
    makeAddressBook(build);
    org.AddPublicStore("Public Folders");
    build.session = org.OpenSession("agentbox");
    FillPublicFolders(build);
    if (!options.empty) {
        FillAgentRecords(build);
        FillLists(build);
        FillUserRecords(build);
        FillHandhelds(build);
        FillMailboxes(build);
    }
    org.Commit();
    return build.counts;
}

} // namespace kr
