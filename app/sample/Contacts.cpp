#include "app/sample/Build.h"

namespace kr {

namespace {

constexpr PropTag kInitials = 0x3A0A001E;
constexpr int kBackupsEach = 3;
constexpr size_t kMailboxesWithBackups = 5;

// The first letter, which may take several bytes.
std::string firstLetter(std::string_view name) {
    size_t end = 1;
    while (end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        ++end;
    return std::string(name.substr(0, end));
}

SamplePerson outsider(SampleBuild& build, std::string_view company, int number) {
    SamplePerson person = build.anyone();
    // someone else's contact: own name order, own address
    person.alias = PlainAlias(person.last) + std::to_string(number);
    person.smtp = person.alias + "@" + PlainAlias(company) + "." + std::string(kSampleDomain);
    person.phone = "+44 20 " + build.random.digits(4) + " " + build.random.digits(4);
    person.pin.clear();
    return person;
}

EntryID fillContacts(SampleBuild& build, RDOFolder& folder, std::string_view company, int count) {
    for (int i = 1; i <= count; ++i) {
        AddContact(folder, outsider(build, company, i), company);
        ++build.counts.contacts;
    }
    return folder.ID();
}

void addBackups(SampleBuild& build, RDOFolder& contacts) {
    auto backups = contacts.Folders()->Add("EPS Backups", "IPF.Note");
    for (int n = 1; n <= kBackupsEach; ++n) {
        RecordWriter backup(*backups, "IPM.Post", "EPS Backup " + std::to_string(n));
        backup.body("EPS stored " + std::to_string(n) + " contact(s) before changing them.\r\n");
        auto source = contacts.Items();
        for (int i = 1; i <= n && i <= source->Count(); ++i)
            backup.message().Attachments()->AddMessage(*source->Item(i));
        backup.save();
        ++build.counts.backups;
    }
}

} // namespace

EntryID AddContact(RDOFolder& folder, const SamplePerson& person, std::string_view company) {
    const std::string fileAs = person.last + ", " + person.first;
    RecordWriter contact(folder, "IPM.Contact", person.name);
    contact.fixed(PR_DISPLAY_NAME, person.name)
        .fixed(PR_GIVEN_NAME, person.first)
        .fixed(PR_SURNAME, person.last)
        .fixed(kInitials, firstLetter(person.first) + firstLetter(person.last))
        .fixed(PR_COMPANY_NAME, company)
        .fixed(PR_TITLE, person.title)
        .fixed(PR_DEPARTMENT_NAME, person.department)
        .fixed(PR_OFFICE_LOCATION, person.office)
        .fixed(PR_BUSINESS_TELEPHONE_NUMBER, person.phone)
        .named(PSETID_Address, "0x8005", fileAs)
        .named(PSETID_Address, "0x8080", person.name + " (" + person.smtp + ")")
        .named(PSETID_Address, "0x8082", "SMTP")
        .named(PSETID_Address, "0x8083", person.smtp)
        .named(PSETID_Address, "0x8084", person.smtp);
    if (!person.mobile.empty())
        contact.fixed(PR_MOBILE_TELEPHONE_NUMBER, person.mobile);
    if (!person.fax.empty())
        contact.fixed(PR_BUSINESS_FAX_NUMBER, person.fax);
    if (person.hasHandheld()) // UserField1 carries the PIN
        contact.named(PSETID_Address, "0x804F", person.pin);
    return contact.save();
}

void FillPublicFolders(SampleBuild& build) {
    auto all = build.session->Stores().AllPublicFolders();
    auto company = all->Folders()->Add("Company", "IPF.Note");
    auto contacts = all->Folders()->Add("Contacts", "IPF.Contact");
    auto suppliers = contacts->Folders()->Add("Suppliers", "IPF.Contact");
    build.suppliers = fillContacts(build, *suppliers, "Granit Partners", 60);
    auto partners = contacts->Folders()->Add("R & D Partners", "IPF.Contact");
    build.partners = fillContacts(build, *partners, "Åström Labs", 25);
    contacts->Folders()->Add("Archive", "IPF.Contact");
    auto notes = company->Folders()->Add("Notices", "IPF.StickyNote");
    for (const std::string_view text :
         {"Help desk\r\nCall extension 4711.", "Guest Wi-Fi\r\nAsk reception for today's key.",
          "Fire drill\r\nFirst Tuesday of the month, 10:00."})
        RecordWriter(*notes, "IPM.StickyNote", text.substr(0, text.find('\r'))).body(text).save();
    build.notes = notes->ID();
    company->Folders()->Add("Check Lists", "IPF.Task");
}

void FillMailboxes(SampleBuild& build) {
    for (size_t i = 0; i < kMailboxesWithBackups && i < build.people.size(); ++i) {
        auto mailbox = build.org.OpenSession(build.people[i].alias);
        auto contacts = mailbox->GetDefaultFolder(static_cast<int>(DefaultFolder::Contacts));
        for (size_t n = 0; n < 6; ++n)
            AddContact(*contacts, build.anyone(), "Example Ltd");
        addBackups(build, *contacts);
    }
}

} // namespace kr
