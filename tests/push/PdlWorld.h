#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "contacts/basACF.h"
#include "contacts/basMCL.h"
#include "core/Recordset.h"
#include "platform/store/sqlite/Organisation.h"
#include "tests/push/PushWorld.h"

namespace kr {

/// A world with contact lists. Dora Dunn (dora@example.test) has a mobile phone; Alice and O'Brien
/// have handhelds; Bob has neither.
struct PdlWorld : PushWorld {
    using Keys = std::vector<std::pair<std::string_view, Value>>;

    PdlWorld() {
        NewAddressEntry dora;
        dora.dn = "/o=Example/ou=First/cn=Recipients/cn=dora";
        dora.name = "Dora Dunn";
        dora.alias = "dora";
        dora.smtp = "dora@example.test";
        dora.properties = {{PR_MOBILE_TELEPHONE_NUMBER, Value("555-0104")}};
        Organisation(storePath()).AddEntry(dora);
    }
    RDOFolderPtr Lists() { return GetMCLFolder(*session).folder; }
    RDOMessagePtr Add(RDOFolder& folder, std::string_view messageClass, std::string_view name,
                      const Keys& keys) {
        const RDOMessagePtr message = folder.Items()->Add(messageClass);
        message->SetSubject(name);
        for (const auto& [key, value] : keys)
            SetKey(*message, key, value);
        message->Save();
        return message;
    }
    RDOMessagePtr AddList(std::string_view name, const Keys& keys = {}) {
        return Add(*Lists(), kMclClass, name, keys);
    }
    /// A PDL of Alice, Bob and Dora for the public; `protocols` as in "PSE".
    RDOMessagePtr AddPdl(std::string_view name, std::string_view protocols) {
        const auto has = [&](char protocol) {
            return protocols.find(protocol) != std::string_view::npos;
        };
        return AddList(
            name, {{"PDL", true},
                   {"PDL.PIN", has('P')},
                   {"PDL.SMS", has('S')},
                   {"PDL.Email", has('E')},
                   {"MCL Source", "Alice Adams;Bob Baker;Dora Dunn"},
                   {"MCL Source Email", "alice@example.test;bob@example.test;dora@example.test"},
                   {"MCL Target", "Sales"},
                   {"MCL Target Email", "sales@example.test"}});
    }
    RDOFolderPtr Shared() {
        return session->rdo->Stores().AllPublicFolders()->Folders()->Item("Shared");
    }
    void AddFolderSource(std::string_view guid) {
        Add(*session->agentInfo, kAcfClass, "Suppliers",
            {{"ACF EntryID", Shared()->ID().text()}, {"ACS.Guid", guid}});
    }
    void AddDataSource(std::string_view guid) {
        Add(*session->agentInfo, kAcfClass, "People",
            {{"ACF Cxn String", kCxn}, {"ACF Query", kQuery}, {"ACS.Guid", guid}});
    }
    void AddContact(std::string_view name, std::string_view address, std::string_view mobile) {
        const RDOMessagePtr contact = Shared()->Items()->Add("IPM.Contact");
        contact->SetSubject(name);
        if (!address.empty())
            contact->SetFields(GetPropTag(*contact, "0x8083", PropType::String, PSETID_Address),
                               address);
        if (!mobile.empty())
            contact->SetFields(PR_MOBILE_TELEPHONE_NUMBER, mobile);
        contact->Save();
    }
    void AddHost(std::string_view name) { Add(*session->agentInfo, kHostClass, name, {}); }
    RDOMessagePtr Again(const RDOMessagePtr& message) {
        return GetMessage(*session, message->ID());
    }

    static constexpr const char* kCxn = "Provider=SQLOLEDB; Data Source=HR01;";
    static constexpr const char* kQuery = "SELECT * FROM contacts";
};

} // namespace kr
