#include "contacts/ContactKinds.h"
#include "contacts/basNotes.h"
#include "core/Text.h"
#include "core/basStore.h"
#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

class NoteKinds : public ConsoleTest {
protected:
    NoteKinds() {
        ContactForms forms;
        const auto form = [this](std::string which) {
            return [this, which](const EntryID& record) {
                opened.push_back(which + record.text());
                return edit ? edit(record) : EntryID();
            };
        };
        forms.frmMandatoryNote = form("note ");
        forms.frmMandatoryNotesPF = form("folder ");
        RegisterNoteKinds(*console, forms);
        console->LoadTreeRoot();
    }
    EntryID note(std::string_view text, std::string_view names = {}) {
        return SaveNote(*world.session, {}, {std::string(text), std::string(names), {}});
    }
    EntryID folderRecord(std::string_view name) {
        auto folder =
            world.session->rdo->Stores().AllPublicFolders()->Folders()->Add(name, "IPF.StickyNote");
        return SaveNotesPF(*world.session, {}, {folder->ID(), "Alice", "alice@example.test"}, name);
    }
    bool inactive(const EntryID& id) {
        return KeyFlag(*GetMessage(*world.session, id), "EPS.Inactive");
    }
    /// Of the rows: tag, ghosted or not, first text.
    Names rows() {
        Names all;
        for (size_t i = 0; i < console->list().Count(); ++i) {
            const ListRow& row = console->list().At(i);
            all.push_back(row.tag + (row.ghosted ? " - " : " + ") + row.texts.front());
        }
        return all;
    }

    Names opened;
    std::function<EntryID(const EntryID&)> edit;
};

TEST_F(NoteKinds, ShowsTheNotes) {
    note("Two", "Alice Adams");
    note("One");
    click("epsnotes");
    EXPECT_EQ(view.title, "Mandatory Notes - Notes ");
    EXPECT_EQ(view.status, "2 notes");
    EXPECT_EQ(rows(), (Names{"epsnote + One", "epsnote + Two"}));
    Names titles;
    for (const ListColumn& column : console->list().Columns())
        titles.push_back(column.title + "(" + column.key + ")");
    EXPECT_EQ(titles, (Names{"Subject()", "Size(intsize)", "Target()"}));
    EXPECT_EQ(console->list().Text(1, 2), "Alice Adams");
    EXPECT_EQ(view.visible(),
              (Names{"mnuMandatorySelect", "mnuMandatoryAdd", "mnuActionmnuProps"}));
    EXPECT_FALSE(view.enabled("mnuActionmnuProps"));
    world.ui.Expect("", BoxAnswer::Yes);
    select({0});
    console->RunCommand("mnuMandatoryDelete");
    EXPECT_EQ(view.status, "1 note");
    EXPECT_EQ(rows(), Names{"epsnote + Two"});
}

TEST_F(NoteKinds, AFolderThatIsNotThereIsSaid) {
    auto folder = world.session->rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add(
        "Gone", "IPF.StickyNote");
    auto agent = GetMessage(*world.session, world.session->AgentMsgID);
    SetKey(*agent, "EPS.NotesID", folder->ID().text());
    agent->Save();
    folder->Delete();
    world.ui.Expect("Unable to retrieve Mandatory Notes folder at stored path!\n"
                    "You must reselect the location.");
    click("epsnotes");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_FALSE(view.frozen);
    // reselecting it loads the list
    auto notes = world.session->rdo->GetDefaultFolder(12);
    world.ui.ExpectFolders({{notes->ID(), notes->StoreID(), ""}});
    console->RunCommand("mnuMandatorySelect");
    EXPECT_EQ(view.title, "Mandatory Notes - Notes ");
    EXPECT_EQ(view.status, "0 notes");
}

TEST_F(NoteKinds, AddsAndEditsANote) {
    click("epsnotes");
    console->RunCommand("mnuMandatoryAdd");
    EXPECT_EQ(opened, Names{"note "});
    EXPECT_EQ(view.status, "0 notes");
    EntryID made;
    edit = [&](const EntryID& record) {
        made = SaveNote(*world.session, record, {record.empty() ? "New" : "Changed", "", ""});
        return made;
    };
    note("Other");
    console->RunCommand("mnuMandatoryAdd");
    EXPECT_EQ(rows(), (Names{"epsnote + New", "epsnote + Other"}));
    EXPECT_EQ(view.selection, std::vector<size_t>{0}); // the new one is selected
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(opened.back(), "note " + made.text());
    EXPECT_EQ(rows(), (Names{"epsnote + Changed", "epsnote + Other"}));
    console->ActivateRow(1); // a double click
    EXPECT_EQ(opened.size(), 4U);
}

TEST_F(NoteKinds, SwitchesNotesOffAndOn) {
    const EntryID one = note("One");
    const EntryID two = note("Two");
    click("epsnotes");
    select({0});
    EXPECT_EQ(view.visible(), (Names{"mnuMandatoryAdd", "mnuMandatoryDelete", "mnuActionInactivate",
                                     "mnuActionmnuProps"}));
    world.ui.Expect("Inactivate One?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(inactive(one));
    EXPECT_EQ(rows(), (Names{"xepsnote - One", "epsnote + Two"}));
    EXPECT_TRUE(view.enabled("mnuActionActivate"));
    EXPECT_FALSE(view.enabled("mnuActionInactivate"));
    select({0, 1}); // of both only the active one is left to be switched off
    EXPECT_TRUE(view.enabled("mnuActionActivate"));
    EXPECT_TRUE(view.enabled("mnuActionInactivate"));
    world.ui.Expect("Inactivate Two?", BoxAnswer::No);
    console->RunCommand("mnuActionInactivate");
    EXPECT_FALSE(inactive(two));
    world.ui.Expect("Activate One?", BoxAnswer::Yes);
    console->RunCommand("mnuActionActivate");
    EXPECT_FALSE(inactive(one));
    EXPECT_EQ(rows(), (Names{"epsnote + One", "epsnote + Two"}));
    world.ui.Expect("Inactivate Two?", BoxAnswer::Yes);
    select({1});
    console->RunCommand("mnuActionInactivate");
    click("epsroot");
    click("epsnotes");
    EXPECT_EQ(rows(), (Names{"epsnote + One", "xepsnote - Two"}));
}

TEST_F(NoteKinds, AsksForEachNoteThatIsToBeDeleted) {
    for (const char* text : {"One", "Two", "Three"})
        note(text);
    click("epsnotes");
    select({0, 1, 2});
    world.ui.Expect("Are you sure you want to delete One?", BoxAnswer::Yes);
    world.ui.Expect("Are you sure you want to delete Three?", BoxAnswer::No);
    world.ui.Expect("Are you sure you want to delete Two?", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_EQ(rows(), Names{"epsnote + Three"});
    EXPECT_EQ(view.status, "1 note");
    click("epsroot");
    click("epsnotes");
    EXPECT_EQ(rows(), Names{"epsnote + Three"});
}

TEST_F(NoteKinds, ShowsTheFolders) {
    const EntryID news = folderRecord("News");
    folderRecord("Gone");
    world.session->rdo->Stores().AllPublicFolders()->Folders()->Item("Gone")->Delete();
    click("epsnotesPF");
    EXPECT_EQ(view.title, "Mandatory Notes Folders ");
    EXPECT_EQ(rows(), (Names{"epsnotePF + Gone", "epsnotePF + News"}));
    Names titles;
    for (const ListColumn& column : console->list().Columns())
        titles.push_back(column.title + "(" + column.key + ")");
    EXPECT_EQ(titles, (Names{"Name()", "Count(intcount)", "Target()", "Est. Targets(inttargets)",
                             "Path()"}));
    // the node's set names Properties, but the node has none
    EXPECT_EQ(view.visible(), (Names{"mnuNotesPFAdd", "mnuActionmnuProps"}));
    EXPECT_FALSE(view.enabled("mnuActionmnuProps"));
    select({1});
    EXPECT_EQ(view.visible(),
              (Names{"mnuNotesPFDelete", "mnuActionInactivate", "mnuActionmnuProps"}));
    world.ui.Expect("Inactivate News?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(inactive(news));
    EXPECT_EQ(rows()[1], "epsnotePF - News");
    console->ActivateRow(1);
    EXPECT_EQ(opened, Names{"folder " + news.text()});
    world.ui.Expect("Delete News from the list of Mandatory Notes Public Folders?", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_EQ(rows(), Names{"epsnotePF + Gone"});
    EXPECT_EQ(view.status, "1 item");
}

TEST_F(NoteKinds, AddsAFolder) {
    click("epsnotesPF");
    EXPECT_EQ(view.status, "0 items");
    edit = [&](const EntryID&) { return folderRecord("News"); };
    console->RunCommand("mnuNotesPFAdd");
    EXPECT_EQ(opened, Names{"folder "});
    EXPECT_EQ(rows(), Names{"epsnotePF + News"});
    EXPECT_EQ(view.selection, std::vector<size_t>{0});
}

TEST_F(NoteKinds, AnEditAfterTheNodeWasLeftReloadsNothing) {
    note("One");
    kind("mgmt").load = [](Console& c, TreeNode&) { c.ClearListView(); };
    click("epsnotes");
    edit = [&](const EntryID&) {
        click("mgmt");
        return note("Two");
    };
    console->RunCommand("mnuMandatoryAdd");
    EXPECT_EQ(console->CurrentTag(), "mgmt");
    EXPECT_EQ(console->list().Count(), 0U);
}

TEST_F(NoteKinds, ALeftListStopsLoading) {
    for (const char* text : {"One", "Two", "Three"})
        note(text);
    kind("mgmt").load = [](Console& c, TreeNode&) { c.ClearListView(); };
    bool once = true;
    world.ui.onDoEvents = [&] {
        if (std::exchange(once, false))
            click("mgmt");
    };
    click("epsnotes");
    EXPECT_EQ(console->CurrentTag(), "mgmt");
    EXPECT_EQ(console->list().Count(), 0U);
}

} // namespace
