#include <gtest/gtest.h>

#include <QTest>
#include <QTreeWidget>

#include "contacts/forms/frmADSI.h"
#include "platform/events/qt/QtEventsBridge.h"
#include "tests/support/LdapWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmADSITest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        DirectoryFixture::Options options;
        options.people = 1;
        options.extraEntries = "dn: OU=North,OU=Staff,DC=example,DC=test\n"
                               "objectClass: organizationalUnit\nOU: North\n\n";
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() { s_server.reset(); }
    void SetUp() override {
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        ldap.Use(*s_server);
        // a scripted person runs no events by itself
        ldap.world.ui.onDoEvents = [] { QApplication::processEvents(); };
    }
    void open() {
        form = std::make_unique<frmADSI>(ldap.session());
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    void openRead() {
        open();
        ASSERT_TRUE(QTest::qWaitFor([&] { return root() && root()->childCount() > 1; }));
    }
    QTreeWidget* tree() { return control<QTreeWidget>(form.get(), "tvContainers"); }
    QTreeWidgetItem* root() { return tree()->topLevelItem(0); }
    static QStringList names(const QTreeWidgetItem& item) {
        QStringList result;
        for (int i = 0; i < item.childCount(); ++i)
            result << item.child(i)->text(0);
        return result;
    }
    void ok() { QTest::mouseClick(control<QPushButton>(form.get(), "cmdOK"), Qt::LeftButton); }

    inline static std::unique_ptr<DirectoryFixture> s_server;
    LdapWorld ldap;
    QtEventsBridge bridge{static_cast<EpollEvents&>(*ldap.world.events)};
    std::unique_ptr<frmADSI> form;
};

TEST_F(frmADSITest, OpensTheDomainWithItsContainers) {
    openRead();
    EXPECT_EQ(form->windowTitle(), "BES Distribution Lists");
    EXPECT_EQ(control<QLabel>(form.get(), "lblContainer")->text().remove('&'),
              "Select container where BES DLs will be created");
    EXPECT_EQ(root()->text(0), "example.test");
    EXPECT_EQ(names(*root()), (QStringList{"Lists", "Managed", "Staff", "Users"}));
    EXPECT_EQ(names(*root()->child(2)), QStringList{"Loading..."});
    root()->child(2)->setExpanded(true);
    EXPECT_EQ(names(*root()->child(2)), QStringList{"North"});
    root()->child(0)->setExpanded(true);
    EXPECT_EQ(root()->child(0)->childCount(), 0);
}

TEST_F(frmADSITest, GivesThePathOfAContainer) {
    openRead();
    root()->child(2)->setExpanded(true);
    tree()->setCurrentItem(root()->child(2)->child(0));
    ok();
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(form->choice().path, "LDAP://OU=North,OU=Staff,DC=example,DC=test");
    EXPECT_EQ(form->choice().name, "North");
}

TEST_F(frmADSITest, NoNodeAndTheRootAreRefused) {
    openRead();
    tree()->setCurrentItem(nullptr);
    ldap.world.ui.Expect("No container is selected!");
    ok();
    tree()->setCurrentItem(root());
    ldap.world.ui.Expect("You can not select the root container!");
    ok();
    EXPECT_TRUE(form->isVisible());
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_EQ(form->result(), QDialog::Rejected);
}

TEST_F(frmADSITest, ALevelThatCanNotBeReadMayBeTriedAgain) {
    DirectoryFixture mortal;
    ldap.Use(mortal);
    openRead();
    mortal.Kill();
    root()->child(2)->setExpanded(true);
    EXPECT_FALSE(root()->child(2)->isExpanded());
    EXPECT_EQ(names(*root()->child(2)), QStringList{"Loading..."});
    ASSERT_TRUE(mortal.Start());
    root()->child(2)->setExpanded(true);
    EXPECT_EQ(root()->child(2)->childCount(), 0);
}

TEST_F(frmADSITest, WithoutADirectoryTheTreeIsEmpty) {
    DirectoryFixture gone;
    ldap.Use(gone);
    gone.Kill();
    open();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return ldap.world.log().find("frmADSI:") != std::string::npos; }));
    EXPECT_EQ(tree()->topLevelItemCount(), 0);
    ldap.world.ui.Expect("No container is selected!");
    ok();
}

TEST_F(frmADSITest, PicksModally) {
    whenModal("frmADSI", [](QWidget* window) { QTest::keyClick(window, Qt::Key_Escape); });
    EXPECT_FALSE(PickContainer(ldap.session(), nullptr).has_value());
}

} // namespace
