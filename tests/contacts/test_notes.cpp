#include <gtest/gtest.h>

#include "contacts/basActivation.h"
#include "contacts/basNotes.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class Notes : public ::testing::Test {
protected:
    Notes() { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr open(const EntryID& id) { return GetMessage(session(), id); }
    Value key(const EntryID& id, std::string_view name) { return GetKey(*open(id), name); }
    std::string notesID() { return key(session().AgentMsgID, "EPS.NotesID").text(); }
    void setNotesID(const EntryID& id) {
        auto agent = open(session().AgentMsgID);
        SetKey(*agent, "EPS.NotesID", id.text());
        agent->Save();
    }
    RDOFolderPtr mailboxFolder(std::string_view name) {
        return session().rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add(
            name, "IPF.StickyNote");
    }
    RDOFolderPtr publicFolder(std::string_view name) {
        return session().rdo->Stores().AllPublicFolders()->Folders()->Add(name, "IPF.StickyNote");
    }
    EntryID note(std::string_view text) {
        return SaveNote(session(), {}, {std::string(text), {}, {}});
    }
    FolderPick pickOf(RDOFolder& folder) { return {folder.ID(), folder.StoreID(), "path"}; }
    EntryID record(RDOFolder& folder, std::string_view target = "Alice Adams") {
        return SaveNotesPF(session(), {}, {folder.ID(), std::string(target), "alice@example.test"},
                           folder.Name());
    }
    World world;
};

// --- the folder of single notes

TEST_F(Notes, AMailboxWithoutAStoredFolderTakesTheDefaultOne) {
    auto folder = GetNotesFolder(session());
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->Name(), "Notes");
    EXPECT_EQ(notesID(), folder->ID().text());
    // the next opening finds it by its id, also when another default folder came
    auto other = mailboxFolder("Other");
    setNotesID(other->ID());
    EXPECT_EQ(GetNotesFolder(session())->ID(), other->ID());
    EXPECT_EQ(world.log(), "");
}

/// A mailbox without a default folder for notes.
class NoDefaultFolder : public RDOSession {
public:
    explicit NoDefaultFolder(RDOSessionPtr real) : m_real(std::move(real)) {}
    RDOFolderPtr GetDefaultFolder(int) override {
        if (number != 0)
            throw PlatformError(number, "no such folder");
        return nullptr;
    }
    long number = 0;

    void Logon(std::string_view, std::string_view, bool, bool, int) override {}
    void LogonExchangeMailbox(std::string_view, std::string_view) override {}
    bool LoggedOn() const override { return true; }
    void Logoff() override {}
    RDOStores& Stores() override { return m_real->Stores(); }
    AddressBookPtr GetAddressBook() override { return m_real->GetAddressBook(); }
    RDOMessagePtr GetMessageFromID(const EntryID& id, const EntryID& store) override {
        return m_real->GetMessageFromID(id, store);
    }
    RDOFolderPtr GetFolderFromID(const EntryID& id, const EntryID& store) override {
        return m_real->GetFolderFromID(id, store);
    }
    RDOStorePtr GetStoreFromID(const EntryID& id) override { return m_real->GetStoreFromID(id); }
    RDOStorePtr GetSharedMailbox(std::string_view address) override {
        return m_real->GetSharedMailbox(address);
    }
    AddressEntryPtr CurrentUser() override { return m_real->CurrentUser(); }
    std::string Version() const override { return m_real->Version(); }
    StoreChanges PollChanges() override { return {}; }
    bool StillThere() override { return true; }

private:
    RDOSessionPtr m_real;
};

TEST_F(Notes, WithoutADefaultFolderOneIsMade) {
    auto without = std::make_shared<NoDefaultFolder>(session().rdo);
    session().rdo = without;
    without->number = MAPI_E_CALL_FAILED; // the server's fault is no missing folder
    EXPECT_FALSE(GetNotesFolder(session()));
    EXPECT_TRUE(world.logHas(":Unable to locate or create Mandatory Notes folder " +
                             std::to_string(MAPI_E_CALL_FAILED) + " no such folder\n"));
    EXPECT_EQ(notesID(), "");
    for (const long number : {0L, MAPI_E_NOT_FOUND}) {
        setNotesID({});
        without->number = number;
        auto folder = GetNotesFolder(session());
        ASSERT_TRUE(folder);
        EXPECT_EQ(folder->Name(), "Mandatory Notes");
        EXPECT_EQ(folder->DefaultItemClass(), "IPF.StickyNote");
        EXPECT_EQ(folder->Parent()->ID(),
                  session().rdo->Stores().DefaultStore()->IPMRootFolder()->ID());
        EXPECT_EQ(notesID(), folder->ID().text());
        EXPECT_EQ(GetNotesFolder(session())->ID(), folder->ID());
    }
    EXPECT_TRUE(world.logHas(":unable to locate default Notes folder in mailbox, attempting to "
                             "create dedicated folder\n"));
}

TEST_F(Notes, AStoredFolderThatHasGoneIsNotReplaced) {
    auto folder = mailboxFolder("Gone");
    setNotesID(folder->ID());
    folder->Delete();
    EXPECT_FALSE(GetNotesFolder(session()));
    EXPECT_TRUE(world.logHas(":Unable to locate Mandatory Notes folder\n"));
    EXPECT_EQ(notesID(), folder->ID().text());
}

TEST_F(Notes, AFailingStoreNeverChoosesAnotherFolder) {
    auto own = mailboxFolder("Own");
    setNotesID(own->ID());
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        RDOFolderPtr folder;
        EXPECT_NO_THROW(folder = GetNotesFolder(failing.session));
        const bool failed = failing.store.plan().Failed();
        failing.store.plan().FailAt(0);
        if (folder)
            EXPECT_EQ(folder->ID(), own->ID());
        EXPECT_EQ(notesID(), own->ID().text());
        return failed;
    });
    EXPECT_GT(runs, 6);
    EXPECT_TRUE(world.logHas(":Unable to locate or create Mandatory Notes folder "));
}

// --- single notes

TEST_F(Notes, SavesANewNoteAndChangesIt) {
    const EntryID id = SaveNote(
        session(), {},
        {"  First line\nsecond", "Alice Adams;Sales", "alice@example.test;sales@example.test"});
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(open(id)->MessageClass(), "IPM.StickyNote");
    EXPECT_EQ(open(id)->Body(), "  First line\r\nsecond");
    EXPECT_EQ(open(id)->Subject(), "First line");
    EXPECT_EQ(open(id)->Parent()->ID(), GetNotesFolder(session())->ID());
    EXPECT_EQ(key(id, "EPS Access List Names"), Value("Alice Adams;Sales"));
    EXPECT_EQ(key(id, "EPS Access List Email"), Value("alice@example.test;sales@example.test"));
    const auto read = ReadNote(session(), id);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->text, "  First line\r\nsecond");
    EXPECT_EQ(read->names, "Alice Adams;Sales");
    EXPECT_EQ(read->addresses, "alice@example.test;sales@example.test");
    EXPECT_EQ(SaveNote(session(), id, {"Other\r\ntext", "", ""}), id);
    EXPECT_EQ(open(id)->Body(), "Other\r\ntext");
    EXPECT_EQ(key(id, "EPS Access List Email"), Value(""));
    EXPECT_EQ(GetNotesFolder(session())->Items()->Count(), 1);
}

TEST_F(Notes, ANoteThatHasGoneCannotBeReadOrSaved) {
    const EntryID id = note("Gone");
    open(id)->Delete();
    EXPECT_FALSE(ReadNote(session(), id));
    EXPECT_TRUE(world.logHas(":frmMandatoryNote_Load: GetMessage failed "));
    world.ui.Expect("Error saving change: The record can't be opened.");
    EXPECT_TRUE(SaveNote(session(), id, {"New\ntext", "", ""}).empty());
    EXPECT_TRUE(world.logHas(":Error setting properties for New: The record can't be opened.\n"));
}

TEST_F(Notes, ANewNoteNeedsAFolder) {
    auto folder = mailboxFolder("Gone");
    setNotesID(folder->ID());
    folder->Delete();
    world.ui.Expect("Error saving change: The record can't be opened.");
    EXPECT_TRUE(note("Text").empty());
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
}

TEST_F(Notes, ListsTheNotes) {
    const EntryID first = SaveNote(session(), {}, {"Beta", "Alice Adams", "alice@example.test"});
    const EntryID second = note("Alpha\nmore");
    world.ui.Expect("Inactivate Alpha?", BoxAnswer::Yes);
    EXPECT_TRUE(ChangeActivation(session(), second, "Alpha", false));
    std::vector<ListRow> rows;
    LoadNoteRows(*GetNotesFolder(session()), [&](ListRow row) {
        rows.push_back(std::move(row));
        return true;
    });
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].key, first.text());
    EXPECT_EQ(rows[0].tag, "epsnote");
    EXPECT_EQ(rows[0].icon, "imgStickyNote");
    EXPECT_FALSE(rows[0].ghosted);
    const int32_t size = open(first)->Fields(PR_MESSAGE_SIZE).integerOr(0);
    EXPECT_GT(size, 0);
    EXPECT_EQ(rows[0].texts, (Strings{"Beta", std::to_string(size), "Alice Adams"}));
    EXPECT_EQ(rows[1].tag, "xepsnote");
    EXPECT_TRUE(rows[1].ghosted);
    EXPECT_EQ(rows[1].texts[2], "");
}

/// A note whose target can't be had must not show as one for nobody.
TEST_F(Notes, AFailedReadListsNothing) {
    SaveNote(session(), {}, {"Beta", "Alice Adams", "alice@example.test"});
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        const RDOFolderPtr folder = GetNotesFolder(failing.session);
        arm(failing.store.plan());
        Trap(
            [&] {
                std::vector<std::string> targets;
                LoadNoteRows(*folder, [&](ListRow row) {
                    targets.push_back(row.texts[2]);
                    return true;
                });
                EXPECT_EQ(targets, Strings{"Alice Adams"});
            },
            [&](const Trapped& error) { EXPECT_EQ(error.description, kFailure); });
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 3);
}

TEST_F(Notes, DeletesANoteAfterAsking) {
    const EntryID id = note("Text");
    world.ui.Expect("Are you sure you want to delete Text?", BoxAnswer::No);
    EXPECT_FALSE(DeleteNote(session(), id, "Text"));
    world.ui.Expect("Are you sure you want to delete Text?", BoxAnswer::Yes);
    EXPECT_TRUE(DeleteNote(session(), id, "Text"));
    EXPECT_EQ(GetNotesFolder(session())->Items()->Count(), 0);
    EXPECT_FALSE(world.logHas("unable to retrieve"));
    world.ui.Expect("", BoxAnswer::Yes);
    EXPECT_FALSE(DeleteNote(session(), id, "Text"));
    EXPECT_TRUE(world.logHas(":unable to retrieve Mandatory Note Text\n"));
}

// --- another folder for them

TEST_F(Notes, ChoosingTheSameFolderOrNoneChangesNothing) {
    auto folder = GetNotesFolder(session());
    note("Text");
    world.ui.ExpectFolders({});
    EXPECT_FALSE(SelectNotesFolder(session()));
    world.ui.ExpectFolders({pickOf(*folder)});
    EXPECT_FALSE(SelectNotesFolder(session()));
    EXPECT_EQ(notesID(), folder->ID().text());
}

TEST_F(Notes, AnotherFolderTakesTheNotesAlongOnRequest) {
    auto other = mailboxFolder("Other");
    auto third = mailboxFolder("Third");
    const EntryID id = SaveNote(session(), {}, {"One\ntwo", "Alice Adams", "alice@example.test"});
    auto message = open(id);
    const PropTag color = message->GetIDsFromNames(PSETID_Note, "0x8B00") | 3;
    message->SetFields(color, int32_t{4});
    SetKey(*message, "EPS.Inactive", true);
    message->Save();
    note("Three");
    world.ui.ExpectFolders({pickOf(*other)});
    world.ui.Expect("Move existing Mandatory Notes to new folder?", BoxAnswer::Yes);
    EXPECT_TRUE(SelectNotesFolder(session()));
    EXPECT_EQ(notesID(), other->ID().text());
    ASSERT_EQ(other->Items()->Count(), 2);
    auto copy = other->Items()->Item(1);
    EXPECT_EQ(copy->MessageClass(), "IPM.StickyNote");
    EXPECT_EQ(copy->Subject(), "One");
    EXPECT_EQ(copy->Body(), "One\r\ntwo");
    EXPECT_EQ(key(copy->ID(), "EPS Access List Email"), Value("alice@example.test"));
    EXPECT_EQ(key(copy->ID(), "EPS.Inactive"), Value(true));
    EXPECT_EQ(copy->Fields(copy->GetIDsFromNames(PSETID_Note, "0x8B00") | 3), Value(4));
    world.ui.ExpectFolders({pickOf(*third)});
    world.ui.Expect("Move existing Mandatory Notes to new folder?", BoxAnswer::No);
    EXPECT_TRUE(SelectNotesFolder(session()));
    EXPECT_EQ(notesID(), third->ID().text());
    EXPECT_EQ(third->Items()->Count(), 0);
    world.ui.ExpectFolders({pickOf(*other)}); // an empty folder has nothing to move
    EXPECT_TRUE(SelectNotesFolder(session()));
}

TEST_F(Notes, AFolderThatHasGoneIsReplacedByTheChosenOne) {
    auto gone = mailboxFolder("Gone");
    setNotesID(gone->ID());
    gone->Delete();
    auto other = mailboxFolder("Other");
    world.ui.ExpectFolders({pickOf(*other)});
    EXPECT_TRUE(SelectNotesFolder(session()));
    EXPECT_EQ(notesID(), other->ID().text());
}

TEST_F(Notes, NotesThatCannotBeCopiedAreLoggedAndTheOthersGoOn) {
    auto other = mailboxFolder("Other");
    note("One");
    note("Two");
    const EntryID from = GetNotesFolder(session())->ID();
    int incomplete = 0;
    ForEachFailure([&](const Arm& arm) {
        setNotesID(from);
        while (other->Items()->Count() > 0)
            other->Items()->Item(1)->Delete();
        FailingSession failing(world);
        failing.LogOn();
        failing.ui.ExpectFolders({pickOf(*other)});
        arm(failing.store.plan());
        bool chosen = false;
        EXPECT_NO_THROW(chosen = SelectNotesFolder(failing.session));
        EXPECT_EQ(notesID(), chosen ? other->ID().text() : from.text());
        if (!chosen)
            EXPECT_FALSE(failing.ui.shown.empty());
        incomplete += chosen && other->Items()->Count() == 1;
        EXPECT_EQ(session().rdo->GetFolderFromID(from, {})->Items()->Count(), 2);
        return failing.store.plan().Failed();
    });
    EXPECT_GT(incomplete, 5);
    EXPECT_TRUE(world.logHas(
        ":error copying Mandatory Note from Notes to Other:" + std::string(kFailure) + "\n"));
}

// --- Mandatory Notes Folders

TEST_F(Notes, SavesAFolderAndCountsItsTarget) {
    auto folder = publicFolder("News");
    const EntryID id =
        SaveNotesPF(session(), {},
                    {folder->ID(), "Sales;Carol", "sales@example.test;carol@partner.test"}, "News");
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(open(id)->MessageClass(), "zandrel.NotesPF");
    EXPECT_EQ(open(id)->Parent()->ID(), session().agentInfo->ID());
    EXPECT_EQ(key(id, "NotesPF.EntryID"), Value(folder->ID().text()));
    EXPECT_EQ(key(id, "NotesPF.Target"), Value("Sales;Carol"));
    EXPECT_EQ(key(id, "NotesPF.TargetEmail"), Value("sales@example.test;carol@partner.test"));
    EXPECT_EQ(key(id, "NotesPF.TargetCount"), Value(4)); // alice, bob, obrien, carol
    const auto read = ReadNotesPF(session(), id);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->folder, folder->ID());
    EXPECT_EQ(read->names, "Sales;Carol");
}

TEST_F(Notes, AFolderIsKnownByItsRecord) {
    auto folder = publicFolder("News");
    EXPECT_FALSE(IsNotesFolder(session(), folder->ID()));
    const EntryID id = record(*folder);
    EXPECT_TRUE(IsNotesFolder(session(), folder->ID()));
    EXPECT_FALSE(IsNotesFolder(session(), folder->ID(), id)); // its own
    EXPECT_FALSE(IsNotesFolder(session(), publicFolder("Other")->ID()));
    EXPECT_FALSE(IsNotesFolder(session(), {}));
    auto broken = session().agentInfo->Items()->Add("zandrel.NotesPF");
    SetKey(*broken, "NotesPF.EntryID", "no entry id");
    broken->Save();
    EXPECT_TRUE(IsNotesFolder(session(), folder->ID()));
    EXPECT_FALSE(IsNotesFolder(session(), folder->ID(), id));
}

TEST_F(Notes, AFailingStoreMakesNoSecondRecordOfAFolder) {
    auto folder = publicFolder("News");
    record(*folder);
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        EntryID saved;
        EXPECT_NO_THROW(saved = SaveNotesPF(failing.session, {}, {folder->ID(), "A", "a"}, "News"));
        EXPECT_TRUE(saved.empty());
        EXPECT_EQ(failing.ui.shown.size(), 1U);
        EXPECT_EQ(GetMessageIDs(session(), *session().agentInfo, kNotesPFClass, "").size(), 1U);
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 6);
}

TEST_F(Notes, ListsTheFoldersAlsoThoseThatCannotBeReached) {
    auto news = publicFolder("News");
    auto gone = publicFolder("Gone");
    auto item = news->Items()->Add("IPM.StickyNote");
    item->Save();
    const EntryID first = record(*news, "Alice Adams;Sales");
    const EntryID second = record(*gone);
    gone->Delete();
    world.ui.Expect("Inactivate Gone?", BoxAnswer::Yes);
    EXPECT_TRUE(ChangeActivation(session(), second, "Gone", false));
    std::vector<ListRow> rows;
    LoadNotesFolderRows(session(), [&](ListRow row) {
        rows.push_back(std::move(row));
        return true;
    });
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].tag, "epsnotePF");
    EXPECT_EQ(rows[0].key, first.text());
    EXPECT_FALSE(rows[0].ghosted);
    EXPECT_EQ(rows[0].texts, (Strings{"News", "1", "Alice Adams;Sales", "1",
                                      "\\\\Public Folders\\All Public Folders\\News"}));
    EXPECT_TRUE(rows[1].ghosted);
    EXPECT_EQ(rows[1].texts, (Strings{"Gone", "", "Alice Adams", "1", "Unable to open folder"}));
}

TEST_F(Notes, DeletesTheRecordAfterAsking) {
    auto folder = publicFolder("News");
    const EntryID id = record(*folder);
    const char* const question = "Delete News from the list of Mandatory Notes Public Folders?";
    world.ui.Expect(question, BoxAnswer::No);
    EXPECT_FALSE(DeleteNotesPF(session(), id, "News"));
    world.ui.Expect(question, BoxAnswer::Yes);
    EXPECT_TRUE(DeleteNotesPF(session(), id, "News"));
    EXPECT_FALSE(IsNotesFolder(session(), folder->ID()));
    EXPECT_EQ(session().rdo->Stores().AllPublicFolders()->Folders()->Item("News")->Name(), "News");
    world.ui.Expect(question, BoxAnswer::Yes);
    EXPECT_FALSE(DeleteNotesPF(session(), id, "News"));
    EXPECT_TRUE(world.logHas("unable to delete Mandatory Notes Folder News"));
}

// --- picker, activation

/// A picker that fails, or keeps what it was asked for.
class PickerUi : public CalmUi {
public:
    std::vector<FolderPick> PickFolders(RDOSession&, const FolderPickOptions& given) override {
        if (fail)
            throw PlatformError(7, "no stores");
        options = given;
        return {};
    }
    FolderPickOptions options;
    bool fail = false;
};

TEST_F(Notes, ThePickerOffersNotesFoldersOfOneStore) {
    PickerUi ui;
    Platform platform{*world.store,   *world.registry, ui,          *world.events,
                      world.services, world.directory, world.shell, world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession own(platform, world.logPath());
    own.rdo = session().rdo;
    EXPECT_FALSE(PickNotesFolder(own, true, "\\\\Public Folders"));
    EXPECT_EQ(ui.options.title, "Select a Notes folder");
    EXPECT_EQ(ui.options.startPath, "\\\\Public Folders");
    EXPECT_TRUE(ui.options.allowNotes);
    EXPECT_FALSE(ui.options.allowContacts || ui.options.allowMail || ui.options.allowTasks);
    EXPECT_TRUE(ui.options.showPublicFolders);
    EXPECT_FALSE(ui.options.showMailbox);
    EXPECT_FALSE(PickNotesFolder(own, false, ""));
    EXPECT_FALSE(ui.options.showPublicFolders);
    EXPECT_TRUE(ui.options.showMailbox);
    ui.fail = true;
    EXPECT_FALSE(PickNotesFolder(own, false, ""));
    EXPECT_EQ(ui.shown, Strings{"There was an error loading the folder list!\n"
                                "Details are in the log."});
    EXPECT_TRUE(world.logHas(":PickNotesFolder: 7 no stores\n"));
}

TEST_F(Notes, ActivationAsksAndWrites) {
    const EntryID id = note("Text");
    world.ui.Expect("Inactivate Text?", BoxAnswer::No);
    EXPECT_FALSE(ChangeActivation(session(), id, "Text", false));
    EXPECT_TRUE(key(id, "EPS.Inactive").empty());
    world.ui.Expect("Inactivate Text?", BoxAnswer::Yes);
    EXPECT_TRUE(ChangeActivation(session(), id, "Text", false));
    EXPECT_EQ(key(id, "EPS.Inactive"), Value(true));
    world.ui.Expect("Activate Text?", BoxAnswer::Yes);
    EXPECT_TRUE(ChangeActivation(session(), id, "Text", true));
    EXPECT_EQ(key(id, "EPS.Inactive"), Value(false));
    open(id)->Delete();
    world.ui.Expect("Activate Text?", BoxAnswer::Yes);
    world.ui.Expect("Errors were encountered activating Text. See the KR-Admin.log for details");
    EXPECT_FALSE(ChangeActivation(session(), id, "Text", true));
    EXPECT_TRUE(world.logHas(":ChangeActivation error " + std::to_string(MAPI_E_NOT_FOUND) +
                             " Text:The record can't be opened.\n"));
}

} // namespace
