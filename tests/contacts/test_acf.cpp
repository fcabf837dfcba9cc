#include "console/FolderTree.h"
#include "contacts/basMandatoryFolder.h"
#include "tests/contacts/AcfTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

TEST(AcfTexts, IconsFollowTheConnectionString) {
    EXPECT_EQ(GetAcdsIcon("Provider=Microsoft.ACE.OLEDB.12.0;x=\"EXCEL 12.0 Xml\";"), "imgExcel");
    EXPECT_EQ(GetAcdsIcon("provider=microsoft.jet.oledb.4.0;Data Source=C:\\a.MDB;"), "imgAccess");
    EXPECT_EQ(GetAcdsIcon("Provider=Microsoft.ACE.OLEDB.12.0;Data Source=a.accdb;"), "imgAccess");
    EXPECT_EQ(GetAcdsIcon("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a.mdb"), "imgData");
    EXPECT_EQ(GetAcdsIcon("Provider=SQLOLEDB; Data Source=a.mdb;"), "imgData");
    EXPECT_EQ(GetAcdsIcon("Provider=Microsoft.Jet.OLEDB.4.0;Extended Properties=\"text;HDR=Yes\""),
              "imgText");
    EXPECT_EQ(GetAcdsIcon(""), "imgData");
}

TEST(AcfTexts, APathIsShownByNamesOnLines) {
    EXPECT_EQ(FormatFolderPath("\\\\Public Folders\\All Public Folders\\R & D"),
              "Public Folders\r\n  All Public Folders\r\n    R & D");
    EXPECT_EQ(FormatFolderPath("a\\\\b\\c"), "ab\r\n  c");
    EXPECT_EQ(FormatFolderPath("one"), "one");
    EXPECT_EQ(FormatFolderPath(""), "");
}

TEST(AcfTexts, AHomeTransferAgentNamesItsServer) {
    EXPECT_EQ(ServerOfHomeMTA("/o=Example/ou=First/cn=Configuration/cn=Servers/cn=EX7/cn=MTA"),
              "EX7");
    EXPECT_EQ(ServerOfHomeMTA("/o=Example/cn=configuration/cn=servers/cn=EX7"), "EX7");
    EXPECT_EQ(ServerOfHomeMTA("/o=Example/ou=First/cn=Recipients/cn=bob"), "");
    EXPECT_EQ(ServerOfHomeMTA(""), "");
}

TEST(AcfTexts, AnInactiveImageIsAGhost) {
    EXPECT_EQ(GhostImage("imgData", true), "imgDataGhost");
    EXPECT_EQ(GhostImage("imgDataGhost", true), "imgDataGhost");
    EXPECT_EQ(GhostImage("imgDataGhost", false), "imgData");
    EXPECT_EQ(MandatorySubFolder(), "Mandatory Contacts");
}

using Acf = AcfTest;

TEST_F(Acf, KindAndImageFollowTheKeys) {
    const auto check = [&](const Keys& keys, std::string_view tag, std::string_view image) {
        const RDOMessagePtr acf = GetMessage(session(), addRecord(kAcfClass, "x", keys));
        EXPECT_EQ(AcfTag(KindOfAcf(*acf)), tag);
        EXPECT_EQ(AcfImage(*acf), image);
    };
    check({{kAcfFolderKey, "00AA"}}, "acf", "imgContact");
    check({{kAcfFolderKey, "00AA"}, {"EPS.Inactive", true}}, "acf", "imgContactGhost");
    check({{kAcfFolderKey, "00AA"}, {kAcfMailboxKey, "bob@example.test"}}, "acfmbx", "imgContact");
    check({{kAcfCxnKey, "Excel"}, {"EPS.Inactive", true}}, "acds", "imgExcelGhost");
    check({{kAcfFolderKey, "00AA"}, {kAcfCxnKey, "Excel"}}, "acf", "imgContact");
    check({}, "", "imgContact");
}

TEST_F(Acf, AFolderLeadsToItsSource) {
    const EntryID shared = publicFolder("Suppliers")->ID();
    const EntryID other = publicFolder("Partners")->ID();
    EXPECT_FALSE(IsAcfFolder(session(), shared));
    const EntryID acf = addAcf("Suppliers", shared);
    addAcf("Broken", EntryID("00"));
    EXPECT_TRUE(IsAcfFolder(session(), shared));
    EXPECT_FALSE(IsAcfFolder(session(), other));
    EXPECT_FALSE(IsAcfFolder(session(), EntryID()));
    const RDOMessagePtr found = FindAcfByFolder(session(), shared);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ID(), acf);
    EXPECT_EQ(FindAcfByFolder(session(), shared, "bob@example.test"), nullptr);
}

TEST_F(Acf, AMailboxNarrowsTheSearch) {
    const EntryID folder = bobs("Staff")->ID();
    const EntryID acf =
        addAcf("Staff", folder, {{kAcfMailboxKey, "bob@example.test"}, {kAcfServerKey, "EX7"}});
    EXPECT_TRUE(FindAcfByFolder(session(), folder));
    EXPECT_TRUE(FindAcfByFolder(session(), folder, "BOB@example.test"));
    EXPECT_TRUE(FindAcfByFolder(session(), folder, "bob@example.test", "ex7"));
    EXPECT_FALSE(FindAcfByFolder(session(), folder, "bob@example.test", "EX8"));
    EXPECT_FALSE(FindAcfByFolder(session(), folder, "alice@example.test"));
    EXPECT_EQ(FindAcfByFolder(session(), folder)->ID(), acf);
}

TEST_F(Acf, NamesAreUniqueAmongSources) {
    const EntryID acf = addAcf("Suppliers", EntryID("00AA"));
    addRecord("IPM.Post.MCL", "Partners", {});
    EXPECT_TRUE(AcfNameInUse(session(), {}, "suppliers"));
    EXPECT_FALSE(AcfNameInUse(session(), acf, "Suppliers"));
    EXPECT_FALSE(AcfNameInUse(session(), {}, "Partners"));
    const EntryID other = addAcds("Database");
    EXPECT_TRUE(AcfNameInUse(session(), other, "Suppliers"));
}

TEST_F(Acf, APairOfStringAndQueryIsUnique) {
    const EntryID acds = addAcds("Database", "Provider=x;", "people");
    EXPECT_TRUE(AcdsQueryInUse(session(), {}, "Provider=x;", "people"));
    EXPECT_FALSE(AcdsQueryInUse(session(), acds, "Provider=x;", "people"));
    EXPECT_FALSE(AcdsQueryInUse(session(), {}, "Provider=x;", "People"));
    EXPECT_FALSE(AcdsQueryInUse(session(), {}, "Provider=y;", "people"));
}

TEST_F(Acf, AGuidLeadsToARecordOfItsClass) {
    RDOFolder& folder = *session().agentInfo;
    addRecord(kMclClass, "A list", {{kAcsGuidKey, "G-1"}});
    const EntryID acf = addRecord(kAcfClass, "A source", {{kAcsGuidKey, "G-1"}});
    ASSERT_TRUE(FindByGuid(folder, kAcfClass, "g-1"));
    EXPECT_EQ(FindByGuid(folder, kAcfClass, "G-1")->ID(), acf);
    EXPECT_EQ(FindByGuid(folder, kMclClass, "G-1")->Subject(), "A list");
    EXPECT_EQ(FindByGuid(folder, kAcfClass, "G-2"), nullptr);
    EXPECT_EQ(FindByGuid(folder, kAcfClass, ""), nullptr);
}

TEST_F(Acf, AGuidIsMadeOnce) {
    const EntryID id = addAcf("Suppliers", EntryID("00AA"));
    const RDOMessagePtr acf = GetMessage(session(), id);
    EXPECT_EQ(EnsureAcsGuid(session(), *acf, false).size(), 36u);
    EXPECT_EQ(key(id, kAcsGuidKey), "");
    const std::string guid = EnsureAcsGuid(session(), *GetMessage(session(), id), true);
    EXPECT_EQ(key(id, kAcsGuidKey), guid);
    EXPECT_EQ(EnsureAcsGuid(session(), *GetMessage(session(), id), true), guid);
}

TEST_F(Acf, FoldersAreOpenedWhereTheyLie) {
    const auto open = [&](const EntryID& id) {
        const RDOFolderPtr folder = OpenAcfFolder(session(), *GetMessage(session(), id));
        return folder ? folder->Name() : "";
    };
    EXPECT_EQ(open(addAcf("S", publicFolder("Suppliers")->ID())), "Suppliers");
    EXPECT_EQ(open(addAcf("B", bobs("Staff")->ID(), {{kAcfMailboxKey, "bob@example.test"}})),
              "Staff");
    EXPECT_EQ(open(addAcf("N", EntryID("00"))), "");
    EXPECT_EQ(open(addAcds("D")), "");
    EXPECT_EQ(open(addAcf("Lost", bobs("Staff")->ID(), {{kAcfMailboxKey, "gone@example.test"}})),
              "");
    EXPECT_TRUE(world.logHas("unable to open shared mailbox 'gone@example.test' for ACF 'Lost'"));
}

TEST_F(Acf, ASourceIsWrittenAndRead) {
    AcfSource source;
    source.name = " Staff ";
    source.folder = bobs("Staff")->ID();
    source.path = "\\Staff";
    source.admins = "Alice;Bob";
    source.adminsEmail = "alice@example.test;bob@example.test";
    source.store = EntryID("00BB");
    source.mailbox = "bob@example.test";
    const EntryID id = SaveAcf(session(), {}, source);
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(GetMessage(session(), id)->Subject(), "Staff");
    EXPECT_EQ(GetMessage(session(), id)->MessageClass(), kAcfClass);
    EXPECT_TRUE(GetKey(*GetMessage(session(), id), kAcfDescriptionKey).empty());
    const std::string guid = key(id, kAcsGuidKey);
    EXPECT_EQ(guid.size(), 36u);
    source.description = "text";
    SaveAcf(session(), id, source);
    EXPECT_EQ(key(id, kAcfDescriptionKey), "text");
    source.description = "";
    SaveAcf(session(), id, source); // it had text before
    EXPECT_FALSE(GetKey(*GetMessage(session(), id), kAcfDescriptionKey).empty());
    EXPECT_EQ(key(id, kAcsGuidKey), guid);
    const AcfSource read = ReadAcf(session(), id);
    EXPECT_EQ(read.folder, source.folder);
    EXPECT_EQ(read.path, "\\Staff");
    EXPECT_EQ(read.adminsEmail, source.adminsEmail);
    EXPECT_EQ(read.store, EntryID("00BB"));
    EXPECT_EQ(countOf(kAcfClass), 1u);
}

TEST_F(Acf, APathWithinAMailboxEndsAtItsRoot) {
    const RDOFolderPtr staff = bobs("Staff");
    const RDOFolderPtr below = staff->Folders()->Add("Night", "IPF.Contact");
    EXPECT_EQ(PathInMailbox(*staff), "\\Staff");
    EXPECT_EQ(PathInMailbox(*below), "\\Staff\\Night");
}

TEST_F(Acf, ThePickerShowsSomebodysMailbox) {
    const RDOFolderPtr night = bobs("Staff")->Folders()->Add("Night", "IPF.Contact");
    FolderPickOptions options;
    options.mailbox = "bob@example.test";
    options.showPublicFolders = false;
    options.allowContacts = true;
    FolderTree folders(*session().rdo, session().log, options);
    ASSERT_TRUE(folders.LoadRoots());
    ASSERT_EQ(folders.Roots().size(), 1u);
    EXPECT_EQ(folders.Roots()[0]->text, "Mailbox - Bob Baker");
    FolderNode* found = folders.FindPath("\\\\Mailbox - Bob Baker\\Staff\\Night");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->entryID, night->ID());
    EXPECT_TRUE(folders.IsValid(*found));
    options.mailbox = "gone@example.test";
    EXPECT_FALSE(FolderTree(*session().rdo, session().log, options).LoadRoots());
}

TEST_F(Acf, WhatCannotBeToldCountsAsTaken) {
    addAcf("Suppliers", EntryID("00AA"));
    FailingSession failing(world);
    failing.LogOn();
    failing.store.plan().FailFrom(1);
    EXPECT_TRUE(AcfNameInUse(failing.session, {}, "Free"));
    EXPECT_TRUE(AcdsQueryInUse(failing.session, {}, "a", "b"));
    EXPECT_FALSE(IsAcfFolder(failing.session, EntryID("00AA")));
    EXPECT_EQ(FindAcfByFolder(failing.session, EntryID("00AA")), nullptr);
    EXPECT_TRUE(world.logHas("AcfNameInUse: "));
    AcfSource source;
    source.name = "New";
    EXPECT_TRUE(SaveAcf(failing.session, {}, source).empty());
    ASSERT_EQ(failing.ui.shown.size(), 1u);
    EXPECT_EQ(failing.ui.shown[0],
              "Unable to save the contact source New!\n" + std::string(kFailure));
}

TEST_F(Acf, NoFailureLeavesHalfASource) {
    int runs = ForEachFailure([](const Arm& arm) {
        World own;
        own.LogOnConfigured();
        FailingSession failing(own);
        failing.LogOn();
        arm(failing.store.plan());
        AcfSource source;
        source.name = "New";
        source.folder = EntryID("00AA");
        source.path = "p";
        const EntryID id = SaveAcf(failing.session, {}, source);
        const auto ids = RequireMessageIDs(*own.session->agentInfo, kAcfClass, "");
        EXPECT_LE(ids.size(), 1u);
        EXPECT_TRUE(id.empty() || ids.size() == 1);
        for (const EntryID& saved : ids) {
            const AcfSource read = ReadAcf(*own.session, saved);
            EXPECT_EQ(read.folder, EntryID("00AA"));
            EXPECT_EQ(read.path, "p");
        }
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 5);
}

} // namespace
