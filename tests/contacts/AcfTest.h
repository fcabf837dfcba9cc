#pragma once

#include <gtest/gtest.h>

#include "contacts/basACFRecord.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace kr {

/// A configured mailbox with a tree that has the root of the sources.
class AcfTest : public ::testing::Test {
protected:
    AcfTest() {
        world.LogOnConfigured();
        tree.Add("", "agent", "agent", "Agent", "");
        tree.Add("agent", kAcfRootKey, kAcfRootKey, "Alternate Contact Sources", "imgContact");
    }
    AgentSession& session() { return *world.session; }
    RDOFolderPtr publicFolder(std::string_view name) {
        return session().rdo->Stores().AllPublicFolders()->Folders()->Add(name, "IPF.Contact");
    }
    RDOFolderPtr bobs(std::string_view name) {
        const RDOStorePtr bob = session().rdo->GetSharedMailbox("SMTP:bob@example.test");
        return bob->IPMRootFolder()->Folders()->Add(name, "IPF.Contact");
    }
    using Keys = std::vector<std::pair<std::string_view, Value>>;
    EntryID addRecord(std::string_view messageClass, std::string_view subject, const Keys& keys) {
        const RDOMessagePtr record = session().agentInfo->Items()->Add(messageClass);
        record->SetSubject(subject);
        for (const auto& [key, value] : keys)
            SetKey(*record, key, value);
        record->Save();
        return record->ID();
    }
    EntryID addAcf(std::string_view name, const EntryID& folder, Keys more = {}) {
        more.emplace_back(kAcfFolderKey, folder.text());
        return addRecord(kAcfClass, name, more);
    }
    EntryID addAcds(std::string_view name, std::string_view cxnString = "Provider=x;",
                    std::string_view query = "people") {
        return addRecord(kAcfClass, name, {{kAcfCxnKey, cxnString}, {kAcfQueryKey, query}});
    }
    EntryID addMcr(std::string_view ranking = "", const EntryID& folder = EntryID("00AA")) {
        return addRecord(kMcrClass, kMcrName,
                         {{kMcrFolderKey, folder.text()}, {"ACF Trust Ranking", ranking}});
    }
    std::string key(const EntryID& id, std::string_view name) {
        const RDOMessagePtr record = GetMessage(session(), id);
        return record ? KeyText(*record, name) : "no record";
    }
    bool inactive(const EntryID& id) { return KeyFlag(*GetMessage(session(), id), "EPS.Inactive"); }
    size_t countOf(std::string_view messageClass) {
        return RequireMessageIDs(*session().agentInfo, messageClass, "").size();
    }
    /// Texts of the branch's nodes.
    std::vector<std::string> branch() {
        std::vector<std::string> texts;
        for (const auto& child : tree.Find(kAcfRootKey)->children)
            texts.push_back(child->text);
        return texts;
    }
    TreeNode& node(const EntryID& id) { return *tree.Find(id.text()); }

    World world;
    TreeModel tree;
};

} // namespace kr
