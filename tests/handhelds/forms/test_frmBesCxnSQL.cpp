#include <gtest/gtest.h>

#include <QRadioButton>
#include <QStyle>
#include <QTabWidget>
#include <QTest>

#include "handhelds/forms/MakeHandheldForms.h"
#include "handhelds/forms/frmBesCxnSQL.h"
#include "tests/handhelds/BesTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

const std::string kCxn =
    "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=BESMgmt; Integrated Security=SSPI;";

class frmBesCxnSQLTest : public ::testing::Test {
protected:
    frmBesCxnSQLTest() {
        world.LogOnConfigured();
        addBesDatabase(world, kCxn);
    }
    void open(const EntryID& id = {}) {
        form = std::make_unique<frmBesCxnSQL>(*world.session, id);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    QLineEdit* field(const char* name) { return at<QLineEdit>(name); }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    void type(const char* name, const char* text) {
        field(name)->setFocus();
        field(name)->selectAll();
        QTest::keyClicks(field(name), text);
    }
    int page() { return at<QTabWidget>("tabMain")->currentIndex(); }
    void pushPage() { at<QTabWidget>("tabMain")->setCurrentIndex(1); }
    EntryID stored(const std::map<std::string, Value>& more = {}) {
        std::map<std::string, Value> keys = more;
        keys.insert({{"Connector.Type", "SQL"},
                     {"Connector.CxnString", kCxn},
                     {"Connector.DataSource", "db1"},
                     {"Connector.Catalog", "BESMgmt"}});
        return addConnector(world, "db1[BESMgmt]", keys)->ID();
    }
    std::string key(const EntryID& id, const char* name) {
        return KeyText(*GetMessage(*world.session, id), name);
    }
    World world;
    std::unique_ptr<frmBesCxnSQL> form;
};

TEST_F(frmBesCxnSQLTest, ANewConnectorIsRefusedFieldByField) {
    open();
    EXPECT_EQ(form->windowTitle(), "BES Connector - SQL");
    EXPECT_EQ(at<QComboBox>("cboSecurity")->currentText(), "Integrated (use zandrelAgent logon)");
    EXPECT_FALSE(field("txtUserID")->isEnabled());
    EXPECT_FALSE(field("txtPWD")->isEnabled());
    pushPage();
    EXPECT_EQ(at<QComboBox>("cboPushServer")->currentText(), "(not configured)");
    EXPECT_EQ(at<QPushButton>("cmdRefresh")->text(), "&Load List...");
    for (const char* button : {"cmdRefresh", "cmdTestMDS"})
        EXPECT_FALSE(at<QPushButton>(button)->isEnabled()) << button;
    EXPECT_FALSE(at<QRadioButton>("optUseSelected_1")->isEnabled());
    EXPECT_FALSE(field("txtPrincipalName")->isEnabled());
    QTest::mouseClick(at<QCheckBox>("chkInitiator"), Qt::LeftButton);
    EXPECT_TRUE(field("txtPrincipalName")->isEnabled());
    EXPECT_EQ(field("txtCredentials")->echoMode(), QLineEdit::Password);
    EXPECT_EQ(
        field("txtCredentials")
            ->style()
            ->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, field("txtCredentials")),
        '*');
    world.ui.Expect("You must supply the server name or IP address!");
    press("cmdOK");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(form->focusWidget(), field("txtDataSource"));
    QTest::keyClicks(field("txtDataSource"), " db1 ");
    world.ui.Expect("You must supply the name of the database!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), field("txtCatalog"));
    QTest::keyClicks(field("txtCatalog"), "BESMgmt");
    at<QComboBox>("cboSecurity")->setFocus();
    QTest::keyClick(at<QComboBox>("cboSecurity"), Qt::Key_Down);
    EXPECT_TRUE(field("txtUserID")->isEnabled());
    world.ui.Expect("You must supply the User ID for SQL Server authentication!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), field("txtUserID"));
    QTest::keyClicks(field("txtUserID"), "sa");
    world.ui.Expect("You must supply the Password for SQL Server authentication!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), field("txtPWD"));
    QTest::keyClick(at<QComboBox>("cboSecurity"), Qt::Key_Up);
    world.ui.Expect("You must supply the Principal Name for the Push Initiator identity!");
    press("cmdOK");
    EXPECT_EQ(page(), 1);
    EXPECT_EQ(form->focusWidget(), field("txtPrincipalName"));
    QTest::keyClicks(field("txtPrincipalName"), "me");
    QTest::keyClicks(field("txtCredentials"), "word");
    EXPECT_TRUE(form->saved().empty());
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    const EntryID id = form->saved();
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(GetMessage(*world.session, id)->Subject(), "db1[BESMgmt]");
    EXPECT_EQ(key(id, "Connector.CxnString"), kCxn);
    EXPECT_EQ(key(id, "Connector.DataSource"), "db1");
    EXPECT_EQ(key(id, "Connector.MDS.PushInitiator"), "me:word");
}

TEST_F(frmBesCxnSQLTest, TestLoadAndChoose) {
    open();
    type("txtDataSource", "elsewhere");
    type("txtCatalog", "BESMgmt");
    world.ui.Expect("");
    press("cmdTest");
    EXPECT_EQ(form->focusWidget(), field("txtDataSource"));
    EXPECT_FALSE(at<QPushButton>("cmdRefresh")->isEnabled());
    type("txtDataSource", "db1");
    world.ui.Expect("");
    press("cmdTest");
    EXPECT_EQ(form->windowTitle(), "BES Connector - db1[BESMgmt]");
    EXPECT_TRUE(at<QPushButton>("cmdRefresh")->isEnabled());
    pushPage();
    press("cmdRefresh");
    EXPECT_EQ(at<QComboBox>("cboPushServer")->count(), 3);
    EXPECT_EQ(at<QComboBox>("cboPushServer")->currentText(), "(not configured)");
    at<QComboBox>("cboPushServer")->setFocus();
    QTest::keyClick(at<QComboBox>("cboPushServer"), Qt::Key_Down);
    EXPECT_TRUE(at<QPushButton>("cmdTestMDS")->isEnabled());
    press("cmdTestMDS");
    EXPECT_EQ(world.shell.urls, std::vector<std::string>{"http://mds1:8080"});
    at<QRadioButton>("optUseSelected_1")->click();
    press("cmdOK");
    EXPECT_EQ(key(form->saved(), "Connector.MDS.Host"), "mds1:8080");
    EXPECT_TRUE(KeyFlag(*GetMessage(*world.session, form->saved()), "Connector.MDS.UseSelected"));
}

TEST_F(frmBesCxnSQLTest, AnOldConnectorIsShown) {
    const EntryID id =
        stored({{"Connector.MDS.Servers", Strings{"a:1", "b:2"}},
                {"Connector.MDS.Host", "b:2"},
                {"Connector.MDS.UseSelected", true},
                {"Connector.CxnString", "Provider=SQLOLEDB; Data Source=db1; Initial "
                                        "Catalog=BESMgmt; User ID=sa; Password=secret;"},
                {"Connector.MDS.PushInitiator", "me:word"}});
    open(id);
    EXPECT_EQ(form->windowTitle(), "BES SQL Connector - db1[BESMgmt]");
    EXPECT_EQ(field("txtCatalog")->text(), "BESMgmt");
    EXPECT_EQ(at<QComboBox>("cboSecurity")->currentText(), "SQL Server authentication");
    EXPECT_TRUE(field("txtUserID")->isEnabled());
    EXPECT_EQ(field("txtUserID")->text(), "sa");
    EXPECT_EQ(field("txtPWD")->text(), "secret");
    pushPage();
    EXPECT_EQ(at<QPushButton>("cmdRefresh")->text(), "&Refresh List...");
    EXPECT_TRUE(at<QPushButton>("cmdRefresh")->isEnabled());
    EXPECT_EQ(at<QComboBox>("cboPushServer")->currentText(), "b:2");
    EXPECT_TRUE(at<QRadioButton>("optUseSelected_1")->isChecked());
    EXPECT_EQ(field("txtCredentials")->text(), "word");
    press("cmdOK"); // nothing was changed
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    open(id);
    pushPage();
    QTest::mouseClick(at<QCheckBox>("chkInitiator"), Qt::LeftButton);
    press("cmdCancel");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(key(id, "Connector.MDS.PushInitiator"), "me:word");
    open(id);
    pushPage();
    QTest::mouseClick(at<QCheckBox>("chkInitiator"), Qt::LeftButton);
    press("cmdOK");
    EXPECT_EQ(form->saved(), id);
    EXPECT_TRUE(GetKey(*GetMessage(*world.session, id), "Connector.MDS.PushInitiator").empty());
}

TEST_F(frmBesCxnSQLTest, TheSameDatabaseIsRefused) {
    stored();
    open();
    type("txtDataSource", "db1");
    type("txtCatalog", "BESMgmt");
    pushPage();
    world.ui.Expect("This BES connector has already been configured!");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(page(), 0);
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmBesCxnSQLTest, TheMakerShowsWhatCanBeOpened) {
    const HandheldForms forms = MakeHandheldForms(*world.session, [] { return nullptr; });
    const EntryID id = stored();
    whenModal("frmBesCxnSQL", [](QWidget* dialog) {
        auto* catalog = control<QLineEdit>(dialog, "txtCatalog");
        catalog->setFocus();
        QTest::keyClicks(catalog, "2");
        QTest::keyClick(catalog, Qt::Key_Return);
    });
    EXPECT_EQ(forms.frmBesCxnSQL(id), id);
    EXPECT_EQ(key(id, "Connector.Catalog"), "BESMgmt2");
    GetMessage(*world.session, id)->Delete();
    world.ui.Expect("Unable to open this BES connector");
    EXPECT_TRUE(forms.frmBesCxnSQL(id).empty());
}

} // namespace
