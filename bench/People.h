#pragma once

#include <string>

#include "core/basStore.h"
#include "handhelds/HandheldFields.h"
#include "tests/push/PushWorld.h"

/// Many people with their handhelds, written as one import does: in one transaction.
namespace kr::bench {

inline std::string DnOf(const std::string& alias) {
    return "/o=Example/ou=First/cn=Recipients/cn=" + alias;
}
inline std::string AddressOf(int person) {
    return "person" + std::to_string(person) + "@mail.example.test";
}
inline std::string PinOf(int person) { return std::to_string(0x20000000 + person); }

inline void AddEntry(Organisation& org, const std::string& alias, int displayType) {
    NewAddressEntry entry;
    entry.dn = DnOf(alias);
    entry.name = "Person Number " + alias;
    entry.alias = alias;
    entry.smtp = alias + "@mail.example.test";
    entry.proxies = {"smtp:" + alias + "@old.example.test"};
    entry.displayType = displayType;
    org.AddEntry(entry);
}

/// People in the address book, all in one list "crowd".
inline void AddPeople(World& world, int count) {
    Organisation org(world.storePath());
    org.Begin();
    AddEntry(org, "crowd", 1);
    for (int i = 0; i < count; ++i) {
        const std::string alias = "person" + std::to_string(i);
        AddEntry(org, alias, 0);
        org.AddMember(DnOf("crowd"), DnOf(alias));
    }
    org.Commit();
}

/// A value such as the agent writes.
inline Value SampleOf(const Field& field, int person) {
    const std::string number = std::to_string(person);
    switch (field.type) {
    case FieldType::Date:
        return Time(std::chrono::seconds(1'700'000'000 + person));
    case FieldType::Boolean:
        return person % 3 == 0;
    default:
        return field.name == "PIN"           ? PinOf(person)
               : field.name == "DisplayName" ? "Person Number " + number
               : field.name == "BB Server"   ? std::string("BES1")
               : field.name == "ESN"         ? "ESN" + number
                                             : "Sample " + std::to_string(person % 50);
    }
}

/// A handheld for each person, with all its keys.
inline void AddHandhelds(PushWorld& world, int count) {
    Organisation org(world.storePath());
    org.Begin();
    const RDOSessionPtr session = org.OpenSession("agentbox");
    const RDOFolderPtr folder =
        session->Stores().DefaultStore()->RootFolder()->Folders()->Item("Handhelds");
    const std::vector<Field> fields = HandheldRecordsetFields();
    for (int i = 0; i < count; ++i) {
        const RDOMessagePtr record = folder->Items()->Add(kHandheldClass);
        record->SetFields(PR_CONVERSATION_TOPIC, AddressOf(i));
        for (const Field& field : fields)
            if (field.name != "Email" && field.name != "EntryID")
                SetKey(*record, field.name, SampleOf(field, i));
        record->Save();
    }
    org.Commit();
}

} // namespace kr::bench
