#include "app/sample/Build.h"

namespace kr {

namespace {

using std::chrono::hours;

constexpr std::string_view kExcludeExt = "ade;adp;asx;bas;chm;cmd;com;cpl;crt;exe;hlp;hta;inf";

void addAgentMessage(SampleBuild& build) {
    const SamplePerson& admin = build.people.front();
    RecordWriter agent(*build.agentInfo, "zandrel.Agent", "zandrelAgent");
    agent.key("AdminNames", admin.name)
        .key("AdminEmail", admin.smtp)
        .key("ReportNames", admin.name)
        .key("ReportEmail", admin.smtp)
        .key("PrimaryNames", admin.name)
        .key("PrimaryEmail", admin.smtp)
        .key("PrimaryPhone", admin.phone)
        .key("Reporting", true)
        .key("ExcludeExt", kExcludeExt)
        .key("SenderDomains", kSampleDomain)
        .key("BPE.TrustedDomains", "lab.example.test")
        .key("StaleDate", int32_t{2})
        .key("DailyBackup.Disable", false)
        .key("DailyBackup.Time", build.daysAgo(0))
        .key("DeleteDelay", int32_t{60})
        .key("CleanSender", true)
        .key("MaxAttach", int32_t{5})
        .key("MaxList", int32_t{25})
        .key("BrowserWait", int32_t{10})
        .key("Fax", int32_t{0})
        // as the machine's settings say: who tries things out can put a proxy in between
        .key("ProxySetting", int16_t{0})
        .key("PollingInterval", int32_t{60});
    agent.key("EPS.EmailUpdate", true)
        .key("EPS.SaveToBackups", true)
        .key("EPS.MaxBackupAttach", int32_t{50})
        .key("EPS.Purge", true)
        .key("EPS.PurgeInterval", int32_t{30})
        .key("EPS.FileAsRule", int32_t{2})
        .key("EPS.SubFolder", false)
        .key("EPS.RemoveObsoleteContacts", true)
        .key("EPS.RespectPrivate", true)
        .key("EPS.DataFields", Strings{"Email1", "BusinessPhone", "MobilePhone", "Title"})
        .key("EPS.DataFields.LastUpdate", build.daysAgo(40))
        .key("EPS.RestoreEnabled", false)
        .key("BSR.Report", true)
        .key("BSR.ReportNames", admin.name)
        .key("BSR.ReportAddresses", admin.smtp)
        .key("BSR.ReportServer", "AGENT01")
        .key("BSR.ReportInterval", "weekly")
        .key("BSR.ReportTime", build.daysAgo(0))
        .key("BPE.DLPrefix", "zandrelAutoBES-")
        .key("AirtimeVendors", "North Mobile;Telco Süd")
        .key("DefaultLCID", int32_t{1033})
        .save();
}

struct HostPlan {
    std::string_view name, version, task, subTask, target;
    int16_t percent;
    bool eps, bpe, ssu, mcc;
};
constexpr HostPlan kHosts[] = {{"AGENT01", "4.0.112", "Updating contacts", "Mandatory contacts",
                                "Zoë Åkesson", 37, true, true, true, true},
                               {"AGENT02", "4.0.112", "", "", "", 0, true, false, false, false},
                               {"LAB-AGENT", "3.9.87", "", "", "", 0, false, false, false, true}};

void addHost(SampleBuild& build, const HostPlan& plan) {
    const Time now = build.options.now;
    RecordWriter host(*build.agentInfo, "zandrel.Host", plan.name);
    host.key("PollingInterval", int32_t{plan.eps ? 60 : 300})
        .key("NoRenderer", plan.mcc && !plan.eps)
        .key("LogLevel", int16_t{8})
        .key("NoMsgProcessing", !plan.eps)
        .key("Reporting", true)
        .key("ServiceWatchdog.Interval", int32_t{5})
        .key("AgentVersion", plan.version)
        .key("EPS UpdateClients", plan.eps)
        .key("AddFromGAL", plan.eps)
        .key("ProcessMCL", plan.eps)
        .key("EPS Home Servers", plan.bpe ? "*" : "MAIL02")
        .key("ClientUpdateInterval", "24;h")
        .key("NextClientUpdate", now + hours(9))
        .key("LastClientUpdate", now - hours(15))
        .key("BPE HarvestPins", plan.bpe)
        .key("PinHarvestInterval", "24;h")
        .key("NextPinHarvest", now + hours(4))
        .key("LastPinHarvest", now - hours(20))
        .key("BPE Agent Address", "besadmin@example.test")
        .key("BPE Agent Name", "BESAdmin")
        .key("SSU", plan.ssu)
        .key("SSUInterval", "1;d")
        .key("NextSSU", now + hours(2))
        .key("LastSSU", now - hours(22))
        .key("MCC.Enabled", plan.mcc)
        .key("MCC.Interval", "12;h")
        .key("MCC.NextUpdate", now + hours(6))
        .key("EPS.MaxInterval", "3;h")
        .key("BSR.ReportStats", plan.name == "AGENT01")
        .key("CurrentTask", plan.task)
        .key("CurrentSubTask", plan.subTask)
        .key("CurrentTarget", plan.target)
        .key("PercentComplete", int32_t{plan.percent})
        .save();
    ++build.counts.hosts;
}

// The repository: a contacts folder that users see, and the hidden record that names it.
void addRepository(SampleBuild& build) {
    auto root = build.session->Stores().DefaultStore()->IPMRootFolder();
    auto folder = root->Folders()->Add("Master Contact Repository", "IPF.Contact");
    build.repository = folder->ID();
    for (size_t i = 0; i < build.people.size() && i < 120; ++i) {
        const SamplePerson& person = build.people[i];
        auto contact =
            build.session->GetMessageFromID(AddContact(*folder, person, "Example Ltd"), EntryID());
        const auto put = [&](std::string_view name, const Value& value) {
            contact->SetFields(contact->GetIDsFromNames(PS_PUBLIC_STRINGS, name) |
                                   static_cast<PropTag>(TypeOfValue(value)),
                               value);
        };
        put("SSU ID", build.random.guid());
        put("SSU Last Request", build.recently(60));
        if (build.random.chance(60))
            put("SSU Last User Update", build.recently(30));
        put("SSU Disabled", build.random.chance(5));
        if (build.random.chance(10)) {
            put("EPS Private Fields", "MobilePhone;EPS Home Phone");
            put("EPS Access List Names", "Help Desk");
            put("EPS Access List", "helpdesk@example.test");
        }
        contact->Save();
        ++build.counts.contacts;
    }
    RecordWriter(*build.agentInfo, "IPM.Post.Master Contact Repository",
                 "Master Contact Repository")
        .key("MCR EntryID", build.repository.text())
        .key("MCR Path", R"(\\zandrelAgent Mailbox\Master Contact Repository)")
        .key("Default Private Fields", "MobilePhone;EPS Home Phone")
        .key("ACF Trust Ranking", "Suppliers|HR Database|Assistants' Contacts|R & D Partners")
        .save();
}

RecordWriter source(SampleBuild& build, std::string_view name, std::string_view description) {
    RecordWriter writer(*build.agentInfo, "IPM.Post.ACF", name);
    writer.key("ACS.Guid", build.random.guid()).key("ACF Description", description);
    return writer;
}

void addSources(SampleBuild& build) {
    const SamplePerson& admin = build.people.front();
    source(build, "Suppliers", "Contacts of the purchasing department")
        .key("ACF EntryID", build.suppliers.text())
        .key("ACF Path", R"(\\Public Folders\All Public Folders\Contacts\Suppliers)")
        .key("ACF Admins", admin.name)
        .key("ACF Admins Email", admin.smtp)
        .save();
    source(build, "R & D Partners", "")
        .key("ACF EntryID", build.partners.text())
        .key("ACF Path", R"(\\Public Folders\All Public Folders\Contacts\R & D Partners)")
        .key("EPS.Inactive", true)
        .save();
    source(build, "HR Database", "Phone numbers as human resources keeps them")
        .key("ACF Cxn String", "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=HR; Integrated "
                               "Security=SSPI;")
        .key("ACF Query", "SELECT Mail AS Email1, Mobile AS MobilePhone FROM Staff")
        .save();
    const SamplePerson& owner = build.people[1];
    auto mailbox = build.org.OpenSession(owner.alias);
    auto folder = mailbox->GetDefaultFolder(static_cast<int>(DefaultFolder::Contacts))
                      ->Folders()
                      ->Add("Assistants' Contacts", "IPF.Contact");
    AddContact(*folder, admin, "Example Ltd");
    source(build, "Assistants' Contacts", "")
        .key("ACF EntryID", folder->ID().text())
        .key("ACF StoreID", folder->StoreID().text())
        .key("ACF Mbx.SMTP", owner.smtp)
        .key("ACF Mbx.ExServer", owner.homeServer)
        .key("ACF Path", R"(\Contacts\Assistants' Contacts)")
        .save();
}

void addConnectors(SampleBuild& build) {
    RecordWriter(*build.agentInfo, "IPM.Post.BesConnector", "db1[BESMgmt]")
        .key("Connector.Type", "SQL")
        .key("Connector.CxnString", "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=BESMgmt; "
                                    "Integrated Security=SSPI;")
        .key("Connector.DataSource", "db1")
        .key("Connector.Catalog", "BESMgmt")
        .key("Connector.BES.Servers",
             Strings{"BES-NORTH;BESHOST1;S10000001;4.1.4", "BES-SOUTH;BESHOST2;S10000002;4.1.4"})
        .key("Connector.MDS.Servers",
             Strings{"beshost1.example.test:8080", "beshost2.example.test:8080"})
        .key("Connector.MDS.Host", "beshost1.example.test:8080")
        .key("Connector.MDS.UseSelected", false)
        .save();
    RecordWriter(*build.agentInfo, "IPM.Post.BesConnector", "BESAdmin[Mbx]")
        .key("Connector.Type", "MBX")
        .key("Connector.Mbx.Name", "BESAdmin")
        .key("Connector.Mbx.Address", "besadmin@example.test")
        .key("Connector.BES.Servers", Strings{"BES-LAB;LABHOST;S10000003;3.6.2"})
        .key("Connector.Exclude", "")
        .save();
}

void addReports(SampleBuild& build) {
    RecordWriter(*build.agentInfo, "zandrel.Self-Service Update", "SSU Configuration")
        .key("SSU RRI", "60;d")
        .key("SSU Nag", "7;d")
        .key("SSU URL", "http://agent01.example.test/kRSSU/Default.aspx")
        .key("SSU User List", "allstaff@example.test")
        .key("SSU User Names", "All Staff")
        .save();
    RecordWriter(*build.agentInfo, "zandrel.ModuleCensus", "Module Census")
        .key("Module.List", Strings{"net_rim_bb_browser_daemon", "net_rim_bb_messaging_app"})
        .body("<html><body><h1>Module Census</h1><p>No report was made yet.</p></body></html>")
        .save();
    auto bsr = build.agentInfo->Folders()->Add("BSR");
    RecordWriter(*bsr, "IPM.Post", "BES Statistics Report")
        .body("<html><body><h1>BES Statistics</h1><table><tr><th>Server</th><th>Users</th></tr>"
              "<tr><td>BES-NORTH</td><td>702</td></tr><tr><td>BES-SOUTH</td><td>698</td></tr>"
              "</table></body></html>")
        .save();
}

} // namespace

void FillAgentRecords(SampleBuild& build) {
    auto root = build.session->Stores().DefaultStore()->RootFolder();
    build.agentInfo = root->Folders()->Add("zandrelAgentInfo");
    addAgentMessage(build);
    for (const HostPlan& plan : kHosts)
        addHost(build, plan);
    addRepository(build);
    addSources(build);
    addConnectors(build);
    addReports(build);
}

} // namespace kr
