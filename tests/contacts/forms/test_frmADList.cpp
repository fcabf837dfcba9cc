#include <gtest/gtest.h>

#include <QHeaderView>
#include <QProgressBar>
#include <QTest>
#include <QTreeView>

#include "contacts/forms/frmADList.h"
#include "platform/events/qt/QtEventsBridge.h"
#include "tests/support/LdapWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

constexpr int kPeople = 600;
constexpr int kShown = kPeople - kPeople / 50 - kPeople / 97 + 1; // and the one with an odd name

class frmADListTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = kPeople;
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        ldap.Use(*s_server);
    }

    void open() {
        form = std::make_unique<frmADList>(ldap.session());
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    void openLoaded() {
        open();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !busy()->isVisible() && rows() > 0; }));
    }
    QTreeView* list() { return control<QTreeView>(form.get(), "vlwAD"); }
    QProgressBar* busy() { return control<QProgressBar>(form.get(), "wb1"); }
    QLineEdit* find() { return control<QLineEdit>(form.get(), "txtFind"); }
    QComboBox* column() { return control<QComboBox>(form.get(), "cboFind"); }
    int rows() { return list()->model()->rowCount(); }
    std::string cell(int row, int col) {
        return list()->model()->index(row, col).data().toString().toStdString();
    }
    std::string count() { return control<QLabel>(form.get(), "lblCount")->text().toStdString(); }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    void clickHead(int section) {
        QHeaderView* head = list()->header();
        const QPoint at(head->sectionViewportPosition(section) + 12, head->height() / 2);
        QTest::mouseClick(head->viewport(), Qt::LeftButton, {}, at);
    }

    inline static std::unique_ptr<DirectoryFixture> s_server;
    LdapWorld ldap;
    QtEventsBridge bridge{static_cast<EpollEvents&>(*ldap.world.events)};
    std::unique_ptr<frmADList> form;
};

TEST_F(frmADListTest, FillsWhileItIsOpen) {
    open();
    EXPECT_EQ(form->windowTitle(), "Addresses");
    EXPECT_TRUE(busy()->isVisible());
    EXPECT_EQ(busy()->maximum(), 0); // no end is known
    EXPECT_EQ(column()->itemText(0), "Name");
    EXPECT_EQ(column()->itemText(1), "Email");
    EXPECT_EQ(form->focusWidget(), find());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !busy()->isVisible(); }));
    EXPECT_EQ(rows(), kShown);
    EXPECT_EQ(count(), "Count: " + std::to_string(kShown));
    EXPECT_EQ(cell(0, 0).substr(0, 5), "Aname");
    EXPECT_EQ(list()->model()->headerData(1, Qt::Horizontal).toString(), "Email");
    EXPECT_EQ(list()->header()->sortIndicatorSection(), 0);
}

TEST_F(frmADListTest, GivesThePersonOfTheRow) {
    openLoaded();
    find()->setText("aname first 26");
    ASSERT_GT(rows(), 0);
    EXPECT_EQ(cell(0, 0), "Aname First 26");
    list()->setCurrentIndex(list()->model()->index(0, 0));
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(form->choice().mail, "u26@example.test");
    EXPECT_EQ(form->choice().primaryAddress, "u26@example.test");
    EXPECT_EQ(form->choice().mailNickname, "u26");
    EXPECT_EQ(form->choice().distinguishedName, "CN=Aname First 26,OU=Staff,DC=example,DC=test");
    EXPECT_EQ(form->choice().telephoneNumber, "100026");
}

TEST_F(frmADListTest, OKWithoutARowIsRefused) {
    openLoaded();
    ldap.world.ui.Expect("No name has been selected");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    press("cmdCancel");
    EXPECT_EQ(form->result(), QDialog::Rejected);
}

TEST_F(frmADListTest, FindsInTheChosenColumn) {
    openLoaded();
    QTest::keyClicks(find(), "u11");
    EXPECT_EQ(rows(), 0);
    column()->setCurrentIndex(1);
    EXPECT_EQ(rows(), 11); // u11, u110 ... u119 without one that is disabled or hidden
    EXPECT_EQ(count(), "Count: 11");
    find()->clear();
    EXPECT_EQ(rows(), kShown);
}

TEST_F(frmADListTest, AnApostropheShowsNobody) {
    openLoaded();
    find()->setText("O");
    EXPECT_GT(rows(), 0);
    find()->setText("O'");
    EXPECT_EQ(rows(), 0);
}

TEST_F(frmADListTest, AHeadSortsUpThenDownAndKeepsTheCurrentRow) {
    openLoaded();
    list()->setCurrentIndex(list()->model()->index(5, 0));
    const std::string person = cell(5, 1);
    clickHead(1);
    EXPECT_EQ(cell(0, 1), "ohara@example.test");
    EXPECT_EQ(list()->header()->sortIndicatorOrder(), Qt::AscendingOrder);
    EXPECT_EQ(cell(list()->currentIndex().row(), 1), person);
    clickHead(1);
    EXPECT_EQ(cell(rows() - 1, 1), "ohara@example.test");
    EXPECT_EQ(list()->header()->sortIndicatorOrder(), Qt::DescendingOrder);
    clickHead(0);
    EXPECT_EQ(cell(0, 0).substr(0, 5), "Aname");
}

TEST_F(frmADListTest, ALetterInTheListJumps) {
    openLoaded();
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_M);
    ASSERT_TRUE(list()->currentIndex().isValid());
    EXPECT_EQ(cell(list()->currentIndex().row(), 0).substr(0, 5), "Mname");
    EXPECT_EQ(cell(list()->currentIndex().row() - 1, 0).substr(0, 5), "Lname");
    QTest::keyClick(list(), Qt::Key_A);
    EXPECT_EQ(list()->currentIndex().row(), 0);
    EXPECT_TRUE(find()->text().isEmpty());
    QTest::keyClick(list(), Qt::Key_Return);
    EXPECT_EQ(form->result(), QDialog::Accepted);
}

TEST_F(frmADListTest, ClosesWhileItLoads) {
    open();
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    form.reset();
    QTest::qWait(100);
    EXPECT_TRUE(ldap.world.ui.boxes().empty());
}

TEST_F(frmADListTest, ADirectoryThatIsNotThereIsTold) {
    DirectoryFixture gone;
    ldap.Use(gone);
    gone.Kill();
    ldap.world.ui.Expect("Unable to open Active Directory connection!");
    open();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !busy()->isVisible(); }));
    EXPECT_EQ(rows(), 0);
    EXPECT_EQ(count(), "Count: 0");
}

TEST_F(frmADListTest, PicksModally) {
    whenModal("frmADList", [](QWidget* window) { QTest::keyClick(window, Qt::Key_Escape); });
    EXPECT_FALSE(PickFromADList(ldap.session(), nullptr).has_value());
}

} // namespace
