#include "contacts/ContactKinds.h"
#include "contacts/basACFRecord.h"
#include "contacts/basMCL.h"
#include "core/basStore.h"
#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

class AcfKinds : public ConsoleTest {
protected:
    AcfKinds() {
        for (const auto& [name, form] : {std::pair{"MCR", &forms.frmMCR},
                                         {"ACF", &forms.frmACF},
                                         {"ACFMbx", &forms.frmACFMbx},
                                         {"ACDS", &forms.frmACDS}})
            *form = [this, name = std::string(name)](const EntryID& id) {
                opened.push_back(name + ":" + id.text());
                return answer ? answer(id) : EntryID();
            };
        forms.newMclACF = [this](const MclSource& source) { return newList("ACF", source); };
        forms.newMclACDS = [this](const MclSource& source) { return newList("ACDS", source); };
        RegisterContactKinds(*console, forms);
        folder =
            session().rdo->Stores().AllPublicFolders()->Folders()->Add("Suppliers", "IPF.Contact");
    }
    AgentSession& session() { return *world.session; }
    EntryID newList(const std::string& kind, const MclSource& source) {
        opened.push_back("new" + kind + ":" + source.guid);
        return EntryID("00");
    }
    EntryID addAcf(std::string_view name, std::string_view mailbox = {}, bool inactive = false) {
        const RDOMessagePtr acf = session().agentInfo->Items()->Add(kAcfClass);
        acf->SetSubject(name);
        SetKey(*acf, kAcfFolderKey, folder->ID().text());
        if (!mailbox.empty())
            SetKey(*acf, kAcfMailboxKey, mailbox);
        if (inactive)
            SetKey(*acf, "EPS.Inactive", true);
        acf->Save();
        return acf->ID();
    }
    EntryID addAcds(std::string_view name, std::string_view cxnString, std::string_view query) {
        const RDOMessagePtr acf = session().agentInfo->Items()->Add(kAcfClass);
        acf->SetSubject(name);
        SetKey(*acf, kAcfCxnKey, cxnString);
        SetKey(*acf, kAcfQueryKey, query);
        acf->Save();
        return acf->ID();
    }
    void build(std::string_view ranking) {
        CreateDefaultMCR(session());
        PutTrustRanking(session(), ranking);
        console->LoadTreeRoot();
    }
    Names branch() {
        Names texts;
        for (const auto& child : console->tree().Find(kAcfRootKey)->children)
            texts.push_back(child->text);
        return texts;
    }
    std::string mcrKey() { return console->tree().Find(kAcfRootKey)->children.front()->key; }
    Names column(int number) {
        Names texts;
        for (size_t i = 0; i < console->list().Count(); ++i)
            texts.emplace_back(console->list().Text(i, number));
        return texts;
    }
    bool shown(std::string_view entry) {
        const Names names = view.visible();
        return std::ranges::find(names, entry) != names.end();
    }
    void addContact(std::string_view name, std::string_view address) {
        const RDOMessagePtr contact = folder->Items()->Add("IPM.Contact");
        contact->SetSubject(name);
        contact->SetFields(GetPropTag(*contact, "0x8084", PropType::String, PSETID_Address),
                           address);
        contact->Save();
    }
    void rename(const EntryID& id, std::string_view name) {
        const RDOMessagePtr acf = GetMessage(session(), id);
        acf->SetSubject(name);
        acf->Save();
    }

    ContactForms forms;
    std::function<EntryID(const EntryID&)> answer;
    Names opened;
    RDOFolderPtr folder;
};

const std::string kMcr(kMcrName);

TEST_F(AcfKinds, TheTreeIsBuiltWithTheSources) {
    addAcf("B");
    addAcf("A");
    build("A|B");
    EXPECT_EQ(branch(), (Names{kMcr, "A", "B"}));
}

TEST_F(AcfKinds, AllSourcesAreListedByTrust) {
    addContact("Adam", "a@x");
    addAcf("Z");
    addAcf("Lost", "gone@example.test");
    addAcds("Data", "Data Source=x;Password=secret;", "people");
    addAcds("Down", "Provider=none;", "people");
    world.database.sources["Data Source=x;Password=secret;"].answers["people"] = {{"Email1"},
                                                                                  {{"a"}, {"b"}}};
    build("Z|Lost|Data|Down");
    click(kAcfRootKey);
    EXPECT_EQ(column(0), (Names{kMcr, "Z", "Lost", "Data", "Down"}));
    EXPECT_EQ(column(1), (Names{"0", "1", "", "2", "unknown"}));
    EXPECT_EQ(column(2)[0].find("\\\\"), 0u);
    EXPECT_EQ(column(2)[1], "\\\\Public Folders\\All Public Folders\\Suppliers");
    EXPECT_EQ(column(2)[2], "Unable to open folder");
    EXPECT_EQ(column(2)[3], "Data Source=x;Password=********;");
    EXPECT_EQ(view.status, "5 sources");
    EXPECT_EQ(world.ui.statuses().size(), 0u);
    EXPECT_TRUE(world.logHas("loading all ACF"));
    EXPECT_EQ(console->list().At(0).tag, "mcr");
    EXPECT_EQ(console->list().At(2).tag, "acfmbx");
    Names titles;
    for (const ListColumn& shownColumn : console->list().Columns())
        if (shownColumn.visible())
            titles.push_back(shownColumn.title);
    EXPECT_EQ(titles, (Names{"Name", "Count", "Path"}));
}

TEST_F(AcfKinds, QuickLoadOpensNothing) {
    addAcf("Lost", "gone@example.test");
    addAcds("Data", "Provider=x;", "people");
    build("Lost|Data");
    session().quickLoad = true;
    click(kAcfRootKey);
    EXPECT_EQ(column(1), (Names{"", "", ""}));
    EXPECT_EQ(column(2), (Names{"", "", "Provider=x;"}));
    EXPECT_TRUE(world.database.opened.empty());
}

TEST_F(AcfKinds, AloneTheRepositoryIsOneSource) {
    build("");
    click(kAcfRootKey);
    EXPECT_EQ(view.status, "1 source");
}

TEST_F(AcfKinds, ARowLeadsToItsNode) {
    const EntryID a = addAcf("A");
    addContact("Adam", "adam@x");
    build("A");
    click(kAcfRootKey);
    console->ActivateRow(1);
    EXPECT_EQ(view.selectedNode, a.text());
    EXPECT_EQ(column(0), Names{"Adam"});
    EXPECT_EQ(view.status, "1 contact");
    EXPECT_EQ(console->list().At(0).tag, "altcntct");
}

TEST_F(AcfKinds, DuplicatesAreToldOnce) {
    const EntryID a = addAcf("A");
    addContact("Adam", "same@x");
    addContact("Bea", "same@x");
    build("A");
    world.ui.Expect("Duplicate contacts appear in bold");
    click(a.text());
    EXPECT_EQ(view.status, "2 contacts");
    EXPECT_TRUE(console->list().At(0).bold);
    session().quickLoad = true; // all were loaded all the same
    click(kAcfRootKey);
    world.ui.Expect("Duplicate contacts appear in bold");
    click(a.text());
}

TEST_F(AcfKinds, AListThatWasCutSaysSo) {
    const EntryID a = addAcf("A");
    for (int i = 0; i < 1001; ++i)
        addContact("N" + std::to_string(i), "same@x");
    build("A");
    session().quickLoad = true;
    click(a.text());
    EXPECT_EQ(view.status, "First 1000 of 1001 contacts shown - disable View > Quick Load to see "
                           "full list");
    EXPECT_EQ(console->list().Count(), 1000u);
}

TEST_F(AcfKinds, ALoadStopsWhenThePersonMovesOn) {
    const EntryID a = addAcf("A");
    for (int i = 0; i < 120; ++i)
        addContact("N" + std::to_string(i), "same@x");
    build("A");
    world.ui.onDoEvents = [&] {
        world.ui.onDoEvents = nullptr;
        click("epsroot");
    };
    click(a.text()); // no box about duplicates comes
    EXPECT_EQ(console->CurrentTag(), "epsroot");
    EXPECT_EQ(console->list().Count(), 0u);
}

TEST_F(AcfKinds, AFolderThatCannotBeOpenedIsNamed) {
    const EntryID lost = addAcf("Lost", "gone@example.test");
    const EntryID plain = addAcf("Plain");
    build("Lost|Plain");
    click(lost.text());
    EXPECT_EQ(view.status, "Unable to access mailbox folder Lost");
    EXPECT_TRUE(world.logHas("unable to open shared mailbox 'gone@example.test' for ACF 'Lost'"));
    folder->Delete();
    click(plain.text());
    EXPECT_EQ(view.status, "Unable to open folder Plain");
}

TEST_F(AcfKinds, TheRepositoryShowsItsContacts) {
    build("");
    const RDOFolderPtr repository = GetMCRFolder(session());
    for (const std::string_view name : {"Adam", "Bea"}) {
        const RDOMessagePtr contact = repository->Items()->Add("IPM.Contact");
        contact->SetFields(PR_DISPLAY_NAME, name);
        contact->Save();
    }
    click(mcrKey());
    EXPECT_EQ(view.title, "Master Contact Repository - Master Contact Repository ");
    EXPECT_EQ(column(0), (Names{"Adam", "Bea"}));
    EXPECT_TRUE(console->list().At(0).ghosted);
    EXPECT_EQ(console->list().At(0).tag, "mastercntct");
    EXPECT_EQ(view.status, "2 contacts");
    EXPECT_TRUE(world.logHas("loading MCR"));
    repository->Delete();
    click("epsroot");
    click(mcrKey());
    EXPECT_EQ(view.status, "Unable to access Master Contact Repository");
}

TEST_F(AcfKinds, TrustEntriesFollowThePlace) {
    const EntryID a = addAcf("A"), b = addAcf("B"), c = addAcf("C");
    build("A|B|C");
    const auto offered = [&](const EntryID& id) {
        click(id.text());
        return std::string(shown("mnuAcfTrustMore") ? "more " : "") +
               (shown("mnuAcfTrustLess") ? "less" : "");
    };
    EXPECT_EQ(offered(a), "less");
    EXPECT_EQ(offered(b), "more less");
    EXPECT_EQ(offered(c), "more ");
    click(mcrKey());
    EXPECT_FALSE(shown("mnuAcfTrustMore") || shown("mnuAcfTrustLess"));
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    PutTrustRanking(session(), "A");
    LoadAcfTree(session(), console->tree());
    click("epsroot");
    EXPECT_EQ(offered(a), "");
}

TEST_F(AcfKinds, TrustMovesTheNodeAndTheRow) {
    addAcf("A");
    addAcf("B");
    const EntryID c = addAcf("C");
    build("A|B|C");
    click(c.text());
    console->RunCommand("mnuAcfTrustMore");
    EXPECT_EQ(branch(), (Names{kMcr, "A", "C", "B"}));
    EXPECT_EQ(GetTrustRanking(session()), "A|C|B");
    EXPECT_TRUE(shown("mnuAcfTrustLess"));
    click(kAcfRootKey);
    select({2});
    console->RunCommand("mnuAcfTrustMore");
    EXPECT_EQ(column(0), (Names{kMcr, "C", "A", "B"}));
    EXPECT_EQ(view.selection, std::vector<size_t>{1});
    EXPECT_FALSE(shown("mnuAcfTrustMore"));
    console->RunCommand("mnuAcfTrustLess");
    EXPECT_EQ(GetTrustRanking(session()), "A|C|B");
}

TEST_F(AcfKinds, ANewSourceIsTheLeastTrusted) {
    addAcf("A");
    build("A");
    click(kAcfRootKey);
    EntryID made;
    answer = [&](const EntryID& id) {
        EXPECT_TRUE(id.empty());
        return made = addAcf("New");
    };
    console->RunCommand("mnuAcfAddPF");
    EXPECT_EQ(opened, Names{"ACF:"});
    EXPECT_EQ(branch(), (Names{kMcr, "A", "New"}));
    EXPECT_EQ(GetTrustRanking(session()), "A|New");
    EXPECT_EQ(column(0), (Names{kMcr, "A", "New"}));
    EXPECT_EQ(view.selection, std::vector<size_t>{2});
    answer = [&](const EntryID&) { return addAcf("Box", "bob@example.test"); };
    console->RunCommand("mnuAcfAddMbx");
    answer = [&](const EntryID&) { return addAcds("Data", "Provider=x;Excel", "people"); };
    console->RunCommand("mnuAcfAddDS");
    EXPECT_EQ(opened, (Names{"ACF:", "ACFMbx:", "ACDS:"}));
    EXPECT_EQ(GetTrustRanking(session()), "A|New|Box|Data");
    const auto& children = console->tree().Find(kAcfRootKey)->children;
    EXPECT_EQ(children[3]->tag, "acfmbx");
    EXPECT_EQ(children[4]->tag, "acds");
    EXPECT_EQ(children[4]->image, "imgExcel");
    answer = nullptr; // cancelled
    console->RunCommand("mnuAcfAddPF");
    EXPECT_EQ(branch().size(), 5u);
}

TEST_F(AcfKinds, WithoutARepositoryItComesFirst) {
    build("");
    GetMCRMessage(session())->Delete();
    world.ui.Expect("You must select the Master Contact Repository before adding an Alternate "
                    "Contacts folder!");
    click(kAcfRootKey);
    answer = [&](const EntryID& id) {
        EXPECT_TRUE(id.empty());
        return SaveMCR(session(), id, folder->ID(), "path");
    };
    console->RunCommand("mnuAcfAddDS");
    EXPECT_EQ(opened, Names{"MCR:"});
    EXPECT_EQ(mcrKey(), GetMCRMessage(session())->ID().text());
    EXPECT_TRUE(IsMCRFolder(session(), folder->ID()));
}

TEST_F(AcfKinds, PropertiesKeepThePlaceOfARenamedSource) {
    const EntryID a = addAcf("A");
    addAcf("B");
    build("A|B");
    click(kAcfRootKey);
    select({1});
    answer = [&](const EntryID& id) {
        rename(id, "Renamed");
        return id;
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(opened, Names{"ACF:" + a.text()});
    EXPECT_EQ(branch(), (Names{kMcr, "Renamed", "B"}));
    EXPECT_EQ(GetTrustRanking(session()), "Renamed|B");
    EXPECT_EQ(column(0), (Names{kMcr, "Renamed", "B"}));
    // from the node itself
    click(a.text());
    EXPECT_EQ(view.title, "Renamed ");
    answer = [&](const EntryID& id) {
        rename(id, "Again");
        addContact("New", "n@x");
        return id;
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(view.title, "Again ");
    EXPECT_EQ(column(0), Names{"New"});
    answer = nullptr;
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(GetTrustRanking(session()), "Again|B");
}

TEST_F(AcfKinds, TheDialogFollowsTheKind) {
    const EntryID box = addAcf("Box", "bob@example.test");
    const EntryID data = addAcds("Data", "Provider=x;", "people");
    build("Box|Data");
    for (const EntryID& id : {box, data}) {
        click(id.text());
        console->RunCommand("mnuActionmnuProps");
    }
    click(mcrKey());
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(opened, (Names{"ACFMbx:" + box.text(), "ACDS:" + data.text(), "MCR:" + mcrKey()}));
}

TEST_F(AcfKinds, AnAdoptedRecordTakesThePlace) {
    const EntryID a = addAcf("A");
    addAcf("B");
    const EntryID orphan = addAcf("Orphan", {}, true);
    build("A|B");
    click(a.text());
    answer = [&](const EntryID&) { return orphan; };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(branch(), (Names{kMcr, "Orphan", "B"}));
    EXPECT_EQ(GetTrustRanking(session()), "Orphan|B");
    EXPECT_EQ(view.selectedNode, orphan.text());
    EXPECT_TRUE(console->CurrentNode()->ghosted);
    EXPECT_EQ(console->CurrentNode()->image, "imgContactGhost");
}

TEST_F(AcfKinds, ANewRepositoryIsShown) {
    const EntryID a = addAcf("A");
    build("A");
    click(mcrKey());
    const std::string key = mcrKey();
    answer = [&](const EntryID& id) {
        // as the dialog does: the folder's source goes
        SaveMCR(session(), id, folder->ID(), "path");
        RemoveAcfForFolder(session(), console->tree(), folder->ID());
        return id;
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(branch(), Names{kMcr});
    EXPECT_EQ(view.title, "Master Contact Repository - Suppliers ");
    EXPECT_EQ(console->CurrentKey(), key);
    EXPECT_EQ(GetMessage(session(), a), nullptr);
}

TEST_F(AcfKinds, RemovingASourceLeavesItsNode) {
    const EntryID a = addAcf("A");
    addAcf("B");
    build("A|B");
    click(a.text());
    const std::string sure = "Are you sure you want to remove A from the list of Alternate Contact "
                             "Sources?\n\nThis action cannot be reversed.";
    world.ui.Expect(sure, BoxAnswer::Cancel);
    console->DeleteKey();
    EXPECT_EQ(branch().size(), 3u);
    EXPECT_EQ(console->CurrentKey(), a.text());
    world.ui.Expect(sure, BoxAnswer::OK);
    console->RunCommand("mnuAcfRemove");
    EXPECT_EQ(branch(), (Names{kMcr, "B"}));
    EXPECT_EQ(GetTrustRanking(session()), "B");
    EXPECT_EQ(view.selectedNode, kAcfRootKey);
    EXPECT_EQ(column(0), (Names{kMcr, "B"}));
}

TEST_F(AcfKinds, SelectedRowsAreRemovedOneByOne) {
    addAcf("A");
    addAcf("B");
    addAcf("C");
    build("A|B|C");
    click(kAcfRootKey);
    select({1, 2});
    EXPECT_FALSE(shown("mnuAcfTrustLess"));
    EXPECT_FALSE(shown("mnuAcfMakeMCL"));
    world.ui.Expect("", BoxAnswer::OK);
    world.ui.Expect("", BoxAnswer::Cancel);
    console->RunCommand("mnuAcfRemove");
    EXPECT_EQ(column(0), (Names{kMcr, "B", "C"}));
    EXPECT_EQ(GetTrustRanking(session()), "B|C");
}

TEST_F(AcfKinds, ActivationGhostsNodeAndRow) {
    const EntryID a = addAcf("A");
    const EntryID data = addAcds("Data", "Provider=x;", "people");
    build("A|Data");
    click(kAcfRootKey);
    select({1, 2});
    EXPECT_TRUE(shown("mnuActionInactivate"));
    EXPECT_FALSE(shown("mnuActionActivate"));
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    world.ui.Expect("Inactivate Data?", BoxAnswer::No);
    console->RunCommand("mnuActionInactivate");
    EXPECT_EQ(console->tree().Find(a.text())->image, "imgContactGhost");
    EXPECT_TRUE(console->tree().Find(a.text())->ghosted);
    EXPECT_FALSE(console->tree().Find(data.text())->ghosted);
    EXPECT_TRUE(console->list().At(1).ghosted);
    EXPECT_EQ(console->list().At(1).icon, "imgContactGhost");
    EXPECT_FALSE(console->list().At(2).ghosted);
    EXPECT_TRUE(shown("mnuActionActivate") && shown("mnuActionInactivate")); // a mixed selection
    world.ui.Expect("Activate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionActivate"); // the other one is active
    EXPECT_EQ(console->tree().Find(a.text())->image, "imgContact");
    click(a.text());
    EXPECT_TRUE(shown("mnuActionInactivate"));
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(shown("mnuActionActivate"));
    EXPECT_FALSE(shown("mnuActionInactivate"));
}

TEST_F(AcfKinds, TheNodeOfALinkedPinListFollows) {
    const EntryID a = addAcf("A");
    build("A");
    const RDOMessagePtr acf = GetMessage(session(), a);
    SetKey(*acf, kAcsGuidKey, "G-1");
    acf->Save();
    const RDOMessagePtr list = GetMCLFolder(session()).folder->Items()->Add(kMclClass);
    list->SetSubject("Ours");
    SetKey(*list, kMclGuidKey, "G-1");
    list->Save();
    const std::string key = list->ID().text();
    ASSERT_NE(console->tree().Add("pdlroot", key, "pdlt", "Ours", "imgPDL"), nullptr);
    click(a.text());
    world.ui.Expect("Inactivate A?\n"
                    "The linked Mandatory Contact List 'Ours' will also be inactivated.",
                    BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(console->tree().Find(key)->ghosted);
    world.ui.Expect("Activate A?", BoxAnswer::Yes);
    world.ui.Expect("Do you also want to activate the linked Mandatory Contact List 'Ours'?",
                    BoxAnswer::No);
    console->RunCommand("mnuActionActivate");
    EXPECT_TRUE(console->tree().Find(key)->ghosted);
    world.ui.Expect("", BoxAnswer::OK);
    console->RunCommand("mnuAcfRemove");
    EXPECT_EQ(console->tree().Find(key), nullptr);
}

TEST_F(AcfKinds, AListIsMadeOnce) {
    const EntryID a = addAcf("A");
    const EntryID data = addAcds("Data", "Provider=x;", "people");
    build("A|Data");
    click(a.text());
    EXPECT_TRUE(view.enabled("mnuAcfMakeMCL"));
    console->RunCommand("mnuAcfMakeMCL");
    const std::string guid = KeyText(*GetMessage(session(), a), kAcsGuidKey);
    EXPECT_EQ(guid.size(), 36u);
    const RDOMessagePtr list = GetMCLFolder(session()).folder->Items()->Add(kMclClass);
    SetKey(*list, kMclGuidKey, guid);
    list->Save();
    console->UpdateMenu();
    EXPECT_TRUE(shown("mnuAcfMakeMCL"));
    EXPECT_FALSE(view.enabled("mnuAcfMakeMCL"));
    click(data.text());
    EXPECT_TRUE(view.enabled("mnuAcfMakeMCL"));
    console->RunCommand("mnuAcfMakeMCL");
    EXPECT_EQ(opened, (Names{"newACF:" + guid,
                             "newACDS:" + KeyText(*GetMessage(session(), data), kAcsGuidKey)}));
}

TEST_F(AcfKinds, ContactRecordsAreNotThereYet) {
    const EntryID a = addAcf("A");
    addContact("Adam", "adam@x");
    build("A");
    click(a.text());
    console->ActivateRow(0);
    EXPECT_EQ(view.status, kMissing);
}

} // namespace
