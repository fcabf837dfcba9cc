#include <gtest/gtest.h>

#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>

#include "contacts/forms/frmACDS.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

const std::string kCxn = "Provider=SQLOLEDB; Data Source=SQL01; Initial Catalog=x; User ID=a;"
                         "Password=secret;";
const std::string kMasked = "Provider=SQLOLEDB; Data Source=SQL01; Initial Catalog=x; User ID=a;"
                            "Password=********;";

class frmACDSTest : public ::testing::Test {
protected:
    frmACDSTest() { world.LogOnConfigured(); }
    EntryID addSource(const std::string& name, const std::string& cxn, const std::string& query) {
        auto record = world.session->agentInfo->Items()->Add("IPM.Post.ACF");
        record->SetSubject(name);
        SetKey(*record, "ACF Cxn String", cxn);
        SetKey(*record, "ACF Query", query);
        SetKey(*record, "ACF Description", "old text");
        record->Save();
        return record->ID();
    }
    void open(const EntryID& id = {}) {
        form = std::make_unique<frmACDS>(*world.session, id);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QPlainTextEdit* text(const char* name) { return control<QPlainTextEdit>(form.get(), name); }
    QLineEdit* name() { return control<QLineEdit>(form.get(), "txtName"); }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    void type(const char* field, const char* what) {
        text(field)->setFocus();
        text(field)->selectAll();
        QTest::keyClicks(text(field), what);
    }
    std::string key(const EntryID& id, const char* name) {
        return KeyText(*GetMessage(*world.session, id), name);
    }

    World world;
    std::unique_ptr<frmACDS> form;
};

TEST_F(frmACDSTest, ANewSourceIsCheckedAndSaved) {
    open();
    EXPECT_EQ(form->windowTitle(), "EPS - Alternate Contact Data Source");
    world.ui.Expect("You must supply the connection string!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), text("txtCxnString"));
    type("txtCxnString", "Provider=MSDASQL;DSN=x");
    world.ui.Expect("You must supply the query string!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), text("txtQuery"));
    type("txtQuery", "people");
    QTest::keyClicks(name(), "  ");
    world.ui.Expect("You must provide a unique name for this Alternate Contact Data Source");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), name());
    EXPECT_TRUE(form->saved().empty());
    QTest::keyClicks(name(), "Partners ");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    const EntryID id = form->saved();
    ASSERT_FALSE(id.empty());
    const auto record = GetMessage(*world.session, id);
    EXPECT_EQ(record->MessageClass(), "IPM.Post.ACF");
    EXPECT_EQ(record->Subject(), "Partners");
    EXPECT_EQ(key(id, "ACF Cxn String"), "Provider=MSDASQL;DSN=x");
    EXPECT_EQ(key(id, "ACF Query"), "people");
    EXPECT_EQ(key(id, "ACS.Guid").size(), 36u);
    EXPECT_TRUE(GetKey(*record, "ACF Description").empty());
    EXPECT_TRUE(GetKey(*record, "ACF EntryID").empty());
}

TEST_F(frmACDSTest, ThePasswordIsNeverShown) {
    const EntryID id = addSource("Partners", kCxn, "people");
    open(id);
    EXPECT_EQ(name()->text(), "Partners");
    EXPECT_EQ(text("txtCxnString")->toPlainText().toStdString(), kMasked);
    EXPECT_EQ(text("txtDescription")->toPlainText(), "old text");
    type("txtDescription", "");
    QTest::keyClick(text("txtDescription"), Qt::Key_Delete);
    press("cmdOK");
    EXPECT_EQ(form->saved(), id);
    EXPECT_EQ(key(id, "ACF Cxn String"), kCxn); // whole
    EXPECT_EQ(key(id, "ACF Description"), "");
    const std::string guid = key(id, "ACS.Guid");
    EXPECT_EQ(guid.size(), 36u);
    open(id);
    QTest::keyClicks(name(), "!");
    press("cmdOK");
    EXPECT_EQ(key(id, "ACS.Guid"), guid);
}

TEST_F(frmACDSTest, TypingReplacesTheWholeString) {
    const EntryID id = addSource("Partners", kCxn, "people");
    open(id);
    text("txtCxnString")->moveCursor(QTextCursor::End);
    QTest::keyClicks(text("txtCxnString"), "A=1;");
    press("cmdOK");
    EXPECT_EQ(key(id, "ACF Cxn String"), kMasked + "A=1;");
}

TEST_F(frmACDSTest, AStringWithoutAnEndIsShownAsNothingAndKept) {
    const EntryID id = addSource("Partners", "Data Source=x;Password=secret", "people");
    open(id);
    EXPECT_EQ(text("txtCxnString")->toPlainText(), "");
    QTest::keyClicks(name(), "!");
    press("cmdOK");
    EXPECT_EQ(key(id, "ACF Cxn String"), "Data Source=x;Password=secret");
}

TEST_F(frmACDSTest, NothingChangedNothingWritten) {
    const EntryID id = addSource("Partners", kCxn, "people");
    open(id);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(key(id, "ACS.Guid"), "");
}

TEST_F(frmACDSTest, RefusesNamesAndPairsThatAreTaken) {
    addSource("Partners", kCxn, "people");
    const EntryID other = addSource("Friends", kCxn, "friends");
    open(other);
    name()->selectAll();
    QTest::keyClicks(name(), "Partners");
    world.ui.Expect("'Partners' is already in use.\nPlease provide a different name");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), name());
    name()->selectAll();
    QTest::keyClicks(name(), "Others");
    type("txtQuery", "people");
    world.ui.Expect("The connection string and query are in use for a different data source!\n"
                    "Please change one or both of these strings");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    type("txtQuery", "people of ours");
    press("cmdOK");
    EXPECT_EQ(key(other, "ACF Query"), "people of ours");
}

TEST_F(frmACDSTest, EditBuildsAString) {
    const EntryID id = addSource("Partners", kCxn, "people");
    open(id);
    whenModal("frmCxn", [](QWidget* cxn) {
        EXPECT_EQ(control<QLineEdit>(cxn, "txtPWD")->text(), "secret");
        control<QLineEdit>(cxn, "txtPWD")->setText("new");
        QTest::mouseClick(control<QPushButton>(cxn, "cmdOK"), Qt::LeftButton);
    });
    press("cmdEdit");
    EXPECT_EQ(text("txtCxnString")->toPlainText().toStdString(), kMasked);
    press("cmdOK");
    EXPECT_NE(key(id, "ACF Cxn String").find("Password=new;"), std::string::npos);
    open(addSource("Odd", "Provider=Odd;", "x"));
    world.ui.Expect("Unable to load connection string to edit dialog.\n"
                    "The provider is not recognized.");
    press("cmdEdit");
    EXPECT_TRUE(form->isVisible());
}

TEST_F(frmACDSTest, TestsAndRuns) {
    world.database.sources[kCxn].answers["people"] = {{"email1"}, {{"a@x"}}};
    open(addSource("Partners", kCxn, "people"));
    world.ui.Expect("Successfully connected using \n   Provider=SQLOLEDB\n   Data Source=SQL01\n"
                    "   Initial Catalog=x\n   User ID=a\n  Password=********\n  ");
    press("cmdTest");
    EXPECT_EQ(world.database.opened.back(), kCxn);
    QString title;
    whenModal("frmDetailsCCL", [&](QWidget* result) {
        title = result->windowTitle();
        QTest::mouseClick(control<QPushButton>(result, "cmdClose"), Qt::LeftButton);
    });
    press("cmdView");
    EXPECT_EQ(title, "Partners - Mapped Fields");
    EXPECT_EQ(world.database.queries.back(), "people");
    text("txtQuery")->clear();
    press("cmdView"); // nothing to run
    EXPECT_EQ(world.database.queries.size(), 1u);
    EXPECT_TRUE(form->isVisible());
}

TEST_F(frmACDSTest, HelpComesInAPopup) {
    open();
    for (const char* help : {"imgPopup0", "imgPopup1"})
        QTest::mouseClick(control<QToolButton>(form.get(), help), Qt::LeftButton);
    ASSERT_EQ(world.ui.popups().size(), 2u);
    EXPECT_EQ(world.ui.popups()[0].find("The connection string supplies the required parameters"),
              0u);
    EXPECT_NE(world.ui.popups()[1].find("the the unique identifer"), std::string::npos);
}

TEST_F(frmACDSTest, ASaveThatFailsLeavesTheDialogOpen) {
    const EntryID id = addSource("Partners", kCxn, "people");
    FailingSession failing(world);
    failing.LogOn();
    frmACDS broken(failing.session, id);
    broken.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&broken));
    QTest::keyClicks(control<QLineEdit>(&broken, "txtName"), "!");
    failing.store.plan().FailFrom(1);
    QTest::mouseClick(control<QPushButton>(&broken, "cmdOK"), Qt::LeftButton);
    EXPECT_TRUE(broken.isVisible());
    EXPECT_TRUE(broken.saved().empty());
    EXPECT_EQ(failing.ui.shown.size(), 1u);
    EXPECT_EQ(GetMessage(*world.session, id)->Subject(), "Partners");
}

} // namespace
