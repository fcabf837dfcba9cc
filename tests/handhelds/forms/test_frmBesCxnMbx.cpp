#include <gtest/gtest.h>

#include <QListWidget>
#include <QRadioButton>
#include <QTest>

#include "handhelds/forms/MakeHandheldForms.h"
#include "handhelds/forms/frmBesCxnMbx.h"
#include "tests/handhelds/BesTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmBesCxnMbxTest : public ::testing::Test {
protected:
    frmBesCxnMbxTest() {
        world.LogOnConfigured();
        addBesDatabase(world, "db");
        addBesMailbox(world, "db");
    }
    void open(const EntryID& id = {}) {
        form = std::make_unique<frmBesCxnMbx>(*world.session, id);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    void pick(const char* name) {
        const AddressEntryPtr entry = world.Entry(name);
        world.ui.ExpectAddressBook({{{entry->ID(), entry->Name()}}});
        press("cmdBES");
    }
    QStringList entries() {
        QStringList texts;
        for (int i = 0; i < at<QComboBox>("cboPushServer")->count(); ++i)
            texts << at<QComboBox>("cboPushServer")->itemText(i);
        return texts;
    }
    World world;
    std::unique_ptr<frmBesCxnMbx> form;
};

TEST_F(frmBesCxnMbxTest, ANewConnectorByItsMailbox) {
    open();
    EXPECT_EQ(form->windowTitle(), "BES Connector - Mailbox ");
    EXPECT_TRUE(at<QLineEdit>("txtBES")->isReadOnly());
    EXPECT_FALSE(at<QPushButton>("cmdRefresh")->isEnabled());
    EXPECT_EQ(entries(), QStringList{"(not configured)"});
    EXPECT_FALSE(at<QRadioButton>("optUseSelected_0")->isEnabled());
    world.ui.Expect("You must select the BES Agent mailbox!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at<QPushButton>("cmdBES"));
    world.ui.ExpectAddressBook(std::nullopt);
    press("cmdBES");
    EXPECT_EQ(at<QLineEdit>("txtBES")->text(), "");
    pick("Bob Baker");
    EXPECT_EQ(at<QLineEdit>("txtBES")->text(), "Bob Baker");
    EXPECT_TRUE(at<QPushButton>("cmdRefresh")->isEnabled());
    ASSERT_EQ(at<QListWidget>("lstServers")->count(), 1);
    EXPECT_EQ(at<QListWidget>("lstServers")->item(0)->text(), "BESA");
    EXPECT_EQ(entries(), (QStringList{"(not configured)", "mds1:8080", "mds2:8081"}));
    at<QComboBox>("cboPushServer")->setFocus();
    QTest::keyClick(at<QComboBox>("cboPushServer"), Qt::Key_End);
    at<QRadioButton>("optUseSelected_1")->click();
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    const auto record = GetMessage(*world.session, form->saved());
    ASSERT_TRUE(record);
    EXPECT_EQ(KeyText(*record, "Connector.MDS.Host"), "mds2:8081");
    EXPECT_TRUE(KeyFlag(*record, "Connector.MDS.UseSelected"));
}

TEST_F(frmBesCxnMbxTest, AMailboxWithoutDataEmptiesTheDialog) {
    open();
    pick("Bob Baker");
    world.ui.Expect("alice@example.test does not appear to have BES data");
    pick("Alice Adams");
    EXPECT_EQ(at<QLineEdit>("txtBES")->text(), "");
    EXPECT_EQ(at<QListWidget>("lstServers")->count(), 0);
    EXPECT_FALSE(at<QPushButton>("cmdRefresh")->isEnabled());
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmBesCxnMbxTest, AnOldConnectorIsRefreshed) {
    const EntryID id = addConnector(world, "Bob Baker[Mbx]",
                                    {{"Connector.Type", "MBX"},
                                     {"Connector.Mbx.Name", "Bob Baker"},
                                     {"Connector.Mbx.Address", "bob@example.test"},
                                     {"Connector.BES.Servers", Strings{"OLD;m"}}})
                           ->ID();
    open(id);
    EXPECT_EQ(form->windowTitle(), "BES Mailbox Connector - Bob Baker[Mbx]");
    EXPECT_EQ(at<QListWidget>("lstServers")->item(0)->text(), "OLD");
    press("cmdOK");
    EXPECT_TRUE(form->saved().empty());
    const HandheldForms forms = MakeHandheldForms(*world.session, [] { return nullptr; });
    whenModal("frmBesCxnMbx", [](QWidget* dialog) {
        QTest::mouseClick(control<QPushButton>(dialog, "cmdRefresh"), Qt::LeftButton);
        QTest::mouseClick(control<QPushButton>(dialog, "cmdOK"), Qt::LeftButton);
    });
    EXPECT_EQ(forms.frmBesCxnMbx(id), id);
    EXPECT_EQ(GetKey(*GetMessage(*world.session, id), "Connector.BES.Servers"),
              Value(Strings{"BESA;machine;srp;3.6"}));
    GetMessage(*world.session, id)->Delete();
    world.ui.Expect("Unable to open this BES connector");
    EXPECT_TRUE(forms.frmBesCxnMbx(id).empty());
}

TEST_F(frmBesCxnMbxTest, TheSameMailboxIsRefused) {
    addConnector(world, "Bob Baker[Mbx]", {});
    open();
    pick("Bob Baker");
    world.ui.Expect("This BES connector has already been configured!");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
}

} // namespace
