#include "contacts/basACFChanges.h"
#include "contacts/basMCL.h"
#include "tests/contacts/AcfTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

const std::string kSure = "Are you sure you want to remove ";
const std::string kFromList = " from the list of Alternate Contact Sources?";
const std::string kNoReturn = "\n\nThis action cannot be reversed.";

class AcfChanges : public AcfTest {
protected:
    AcfChanges() {
        folder = publicFolder("Suppliers")->ID();
        acf = addAcf("Suppliers", folder, {{kAcsGuidKey, "G-1"}});
    }
    EntryID addList(std::string_view name, const Keys& keys) {
        const RDOMessagePtr list = GetMCLFolder(session()).folder->Items()->Add(kMclClass);
        list->SetSubject(name);
        for (const auto& [key, value] : keys)
            SetKey(*list, key, value);
        list->Save();
        return list->ID();
    }
    bool gone(const EntryID& id) { return GetMessage(session(), id) == nullptr; }

    EntryID folder, acf;
};

TEST_F(AcfChanges, ASourceAloneIsRemoved) {
    world.ui.Expect(kSure + "Suppliers" + kFromList + kNoReturn, BoxAnswer::Cancel);
    EXPECT_FALSE(RemoveAcf(session(), acf, "Suppliers"));
    EXPECT_FALSE(gone(acf));
    world.ui.Expect(kSure + "Suppliers" + kFromList + kNoReturn, BoxAnswer::OK);
    EXPECT_TRUE(RemoveAcf(session(), acf, "Suppliers"));
    EXPECT_TRUE(gone(acf));
    EXPECT_TRUE(world.logHas("Deleting Alternate Contact Source 'Suppliers'"));
}

TEST_F(AcfChanges, TheLinkedListGoesWithIt) {
    const EntryID list = addList("Our list", {{kMclGuidKey, "G-1"}});
    const EntryID other = addList("Other list", {{kMclGuidKey, "G-2"}});
    world.ui.Expect(kSure + "Suppliers" + kFromList +
                        "\nThe linked Mandatory Contact List 'Our list' will also be deleted." +
                        kNoReturn,
                    BoxAnswer::OK);
    EXPECT_TRUE(RemoveAcf(session(), acf, "Suppliers"));
    EXPECT_TRUE(gone(acf));
    EXPECT_TRUE(gone(list));
    EXPECT_FALSE(gone(other));
    EXPECT_TRUE(world.logHas("Deleting dependent MCL 'Our list' for Suppliers"));
}

TEST_F(AcfChanges, OldLinksCountAsWell) {
    const std::pair<std::string_view, std::string> links[] = {
        {kMclAcfMsgKey, acf.text()}, {kMclAcdsKey, acf.text()}, {kMclFolderKey, folder.text()}};
    for (const auto& [name, value] : links) {
        const EntryID list = addList("Old list", {{name, value}});
        EXPECT_FALSE(CanMakeMCL(session(), acf)) << name;
        GetMessage(session(), list)->Delete();
        EXPECT_TRUE(CanMakeMCL(session(), acf)) << name;
    }
}

TEST_F(AcfChanges, ANodeWithoutARecordGoesToo) {
    GetMessage(session(), acf)->Delete();
    world.ui.Expect(kSure + "Suppliers" + kFromList + kNoReturn, BoxAnswer::OK);
    EXPECT_TRUE(RemoveAcf(session(), acf, "Suppliers"));
    EXPECT_TRUE(world.logHas("Deleting Alternate Contact Source node 'Suppliers'; unable to find "
                             "matching ACF message"));
}

TEST_F(AcfChanges, SwitchingOffTakesTheListAlong) {
    world.ui.Expect("Inactivate Suppliers?", BoxAnswer::No);
    EXPECT_FALSE(ChangeActivationACF(session(), acf, "Suppliers", false));
    EXPECT_FALSE(inactive(acf));
    const EntryID list = addList("Our list", {{kMclGuidKey, "G-1"}});
    world.ui.Expect("Inactivate Suppliers?\n"
                    "The linked Mandatory Contact List 'Our list' will also be inactivated.",
                    BoxAnswer::Yes);
    EXPECT_TRUE(ChangeActivationACF(session(), acf, "Suppliers", false));
    EXPECT_TRUE(inactive(acf));
    EXPECT_TRUE(inactive(list));
}

TEST_F(AcfChanges, SwitchingOnAsksForTheList) {
    const EntryID list = addList("Our list", {{kMclGuidKey, "G-1"}});
    const auto switchOff = [&](const EntryID& id) {
        const RDOMessagePtr record = GetMessage(session(), id);
        SetKey(*record, "EPS.Inactive", true);
        record->Save();
    };
    switchOff(acf);
    world.ui.Expect("Activate Suppliers?", BoxAnswer::Yes); // an active list is not asked for
    EXPECT_TRUE(ChangeActivationACF(session(), acf, "Suppliers", true));
    EXPECT_FALSE(inactive(acf));
    const std::string also =
        "Do you also want to activate the linked Mandatory Contact List 'Our list'?";
    for (const BoxAnswer answer : {BoxAnswer::No, BoxAnswer::Yes}) {
        switchOff(acf);
        switchOff(list);
        world.ui.Expect("Activate Suppliers?", BoxAnswer::Yes);
        world.ui.Expect(also, answer);
        EXPECT_TRUE(ChangeActivationACF(session(), acf, "Suppliers", true));
        EXPECT_FALSE(inactive(acf));
        EXPECT_EQ(inactive(list), answer == BoxAnswer::No);
    }
}

TEST_F(AcfChanges, AFailureIsLoggedAndShown) {
    GetMessage(session(), acf)->Delete();
    world.ui.Expect("Errors were encountered activating Suppliers\n"
                    "See the KR-Admin.log for details");
    EXPECT_FALSE(ChangeActivationACF(session(), acf, "Suppliers", true));
    EXPECT_TRUE(world.logHas("ChangeActivationACF error " + std::to_string(MAPI_E_NOT_FOUND) +
                             " The record can't be opened."));
    EXPECT_FALSE(CanMakeMCL(session(), acf));
    world.ui.Expect("Unable to open the contact source!\nThe record can't be opened.");
    EXPECT_FALSE(SourceForMCL(session(), acf));
}

TEST_F(AcfChanges, AListBeginsWithItsSource) {
    const auto source = SourceForMCL(session(), acf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->acf, acf);
    EXPECT_EQ(source->guid, "G-1");
    EXPECT_EQ(source->folder, folder);
    EXPECT_EQ(source->mailbox, "");
    const EntryID data = addAcds("Data", "Provider=x;", "people");
    const auto ofData = SourceForMCL(session(), data);
    ASSERT_TRUE(ofData);
    EXPECT_EQ(ofData->guid.size(), 36u);
    EXPECT_EQ(key(data, kAcsGuidKey), ofData->guid);
    EXPECT_EQ(ofData->cxnString, "Provider=x;");
    EXPECT_EQ(ofData->query, "people");
    const EntryID mailbox =
        addAcf("Staff", bobs("Staff")->ID(), {{kAcfMailboxKey, "bob@example.test"}});
    EXPECT_EQ(SourceForMCL(session(), mailbox)->mailbox, "bob@example.test");
}

TEST_F(AcfChanges, AFailedDeleteKeepsTheSource) {
    FailingSession failing(world);
    failing.LogOn();
    failing.store.plan().FailFrom(0);
    RemoveAcf(failing.session, acf, "Suppliers"); // counts the calls of a removal
    const int calls = failing.store.plan().Calls();
    ASSERT_TRUE(gone(acf));
    acf = addAcf("Suppliers", folder, {{kAcsGuidKey, "G-1"}});
    failing.ui.shown.clear();
    failing.store.plan().FailAt(calls);
    EXPECT_FALSE(RemoveAcf(failing.session, acf, "Suppliers"));
    EXPECT_FALSE(gone(acf));
    ASSERT_EQ(failing.ui.shown.size(), 2u);
    EXPECT_EQ(failing.ui.shown[1], "Unable to remove Suppliers!\n" + std::string(kFailure));
}

/// A source that went alone would leave its list to be switched off as one that has lost it.
TEST_F(AcfChanges, AFailedSearchIsNoSourceWithoutAList) {
    for (const std::string_view link : {kMclGuidKey, kMclFolderKey}) {
        const int runs = ForEachFailure([&](const Arm& arm) {
            const EntryID source = addAcf("S", folder, {{kAcsGuidKey, "G-9"}});
            const EntryID list =
                addList("List", {{link, link == kMclGuidKey ? std::string("G-9") : folder.text()}});
            FailingSession failing(world);
            failing.LogOn();
            arm(failing.store.plan());
            const AcfChange removed = RemoveAcf(failing.session, source, "S");
            const bool failed = failing.store.plan().Failed();
            if (!gone(list)) {
                EXPECT_TRUE(failed);
                const std::string last = failing.ui.shown.empty() ? "" : failing.ui.shown.back();
                EXPECT_TRUE(last.starts_with("Unable to remove S!") ||
                            last.starts_with("Unable to delete the linked"))
                    << last;
                EXPECT_EQ(gone(source), static_cast<bool>(removed));
                EXPECT_TRUE(removed.list.empty());
                GetMessage(session(), list)->Delete();
            } else {
                EXPECT_TRUE(gone(source));
            }
            if (!gone(source))
                GetMessage(session(), source)->Delete();
            return failed;
        });
        EXPECT_GT(runs, 10);
    }
}

TEST_F(AcfChanges, AFailedSearchOffersNoSecondList) {
    addList("List", {{kMclGuidKey, "G-1"}});
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        EXPECT_FALSE(CanMakeMCL(failing.session, acf));
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 5);
}

} // namespace
