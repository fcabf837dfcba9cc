#include <gtest/gtest.h>

#include <QTest>

#include "contacts/forms/frmCxn.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmCxnTest : public ::testing::Test {
protected:
    void open(const std::string& text) {
        const auto fields = LoadConnectionString(text);
        ASSERT_TRUE(fields);
        form = std::make_unique<frmCxn>(*world.session, *fields);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W = QWidget>
    W* at(const char* name) {
        return control<W>(form.get(), name);
    }
    void choose(int type) { at<QComboBox>("cboType")->setCurrentIndex(type); }
    /// The fields that the type shows, by a letter each.
    std::string shown() {
        std::string out;
        if (at("txtCatalog")->isVisible() && at("lblCatalog")->isVisible())
            out += 'c';
        if (at("cboSecurity")->isVisible() && at("txtUserID")->isVisible())
            out += 's';
        if (at("cboFormat")->isVisible() && at("lblFormat")->isVisible())
            out += 'f';
        return out;
    }
    void press(const char* button) { QTest::mouseClick(at<QPushButton>(button), Qt::LeftButton); }

    World world;
    std::unique_ptr<frmCxn> form;
};

TEST_F(frmCxnTest, EachTypeShowsItsFields) {
    open("");
    EXPECT_EQ(form->windowTitle(), "Connection String");
    EXPECT_EQ(at<QComboBox>("cboType")->currentText(), "SQL Server");
    EXPECT_EQ(form->focusWidget(), at("cboType"));
    struct Case {
        const char* name;
        const char* label;
        const char* notice;
        const char* shown;
    };
    const char* ace = "The Microsoft.ACE.OLEDB.12.0 provider must exist on the server";
    const Case cases[] = {{"SQL Server", "&Server name or IP", "", "cs"},
                          {"Excel 2003 and earlier", "File &Path", "", ""},
                          {"Excel 2007", "File &Path", ace, ""},
                          {"Access 2003 and earlier", "File &Path", "", "s"},
                          {"Access 2007", "File &Path", ace, "s"},
                          {"Text including CSV and TXT", "Folder &Path",
                           "A valid Schema.ini file must exist in the target folder", "f"},
                          {"Oracle - MS Provider", "&Server name or IP", "", "s"},
                          {"Oracle - Oracle Provider", "&Server name or IP",
                           "The OraOLEDB.Oracle provider must exist on the server", "s"}};
    for (int i = 0; i < 8; ++i) {
        choose(i);
        EXPECT_EQ(at<QComboBox>("cboType")->currentText(), cases[i].name);
        EXPECT_EQ(at<QLabel>("lblDataSource")->text(), cases[i].label);
        EXPECT_EQ(at<QLabel>("lblMain")->text(), cases[i].notice);
        EXPECT_EQ(shown(), cases[i].shown) << i;
        const bool secure = std::string(cases[i].shown).find('s') != std::string::npos;
        EXPECT_EQ(at<QComboBox>("cboSecurity")->currentIndex(), secure ? 0 : -1) << i;
    }
    choose(5);
    choose(8); // changes nothing
    EXPECT_EQ(shown(), "f");
    EXPECT_EQ(at<QLabel>("lblDataSource")->text(), "Folder &Path");
}

TEST_F(frmCxnTest, IdentityIsAskedForOnlyWhenItIsSupplied) {
    open("");
    EXPECT_FALSE(at("txtUserID")->isEnabled());
    EXPECT_FALSE(at("txtPWD")->isEnabled());
    at<QComboBox>("cboSecurity")->setCurrentIndex(1);
    for (const char* name : {"txtUserID", "txtPWD", "lblUserID", "lblPWD"})
        EXPECT_TRUE(at(name)->isEnabled()) << name;
    EXPECT_EQ(at<QLineEdit>("txtPWD")->echoMode(), QLineEdit::Password);
    choose(6);
    EXPECT_FALSE(at("txtUserID")->isEnabled());
}

TEST_F(frmCxnTest, LoadsAndRebuildsAString) {
    const std::string text = "Provider=SQLOLEDB; Data Source=10.0.0.1; Network Library=DBMSSOCN; "
                             "Initial Catalog=x; User ID=a;Password=b;";
    open(text);
    EXPECT_EQ(at<QComboBox>("cboType")->currentIndex(), 0);
    EXPECT_EQ(at<QComboBox>("cboSecurity")->currentIndex(), 1);
    EXPECT_EQ(at<QLineEdit>("txtUserID")->text(), "a");
    EXPECT_TRUE(form->cancelled());
    press("cmdOK");
    EXPECT_FALSE(form->cancelled());
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->connectionString(), text);
}

TEST_F(frmCxnTest, BuildsByTheKeyboard) {
    open("");
    QTest::keyClick(form.get(), Qt::Key_T, Qt::AltModifier);
    QTest::keyClicks(at<QComboBox>("cboType"), "T"); // Text including...
    EXPECT_EQ(at<QComboBox>("cboType")->currentIndex(), 5);
    QTest::keyClick(form.get(), Qt::Key_P, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), at("txtDataSource"));
    QTest::keyClicks(at("txtDataSource"), "/srv/in");
    at<QComboBox>("cboFormat")->setCurrentIndex(1);
    QTest::keyClick(at("txtDataSource"), Qt::Key_Return);
    EXPECT_EQ(form->connectionString(), "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/srv/in;"
                                        "Extended Properties=\"text;HDR=Yes;FMT=Fixed\";");
}

TEST_F(frmCxnTest, SaysWhatIsMissing) {
    open("");
    world.ui.Expect("You must supply the Server name or IP!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at("txtDataSource"));
    at<QLineEdit>("txtDataSource")->setText("SQL01");
    world.ui.Expect("You must supply the name of the database!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at("txtCatalog"));
    choose(5);
    at<QLineEdit>("txtDataSource")->clear();
    world.ui.Expect("You must supply the Folder Path!");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(form->cancelled());
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_TRUE(form->cancelled());
    EXPECT_EQ(form->connectionString(), "");
}

TEST_F(frmCxnTest, AStringWithoutAProviderChoosesNoType) {
    open("Data Source=x;FMT=TabDelimited");
    EXPECT_EQ(at<QComboBox>("cboType")->currentIndex(), -1);
    EXPECT_EQ(at<QLineEdit>("txtDataSource")->text(), "x");
    EXPECT_EQ(at<QComboBox>("cboFormat")->currentText(), "TabDelimited");
    EXPECT_FALSE(at("txtUserID")->isEnabled());
    choose(5);
    press("cmdOK");
    EXPECT_NE(form->connectionString().find("FMT=TabDelimited"), std::string::npos);
}

TEST_F(frmCxnTest, EditingGivesTheStringOrNothing) {
    world.ui.Expect("Unable to load connection string to edit dialog.\n"
                    "The provider is not recognized.");
    EXPECT_FALSE(EditConnectionString(*world.session, "Provider=OraOLEDB.Oracle;", nullptr));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    const std::string text = "Provider=MSDAORA; Data Source=x; User ID=a;Password=b;";
    whenModal("frmCxn", [](QWidget* form) {
        QTest::mouseClick(control<QPushButton>(form, "cmdOK"), Qt::LeftButton);
    });
    EXPECT_EQ(EditConnectionString(*world.session, text, nullptr), text);
    whenModal("frmCxn", [](QWidget* form) {
        QTest::mouseClick(control<QPushButton>(form, "cmdCancel"), Qt::LeftButton);
    });
    EXPECT_FALSE(EditConnectionString(*world.session, text, nullptr));
}

} // namespace
