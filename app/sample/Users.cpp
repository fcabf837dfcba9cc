#include "app/sample/Build.h"

namespace kr {

namespace {

constexpr std::array<std::string_view, 5> kStatus = {"Complete", "Complete", "Complete", "Pending",
                                                     "Mailbox unavailable"};
constexpr std::array<int32_t, 5> kLanguages = {1033, 1033, 1031, 1036, 1053};
constexpr std::array<std::string_view, 2> kAgents = {"AGENT01", "AGENT02"};

void addStatistics(SampleBuild& build, RecordWriter& record) {
    SampleRandom& random = build.random;
    const Time start = build.recently(2);
    const std::string_view status = random.pick(kStatus);
    record.key("EPS.Status", status)
        .key("LastEPS", start)
        .key("EPS.TotalUserContacts", int32_t{random.between(0, 1800)})
        .key("EPS.LastUpdateCount", int32_t{random.between(0, 40)})
        .key("EPS.LifetimeUpdateCount", int32_t{random.between(40, 5000)})
        .key("EPS.TotalMC", int32_t{random.between(0, 120)})
        .key("EPS.Server", random.pick(kAgents))
        .key("EPS.Version", "4.0.112");
    if (status == "Complete")
        record.key("EPS.LastCompletion", start + std::chrono::seconds(random.between(3, 400)));
    if (random.chance(6))
        record.key("EPS.SendUpdate", true).key("EPS.RespectPrivate", int32_t{1});
    if (random.chance(4))
        record.key("EPS.UseSubfolder", int32_t{random.between(1, 2)});
    if (random.chance(3))
        record.key("EPS.RestoreLastDate", build.recently(200))
            .key("EPS.RestoreLastComplete", build.recently(200))
            .key("EPS.RestoreLastCount", int32_t{random.between(1, 50)});
}

void addUser(SampleBuild& build, RDOFolder& folder, const SamplePerson& person) {
    SampleRandom& random = build.random;
    RecordWriter record(folder, "zandrel.UserInfo", person.smtp);
    // a few never asked the agent for anything, and one in a hundred shows by address only
    const bool used = random.chance(88);
    record.key("Email", person.smtp)
        .key("TotalRequests", int32_t{used ? random.between(1, 900) : 0})
        .key("LCID", random.pick(kLanguages))
        .key("Home Server", person.homeServer)
        .key("EPS.PushEnabled", person.hasHandheld() && random.chance(70))
        .key("EPS.TextBlastEnabled", random.chance(10))
        .key("EPS.RestoreEnabled", false);
    if (!random.chance(1))
        record.key("DisplayName", person.name);
    if (used)
        record.key("FirstAccess", build.daysAgo(random.between(200, 1500)))
            .key("LatestAccess", build.recently(190));
    if (random.chance(2))
        record.key("State", int16_t{-1});
    if (person.hasHandheld() && random.chance(40))
        record.key("EPS.PushLastDate", build.recently(60));
    addStatistics(build, record);
    record.save();
    ++build.counts.userRecords;
}

RecordWriter& handheldBase(SampleBuild& build, RecordWriter& record, std::string_view pin) {
    SampleRandom& random = build.random;
    record.key("PIN", pin)
        .key("ESN", random.digits(11))
        .key("Manufacturer", "RIM")
        .key("Vendor", random.chance(50) ? "North Mobile" : "Telco Süd")
        .key("RAM", "64 MB")
        .key("Org", "Example Ltd")
        .key("KR-Applet", "4.0.31")
        .key("Activation Date", build.daysAgo(random.between(20, 900)))
        .key("Purchase Date", build.daysAgo(random.between(900, 1000)));
    return record;
}

void addHandheld(SampleBuild& build, RDOFolder& folder, const SamplePerson& person) {
    RecordWriter record(folder, "IPM.Post.HandheldRegistration", person.name);
    handheldBase(build, record, person.pin)
        .fixed(PR_CONVERSATION_TOPIC, person.smtp)
        .key("DeviceID", person.pin)
        .key("Email", person.smtp)
        .key("DisplayName", person.name)
        .key("FirstName", person.first)
        .key("LastName", person.last)
        .key("Phone", person.mobile)
        .key("Model", person.model)
        .key("OS", person.os)
        .key("Protocol", person.protocol)
        .key("BB Server", person.bes)
        .key("Home Server", person.homeServer)
        .key("Division", person.department)
        .key("Domain", kSampleDomain)
        .key("Language", "English")
        .key("SendText", false)
        .key("EPS Required", build.random.chance(5))
        .key("EPS Privacy", build.random.chance(5))
        .key("Airtime Renewal Date", build.daysAgo(-build.random.between(1, 600)))
        .save();
    ++build.counts.handhelds;
}

// Handhelds in the drawer, handhelds out of service, and users without one.
void addUnassigned(SampleBuild& build, RDOFolder& folder) {
    for (int i = 0; i < 4; ++i) {
        RecordWriter record(folder, "IPM.Post.HandheldRegistration", "None");
        handheldBase(build, record, "2" + build.random.hex(7))
            .fixed(PR_CONVERSATION_TOPIC, "None")
            .key("Model", "8700g");
        if (i % 2 == 1)
            record.key("Not In Service", "Lost")
                .key("Not In Service Date", build.recently(100))
                .key("Comments", "Left in a taxi");
        record.save();
        ++build.counts.handhelds;
    }
    const SamplePerson& person = build.people.back();
    RecordWriter(folder, "IPM.Post.HandheldRegistration", person.name)
        .fixed(PR_CONVERSATION_TOPIC, person.smtp)
        .key("DisplayName", person.name)
        .key("LastName", person.last)
        .key("FirstName", person.first)
        .save();
    ++build.counts.handhelds;
}

void addLookups(SampleBuild& build, RDOFolder& root) {
    root.Folders()->Add("Registration Archive");
    root.Folders()->Add("Renewal");
    auto lookups = root.Folders()->Add("Domain Lookups");
    for (const std::string_view division : {"", "Field Service"})
        RecordWriter(*lookups, "IPM.Post", std::string(kSampleDomain) + std::string(division))
            .key("Domain", kSampleDomain)
            .key("Division", division)
            .key("Agent-SMTP", "agentbox@example.test")
            .key("GAL-SMTP", "agentbox@example.test")
            .key("Fax-SMTP", "Disabled")
            .key("Print-SMTP", "Hidden")
            .key("AutoRegister", "30")
            .body("This message is for zandrelAgent Applet registration.\r\n")
            .save();
    build.agentInfo->Folders()->Add("zandrelPDL");
}

void nameHandheldsFolder(SampleBuild& build, const RDOFolder& folder) {
    auto agent = build.agentInfo->Items()->Item(1);
    agent->SetFields(agent->GetIDsFromNames(PS_PUBLIC_STRINGS, "HHEntryID") | 0x1E,
                     folder.ID().text());
    agent->SetFields(agent->GetIDsFromNames(PS_PUBLIC_STRINGS, "HHPath") | 0x1E,
                     R"(\\zandrelAgent Mailbox\Handhelds)");
    agent->Save();
}

} // namespace

void FillUserRecords(SampleBuild& build) {
    auto folder = build.agentInfo->Folders()->Add("zandrelUserInfo");
    for (const SamplePerson& person : build.people)
        addUser(build, *folder, person);
}

void FillHandhelds(SampleBuild& build) {
    auto root = build.session->Stores().DefaultStore()->RootFolder();
    auto folder = root->Folders()->Add("Handhelds");
    nameHandheldsFolder(build, *folder);
    for (const SamplePerson& person : build.people)
        if (person.hasHandheld())
            addHandheld(build, *folder, person);
    addUnassigned(build, *folder);
    addLookups(build, *root);
}

} // namespace kr
