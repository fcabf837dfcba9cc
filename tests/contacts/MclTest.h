#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "contacts/basACF.h"
#include "contacts/basMCL.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace kr {

using TestKeys = std::vector<std::pair<std::string_view, Value>>;

/// A configured mailbox with room for lists and their sources.
class MclWorld {
public:
    MclWorld() { world.LogOnConfigured(); }

    AgentSession& session() { return *world.session; }
    RDOFolderPtr root() { return session().rdo->Stores().DefaultStore()->RootFolder(); }
    RDOFolderPtr publicFolder(std::string_view name) {
        return session().rdo->Stores().AllPublicFolders()->Folders()->Item(name);
    }
    RDOFolderPtr lists() { return GetMCLFolder(session()).folder; }

    EntryID add(RDOFolder& folder, std::string_view messageClass, std::string_view name,
                const TestKeys& keys) {
        const RDOMessagePtr message = folder.Items()->Add(messageClass);
        message->SetSubject(name);
        for (const auto& [key, value] : keys)
            SetKey(*message, key, value);
        message->Save();
        return message->ID();
    }
    EntryID addList(std::string_view name, const TestKeys& keys = {}) {
        return add(*lists(), kMclClass, name, keys);
    }
    EntryID addSource(std::string_view name, const TestKeys& keys) {
        return add(*session().agentInfo, kAcfClass, name, keys);
    }
    EntryID addFolderSource(std::string_view name, TestKeys keys = {}) {
        keys.emplace_back("ACF EntryID", publicFolder("Shared")->ID().text());
        return addSource(name, keys);
    }
    EntryID addDataSource(std::string_view name, TestKeys keys = {}) {
        keys.emplace_back("ACF Cxn String", kCxn);
        keys.emplace_back("ACF Query", kQuery);
        return addSource(name, keys);
    }
    /// A contact of a folder, with at most one of the three addresses.
    void addContact(RDOFolder& folder, std::string_view name, std::string_view address,
                    std::string_view property = "0x8083") {
        const RDOMessagePtr contact = folder.Items()->Add("IPM.Contact");
        contact->SetSubject(name);
        if (!address.empty())
            contact->SetFields(GetPropTag(*contact, property, PropType::String, PSETID_Address),
                               address);
        contact->Save();
    }
    RDOMessagePtr open(const EntryID& id) { return GetMessage(session(), id); }
    Value key(const EntryID& id, std::string_view name) {
        const RDOMessagePtr message = open(id);
        return message ? GetKey(*message, name) : Value("no message");
    }
    void setKey(const EntryID& id, std::string_view name, const Value& value) {
        const RDOMessagePtr message = open(id);
        SetKey(*message, name, value);
        message->Save();
    }
    Value agentKey(std::string_view name) { return key(session().AgentMsgID, name); }

    static constexpr const char* kCxn =
        "Provider=SQLOLEDB; Data Source=HR01; Initial Catalog=People; Password=secret;";
    static constexpr const char* kQuery = "SELECT * FROM contacts";
    static constexpr const char* kDefaultPath = "\\\\Mailbox - Agent Mailbox\\Mandatory Contacts";

    World world;
};

} // namespace kr
