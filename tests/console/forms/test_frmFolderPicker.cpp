#include <gtest/gtest.h>

#include <QTest>
#include <QTreeWidget>

#include "console/forms/DialogHooks.h"
#include "console/forms/frmFolderPicker.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmFolderPickerTest : public ::testing::Test {
protected:
    frmFolderPickerTest() {
        world.LogOn();
        options.allowContacts = true;
    }
    template <class F>
    std::vector<FolderPick> pick(F play) {
        whenModal("frmFolderPicker", [play](QWidget* form) {
            auto* tree = control<QTreeWidget>(form, "tvFolders");
            EXPECT_TRUE(QTest::qWaitFor([tree] { return tree->topLevelItemCount() > 0; }));
            play(form);
        });
        return PickFolders(*world.session->rdo, options, world.session->log, nullptr);
    }
    static QTreeWidgetItem* item(QWidget* form, const char* text) {
        const auto found = control<QTreeWidget>(form, "tvFolders")
                               ->findItems(text, Qt::MatchExactly | Qt::MatchRecursive);
        if (found.size() == 1)
            return found.first();
        ADD_FAILURE() << found.size() << " folders " << text;
        return control<QTreeWidget>(form, "tvFolders")->topLevelItem(0);
    }
    static void select(QWidget* form, const char* text) {
        auto* tree = control<QTreeWidget>(form, "tvFolders");
        tree->setCurrentItem(item(form, text));
    }
    static void expand(QWidget* form, const char* text) {
        auto* tree = control<QTreeWidget>(form, "tvFolders");
        tree->setFocus();
        select(form, text);
        QTest::keyClick(tree, Qt::Key_Plus);
    }
    static QPushButton* ok(QWidget* form) { return control<QPushButton>(form, "cmdOK"); }
    static void press(QPushButton* button) { QTest::mouseClick(button, Qt::LeftButton); }

    World world;
    FolderPickOptions options;
};

TEST_F(frmFolderPickerTest, ShowsBothRootsAndReadsOnExpanding) {
    const auto picks = pick([](QWidget* form) {
        EXPECT_EQ(form->windowTitle(), "Folder Selector");
        EXPECT_FALSE(control<QLabel>(form, "lblHint")->isVisible());
        auto* tree = control<QTreeWidget>(form, "tvFolders");
        ASSERT_EQ(tree->topLevelItemCount(), 2);
        EXPECT_TRUE(tree->topLevelItem(0)->text(0).startsWith("Mailbox - "));
        EXPECT_EQ(tree->topLevelItem(1)->childCount(), 0);
        expand(form, "All Public Folders");
        expand(form, "Shared");
        EXPECT_TRUE(ok(form)->isEnabled());
        select(form, "All Public Folders");
        EXPECT_FALSE(ok(form)->isEnabled()) << "a root holds no items";
        select(form, "R & D");
        press(ok(form));
    });
    ASSERT_EQ(picks.size(), 1U);
    EXPECT_EQ(picks[0].path, "\\\\Public Folders\\All Public Folders\\Shared\\R & D");
    const auto folder = world.session->rdo->GetFolderFromID(picks[0].entryID, picks[0].storeID);
    EXPECT_EQ(folder->Name(), "R & D");
}

TEST_F(frmFolderPickerTest, TheWindowPaintsBeforeItLoads) {
    frmFolderPicker form(*world.session->rdo, world.session->log, options);
    form.show();
    auto* tree = control<QTreeWidget>(&form, "tvFolders");
    EXPECT_EQ(tree->topLevelItemCount(), 0);
    EXPECT_TRUE(QTest::qWaitFor([tree] { return tree->topLevelItemCount() == 2; }));
}

TEST_F(frmFolderPickerTest, OnlyAllowedClassesCanBeChosen) {
    options.showPublicFolders = false;
    const auto picks = pick([](QWidget* form) {
        auto* tree = control<QTreeWidget>(form, "tvFolders");
        ASSERT_EQ(tree->topLevelItemCount(), 1);
        tree->topLevelItem(0)->setExpanded(true);
        select(form, "Inbox");
        EXPECT_FALSE(ok(form)->isEnabled());
        select(form, "Contacts");
        EXPECT_TRUE(ok(form)->isEnabled());
        QTest::keyClick(tree, Qt::Key_Return);
    });
    ASSERT_EQ(picks.size(), 1U);
    EXPECT_TRUE(picks[0].path.ends_with("\\Contacts"));
}

TEST_F(frmFolderPickerTest, StartsAtTheGivenFolder) {
    options.startPath = "\\\\Public Folders\\All Public Folders\\Shared\\R & D";
    options.title = "Select a Contacts folder";
    options.hint = "Contacts of <all> & more";
    const auto picks = pick([](QWidget* form) {
        EXPECT_EQ(form->windowTitle(), "Select a Contacts folder");
        EXPECT_TRUE(control<QLabel>(form, "lblHint")->isVisible());
        auto* tree = control<QTreeWidget>(form, "tvFolders");
        EXPECT_EQ(tree->currentItem()->text(0), "R & D");
        EXPECT_TRUE(tree->currentItem()->parent()->isExpanded());
        press(ok(form));
    });
    ASSERT_EQ(picks.size(), 1U);
}

TEST_F(frmFolderPickerTest, SeveralWhenAllowed) {
    options.multiple = true;
    const auto picks = pick([](QWidget* form) {
        expand(form, "All Public Folders");
        expand(form, "Shared");
        item(form, "Shared")->setSelected(true);
        item(form, "R & D")->setSelected(true);
        EXPECT_TRUE(ok(form)->isEnabled());
        item(form, "All Public Folders")->setSelected(true);
        EXPECT_FALSE(ok(form)->isEnabled()) << "each of them must be valid";
        item(form, "All Public Folders")->setSelected(false);
        press(ok(form));
    });
    EXPECT_EQ(picks.size(), 2U);
}

TEST_F(frmFolderPickerTest, CancelGivesNothing) {
    options.startPath = "\\\\Public Folders\\All Public Folders\\Shared";
    EXPECT_TRUE(pick([](QWidget* form) { QTest::keyClick(form, Qt::Key_Escape); }).empty());
}

TEST_F(frmFolderPickerTest, ClosesWhenNothingCanBeRead) {
    world.session->rdo->Logoff();
    try {
        PickFolders(*world.session->rdo, options, world.session->log, nullptr);
        ADD_FAILURE() << "no error";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.description(), "There was an error loading the folder list!");
    }
    EXPECT_TRUE(world.logHas("frmFolderPicker: unloading due to LoadStores error"));
    EXPECT_TRUE(world.logHas("frmFolderPicker: unable to retrieve DefaultStore "));
}

} // namespace
