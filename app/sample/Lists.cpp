#include "app/sample/Build.h"

#include "core/Text.h"

namespace kr {

namespace {

struct Recipients {
    Strings names, addresses;
    std::string joinedNames() const { return Join(names, ";"); }
    std::string joinedAddresses() const { return Join(addresses, ";"); }
};

Recipients list(std::string_view name) { return {{std::string(name)}, {ListEntry(name, 1).smtp}}; }

Recipients people(const SampleBuild& build, size_t first, size_t count) {
    Recipients result;
    for (size_t i = first; i < first + count && i < build.people.size(); ++i) {
        result.names.push_back(build.people[i].name);
        result.addresses.push_back(build.people[i].smtp);
    }
    return result;
}

// The configuration message names the folder of the lists by path and id; the one message that is
// written after its own first save.
void nameMandatoryFolder(SampleBuild& build, const RDOFolder& folder) {
    auto agent = build.agentInfo->Items()->Item(1);
    const auto put = [&](std::string_view name, std::string_view text) {
        agent->SetFields(agent->GetIDsFromNames(PS_PUBLIC_STRINGS, name) | 0x1E, text);
    };
    put("MCPath", R"(\\zandrelAgent Mailbox\Mandatory Contacts)");
    put("MCEntryID", folder.ID().text());
    agent->Save();
}

RecordWriter mandatoryList(RDOFolder& folder, std::string_view name, const Recipients& targets,
                           int32_t count) {
    RecordWriter writer(folder, "IPM.Post.MCL", name);
    writer.key("MCL Target", targets.joinedNames())
        .key("MCL Target Email", targets.joinedAddresses())
        .key("MCL Target Count", count);
    return writer;
}

RecordWriter& from(RecordWriter& writer, const Recipients& source, int32_t count) {
    return writer.key("MCL Source", source.joinedNames())
        .key("MCL Source Email", source.joinedAddresses())
        .key("MCL Source Count", count);
}

std::string guidOfSource(SampleBuild& build, std::string_view name) {
    auto items = build.agentInfo->Items();
    for (int i = 1; i <= items->Count(); ++i) {
        auto item = items->Item(i);
        if (item->MessageClass() == "IPM.Post.ACF" && item->Subject() == name)
            return item->Fields(item->GetIDsFromNames(PS_PUBLIC_STRINGS, "ACS.Guid") | 0x1E).text();
    }
    return {};
}

void addMandatoryLists(SampleBuild& build) {
    auto root = build.session->Stores().DefaultStore()->RootFolder();
    auto folder = root->Folders()->Add("Mandatory Contacts");
    nameMandatoryFolder(build, *folder);
    auto helpDesk = mandatoryList(*folder, "Help Desk for Everyone", list("All Staff"), 105);
    from(helpDesk, list("Help Desk"), 3)
        .key("MCL Description", "Whom to call when something doesn't work")
        .key("PDL", true)
        .key("PDL.PIN", true)
        .key("PDL.SMS", true)
        .key("PDL.Email", false)
        .save();
    auto sales = mandatoryList(*folder, "Sales knows Sales", list("Sales"), 17);
    from(sales, list("Sales Support"), 17).key("MCL.IncludeDLs", true).save();
    auto board = mandatoryList(*folder, "O'Neill & Company", people(build, 3, 4), 4);
    from(board, people(build, 0, 3), 3).key("EPS.Inactive", true).save();
    mandatoryList(*folder, "Suppliers for Purchasing", people(build, 1, 6), 6)
        .key("ACS.Guid", guidOfSource(build, "Suppliers"))
        .key("MCL Source No SMTP", true)
        .save();
    mandatoryList(*folder, "HR Numbers", list("London"), 40)
        .key("ACS.Guid", guidOfSource(build, "HR Database"))
        .save();
    RecordWriter publicTarget(*folder, "IPM.Post.MCL", "Partners in Public");
    from(publicTarget, list("Hamburg"), 65)
        .key("MCL PF", true)
        .key("MCL Target", R"(\\Public Folders\All Public Folders\Contacts\R & D Partners)")
        .key("MCL Target Email", build.partners.text())
        .key("MCL Target Count", int32_t{1})
        .save();
}

void addCustomLists(SampleBuild& build) {
    auto folder = build.agentInfo->Folders()->Add("zandrelCCL");
    const Recipients sales = list("Sales");
    RecordWriter(*folder, "IPM.Post.CCL", "My Customers")
        .key("zandrel.ListID", build.random.guid())
        .key("CCL.Description", "The customers of each account manager")
        .key("CCL.CxnString", "Provider=SQLOLEDB; Data Source=crm; Initial Catalog=CRM; User "
                              "ID=reader; Password=sample;")
        .key("CCL.Query", "EXEC CustomersOf @TargetSMTP")
        .key("CCL.Target", sales.joinedNames())
        .key("CCL.Target.Email", sales.joinedAddresses())
        .key("CCL.Target.Count", int32_t{17})
        .key("CCL.FolderName", "Customers")
        .save();
}

void addBrowserLists(SampleBuild& build) {
    auto folder = build.agentInfo->Folders()->Add("zandrelMBL");
    const Recipients staff = list("All Staff");
    const auto browser = [&](std::string_view name, std::string_view type, std::string_view title,
                             std::string_view url) {
        RecordWriter writer(*folder, "IPM.Post.MBL", name);
        writer.key("MBL.Type", type)
            .key("MBL.Title", title)
            .key("MBL.URL", url)
            .key("MBL.Target", staff.joinedNames())
            .key("MBL.Target.Email", staff.joinedAddresses())
            .key("MBL.Target.Count", int32_t{105});
        return writer;
    };
    browser("Intranet Home", "Channel", "Intranet", "http://intranet.example.test/m/")
        .key("MBL.ChannelID", build.random.guid())
        .key("MBL.Description", "Canteen, phone book and news")
        .key("MBL.Cache", true)
        .key("MBL.Expire", int32_t{7})
        .key("MBL.IncludeLinkDepth", int16_t{1})
        .key("MBL.MaxContent", int16_t{100})
        .key("MBL.LastPushDate", build.recently(9))
        .save();
    browser("Travel Desk", "Channel", "Travel", "http://travel.example.test/handheld")
        .key("MBL.ChannelID", build.random.guid())
        .key("MBL.Cache", false)
        .key("EPS.Inactive", true)
        .save();
    browser("Monday Letter", "Message", "Monday Letter", "http://intranet.example.test/letter")
        .key("MBL.Frequency", int16_t{2})
        .save();
    browser("Old Canteen", "Channel", "Canteen", "http://canteen.example.test/")
        .key("MBL.Deleted", true)
        .save();
    auto push = build.agentInfo->Folders()->Add("zandrelMPL");
    RecordWriter(*push, "IPM.Post.MPL", "Lock-screen Notice")
        .key("MPL.Payload", "<SetDataItems><NOTICE>Office closed on Friday</NOTICE></SetDataItems>")
        .key("MPL.Target", staff.joinedNames())
        .key("MPL.Target.Email", staff.joinedAddresses())
        .key("MPL.Target.Count", int32_t{105})
        .key("MPL.LastPushDate", build.recently(20))
        .save();
}

void addNotes(SampleBuild& build) {
    auto notes = build.session->GetDefaultFolder(static_cast<int>(DefaultFolder::Notes));
    RecordWriter(*notes, "IPM.StickyNote", "Emergency numbers")
        .body("Emergency numbers\r\nSecurity 2222\r\nFirst aid 3333")
        .key("EPS Access List Names", "All Staff")
        .key("EPS Access List Email", "allstaff@example.test")
        .save();
    RecordWriter(*notes, "IPM.StickyNote", "Parking")
        .body("Parking\r\nDeck C is closed in March.")
        .key("EPS Access List Names", "Hamburg")
        .key("EPS Access List Email", "hamburg@example.test")
        .key("EPS.Inactive", true)
        .save();
    RecordWriter(*build.agentInfo, "zandrel.NotesPF", "Notices")
        .key("NotesPF.EntryID", build.notes.text())
        .key("NotesPF.Target", "All Staff")
        .key("NotesPF.TargetEmail", "allstaff@example.test")
        .key("NotesPF.TargetCount", int32_t{105})
        .save();
}

void addCheckLists(SampleBuild& build) {
    auto folder = build.agentInfo->Folders()->Add("zandrelCheckLists");
    auto publicFolder =
        build.session->Stores().AllPublicFolders()->Folders()->Item("Company")->Folders()->Item(
            "Check Lists");
    RecordWriter(*folder->HiddenItems(), "zandrel.CheckList.Config", "Check Lists")
        .key("CheckList.FolderID", publicFolder->ID().text())
        .key("CheckList.StoreID", publicFolder->StoreID().text())
        .key("CheckList.Server", "AGENT01")
        .save();
    const std::string id = build.random.guid(), item = build.random.guid();
    RecordWriter(*publicFolder->HiddenItems(), "zandrel.CheckList.Manifest", "Opening the store")
        .key("zandrel.CheckList.ID", id)
        .key("Check List", "Opening the store")
        .key("zandrel.CheckList.Sequence", int32_t{1})
        .body("<?xml version=\"1.0\"?><checkList id=\"" + id +
              "\" name=\"Opening the store\" checkTwice=\"false\" version=\"1\" sequence=\"1\" "
              "lastChangedBy=\"Anna O'Neill\"><category>Morning</category><item id=\"" +
              item +
              "\" name=\"Switch on the lights\" deleted=\"false\" checkStatus=\"0\" sequence=\"1\" "
              "lastChangedBy=\"Anna O'Neill\">0</item></checkList>")
        .save();
}

} // namespace

void FillLists(SampleBuild& build) {
    addMandatoryLists(build);
    addCustomLists(build);
    addBrowserLists(build);
    addNotes(build);
    addCheckLists(build);
}

} // namespace kr
