#include <gtest/gtest.h>

#include <QHeaderView>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

#include <set>

#include "console/forms/Theme.h"
#include "push/forms/frmPDL.h"
#include "tests/push/PdlWorld.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmPDLTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    void open(const EntryID& list, AgentSession* over = nullptr) {
        form = std::make_unique<frmPDL>(over ? *over : session(), list);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
        QTest::qWait(20); // the lists fill once the window stands
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    QString label(const char* name) { return at<QLabel>(name)->text(); }
    QCheckBox* box(const char* name) { return at<QCheckBox>(name); }
    /// A check box takes a moment to be pressed by its letter.
    void letter(const char* name, Qt::Key key) {
        const bool before = box(name)->isChecked();
        QTest::keyClick(form.get(), key, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return box(name)->isChecked() != before; }));
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    /// The cells of a view, row by row.
    std::vector<std::string> rows(const char* name) {
        const QAbstractItemModel* model = at<QTreeView>(name)->model();
        std::vector<std::string> all;
        for (int row = 0; row < model->rowCount(); ++row) {
            QString text;
            for (int column = 0; column < model->columnCount(); ++column)
                text += (column > 0 ? "|" : "") + model->index(row, column).data().toString();
            all.push_back(text.toStdString());
        }
        return all;
    }
    std::vector<std::string> titles(const char* name) {
        const QAbstractItemModel* model = at<QTreeView>(name)->model();
        std::vector<std::string> all;
        for (int column = 0; column < model->columnCount(); ++column)
            all.push_back(model->headerData(column, Qt::Horizontal).toString().toStdString());
        return all;
    }
    QVariant colour(int row) {
        return at<QTreeView>("lvSource")->model()->index(row, 0).data(Qt::ForegroundRole);
    }
    PdlWorld world;
    std::unique_ptr<frmPDL> form;
};

using Texts = std::vector<std::string>;

TEST_F(frmPDLTest, ShowsSourceAndTargets) {
    open(world.AddPdl("Team", "P")->ID());
    EXPECT_EQ(form->windowTitle(), "PDL - Team");
    EXPECT_EQ(label("lblSource"), "Source: Mandatory Contact List");
    EXPECT_EQ(label("lblProtocols"), "Configure DL for sending messsages via");
    EXPECT_EQ(box("chkPIN")->text(), "&PIN");
    EXPECT_EQ(box("chkSMS")->text(), "&SMS");
    EXPECT_EQ(box("chkEmail")->text(), "&E-mail");
    EXPECT_EQ(titles("lvSource"), (Texts{"Name", "PIN", "Mobile", "E-mail"}));
    EXPECT_EQ(rows("lvSource"),
              (Texts{"Alice Adams|PINALICE||alice@example.test", "Bob Baker|||bob@example.test",
                     "Dora Dunn||555-0104|dora@example.test"}));
    EXPECT_EQ(label("lblSourceCount"), "DL includes 1 of 3 source contacts");
    EXPECT_EQ(label("lblTarget"), "Target: Authorized Recipient List");
    EXPECT_EQ(titles("lvTarget"), (Texts{"Name", "E-mail"}));
    EXPECT_EQ(rows("lvTarget").size(), 3U);
    EXPECT_EQ(label("lblTargetCount"), "DL is available to 3 targets");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(frmPDLTest, HasTwoPages) {
    open(world.AddPdl("Team", "P")->ID());
    auto* pages = at<QTabWidget>("tabPages");
    ASSERT_EQ(pages->count(), 2);
    EXPECT_EQ(pages->tabText(0).remove('&'), "Source");
    EXPECT_EQ(pages->tabText(1).remove('&'), "Target");
    EXPECT_TRUE(at<QTreeView>("lvSource")->isVisible());
    QTest::keyClick(form.get(), Qt::Key_T, Qt::AltModifier);
    EXPECT_TRUE(at<QTreeView>("lvTarget")->isVisible());
    QTest::keyClick(form.get(), Qt::Key_U, Qt::AltModifier);
    EXPECT_TRUE(at<QTreeView>("lvSource")->isVisible());
}

TEST_F(frmPDLTest, TickingGhostsWhomNobodyReaches) {
    open(world.AddPdl("Team", "P")->ID());
    EXPECT_FALSE(colour(0).isValid());
    EXPECT_TRUE(colour(1).isValid());
    EXPECT_TRUE(colour(2).isValid());
    letter("chkSMS", Qt::Key_S);
    EXPECT_FALSE(colour(2).isValid());
    EXPECT_EQ(label("lblSourceCount"), "DL includes 2 of 3 source contacts");
    letter("chkEmail", Qt::Key_E);
    EXPECT_EQ(label("lblSourceCount"), "DL includes 3 of 3 source contacts");
    letter("chkPIN", Qt::Key_P);
    EXPECT_EQ(label("lblSourceCount"), "DL includes 3 of 3 source contacts");
    letter("chkEmail", Qt::Key_E);
    EXPECT_EQ(label("lblSourceCount"), "DL includes 1 of 3 source contacts");
    EXPECT_TRUE(colour(0).isValid());
}

TEST_F(frmPDLTest, TheFirstLineTellsTheSource) {
    world.AddFolderSource("G1");
    world.AddDataSource("G2");
    open(world.AddList("F", {{"ACS.Guid", "G1"}})->ID());
    EXPECT_EQ(label("lblSource"), "Source: Mandatory Contact Folder");
    open(world.AddList("D", {{"ACS.Guid", "G2"}})->ID());
    EXPECT_EQ(label("lblSource"), "Source: Mandatory Contact Data Source");
    EXPECT_EQ(label("lblSourceCount"), "Unable to open connection for People");
}

TEST_F(frmPDLTest, OKSavesTheProtocols) {
    const RDOMessagePtr list = world.AddList("A", {{"PDL", true}});
    open(list->ID());
    EXPECT_TRUE(box("chkPIN")->isChecked());
    EXPECT_FALSE(box("chkSMS")->isChecked());
    box("chkEmail")->click();
    box("chkPIN")->click();
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->saved(), list->ID());
    const RDOMessagePtr again = world.Again(list);
    EXPECT_EQ(GetKey(*again, "PDL.PIN"), Value(false));
    EXPECT_EQ(GetKey(*again, "PDL.SMS"), Value(false));
    EXPECT_EQ(GetKey(*again, "PDL.Email"), Value(true));
    EXPECT_EQ(GetKey(*again, "PDL"), Value(true));
}

TEST_F(frmPDLTest, WithoutAChangeOrWithCancelNothingIsWritten) {
    const RDOMessagePtr list = world.AddList("A");
    open(list->ID());
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    open(list->ID());
    box("chkSMS")->click();
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    EXPECT_TRUE(GetKey(*world.Again(list), "PDL.PIN").empty());
}

TEST_F(frmPDLTest, AsksBeforeAListIsSilenced) {
    const RDOMessagePtr list = world.AddPdl("A", "P");
    open(list->ID());
    box("chkPIN")->click();
    const char* question =
        "This DL has no communication protocols configured!\r\nIt cannot be used to send "
        "messages!\r\n\r\nAre you sure you want to save these changes?";
    world.ui.Expect(question, BoxAnswer::No);
    press("cmdOK");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Question);
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(KeyFlag(*world.Again(list), "PDL.PIN"));
    world.ui.Expect(question, BoxAnswer::Yes);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(KeyFlag(*world.Again(list), "PDL.PIN"));
}

TEST_F(frmPDLTest, AClickOnAHeaderSorts) {
    open(world.AddPdl("Team", "P")->ID());
    QHeaderView* header = at<QTreeView>("lvSource")->header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(0) + 8, header->height() / 2));
    EXPECT_EQ(rows("lvSource").front(), "Dora Dunn||555-0104|dora@example.test");
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
}

TEST_F(frmPDLTest, ClosingDuringTheLoadEndsIt) {
    const EntryID id = world.AddPdl("Team", "P")->ID();
    bool closed = false;
    world.ui.onDoEvents = [&] {
        if (form && form->isVisible()) {
            closed = true;
            form->close();
        }
    };
    form = std::make_unique<frmPDL>(session(), id);
    form->show();
    QTest::qWait(50);
    EXPECT_TRUE(closed);
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(rows("lvSource").empty());
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(frmPDLTest, TickingDuringTheLoadCounts) {
    const EntryID id = world.AddPdl("Team", "P")->ID();
    QString meanwhile;
    world.ui.onDoEvents = [&] {
        if (!form || !meanwhile.isEmpty() || !form->isVisible())
            return;
        box("chkEmail")->click();
        meanwhile = label("lblSourceCount");
    };
    form = std::make_unique<frmPDL>(session(), id);
    form->show();
    QTest::qWait(50);
    EXPECT_EQ(meanwhile, "Loading contacts, please wait...");
    EXPECT_EQ(label("lblSourceCount"), "DL includes 3 of 3 source contacts");
}

TEST_F(frmPDLTest, AListThatCantBeReadCantBeChanged) {
    const RDOMessagePtr list = world.AddPdl("Team", "P");
    const EntryID id = list->ID();
    list->Delete();
    open(id);
    EXPECT_FALSE(at<QPushButton>("cmdOK")->isEnabled());
    EXPECT_FALSE(box("chkPIN")->isEnabled());
    EXPECT_TRUE(label("lblSourceCount").startsWith("The list could not be read."));
    EXPECT_TRUE(world.logHas("Error loading PDL "));
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
}

/// What can't be read is said in place of a count.
TEST_F(frmPDLTest, ListsThatCantBeReadAreNotCounted) {
    world.SetAgent("HHEntryID", "");
    const EntryID id = world.AddPdl("Team", "P")->ID();
    open(id);
    EXPECT_EQ(label("lblSourceCount"), "The handhelds can't be read, so no PIN is known.");
    FailingSession failing(world);
    failing.LogOn();
    std::set<QString> counts;
    for (int call = 1; call <= 120; ++call) {
        failing.store.plan().FailAt(call);
        PdlForm pdl;
        if (!pdl.Load(failing.session, id))
            continue;
        pdl.LoadLists(failing.session, [] { return false; });
        counts.insert(QString::fromStdString(pdl.TargetCount()));
    }
    EXPECT_TRUE(counts.contains("The targets can't be read: The network is not available."));
}

TEST_F(frmPDLTest, AFailedSaveKeepsTheDialog) {
    const RDOMessagePtr list = world.AddPdl("Team", "P");
    FailingSession failing(world);
    failing.LogOn();
    open(list->ID(), &failing.session);
    box("chkSMS")->click();
    failing.store.plan().FailFrom(1);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(failing.ui.shown,
              (Texts{"Unable to save 'Team'!\r\nSee the KR-Admin.log for details"}));
    EXPECT_FALSE(KeyFlag(*world.Again(list), "PDL.SMS"));
    failing.store.plan().FailAt(0);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(KeyFlag(*world.Again(list), "PDL.SMS"));
}

TEST_F(frmPDLTest, GhostedRowsFollowThePalette) {
    open(world.AddPdl("Team", "P")->ID());
    QPalette dark;
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    form->setPalette(dark);
    EXPECT_EQ(colour(1).value<QBrush>(), QBrush(ThemeColors::of(form->palette()).ghosted));
}

} // namespace
