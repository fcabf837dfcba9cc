#include "contacts/forms/frmRegMclACDS.h"

#include <QTableView>

#include "tests/contacts/forms/RegMclFormTest.h"

namespace {

using namespace kr;

class frmRegMclACDSTest : public RegMclFormTest<frmRegMclACDS> {
protected:
    frmRegMclACDSTest() {
        source.acf = addDataSource("HR Database", {{"ACS.Guid", "G1"}});
        source.guid = "G1";
        source.cxnString = kCxn;
        source.query = kQuery;
    }
    void openNew() { openForm(EntryID(), static_cast<const MclSource*>(&source)); }
    void openOld(const EntryID& id) { openForm(id, static_cast<const MclSource*>(nullptr)); }

    MclSource source;
};

TEST_F(frmRegMclACDSTest, SavesANewListOnItsSource) {
    openNew();
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Contact Data Source");
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "People");
    EXPECT_EQ(text("txtCxn"),
              "Provider=SQLOLEDB; Data Source=HR01; Initial Catalog=People; Password=********;");
    EXPECT_EQ(text("txtQuery"), kQuery);
    EXPECT_TRUE(get<QPlainTextEdit>("txtCxn")->isReadOnly());
    EXPECT_TRUE(get<QPlainTextEdit>("txtQuery")->isReadOnly());
    EXPECT_FALSE(world.logHas("secret"));
    pick("cmdTarget", {"Bob Baker"});
    get<QPlainTextEdit>("txtDescription")->setPlainText("From HR");
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->Subject(), "People");
    EXPECT_EQ(keyText(*list, "ACS.Guid"), "G1");
    EXPECT_EQ(keyText(*list, "MCL ACDSID"), source.acf.text());
    EXPECT_EQ(keyText(*list, "MCL Target"), "Bob Baker");
    EXPECT_EQ(keyText(*list, "MCL Target Email"), "bob@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Target Count"), Value(int32_t{1}));
    EXPECT_EQ(GetKey(*list, "MCL Source No SMTP"), Value(false));
    EXPECT_EQ(keyText(*list, "MCL Description"), "From HR");
    for (const char* absent : {"MCL Source", "MCL.IncludeDLs", "MCL PF", "ACF Cxn String"})
        EXPECT_TRUE(GetKey(*list, absent).empty()) << absent;
}

TEST_F(frmRegMclACDSTest, WithoutACatalogTheNameStaysEmpty) {
    setKey(source.acf, "ACF Cxn String", "Provider=x;Data Source=y");
    openNew();
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "");
    expectRefusal("You must provide a unique name for this Mandatory Contact List", "txtName");
}

TEST_F(frmRegMclACDSTest, RefusesInOrder) {
    addList("People");
    openNew();
    expectRefusal("'People' is already in use.\nPlease provide a different name", "txtName");
    typeName("Free");
    expectRefusal("You must select at least one name or distribution list as the Target",
                  "cmdTarget");
}

TEST_F(frmRegMclACDSTest, ShowsAListByItsOldLinkAndLinksIt) {
    const EntryID id = addList("Old", {{"MCL ACDSID", source.acf.text()},
                                       {"MCL Source No SMTP", true},
                                       {"MCL Target", "Bob Baker"},
                                       {"MCL Target Email", "bob@example.test"}});
    openOld(id);
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "Old");
    EXPECT_EQ(text("txtQuery"), kQuery);
    EXPECT_TRUE(get<QCheckBox>("chkNoSMTP")->isChecked());
    press("cmdOK");
    EXPECT_TRUE(form->saved().empty());
    openOld(id);
    QTest::mouseClick(get<QCheckBox>("chkNoSMTP"), Qt::LeftButton, {}, {5, 5});
    const RDOMessagePtr list = save();
    EXPECT_EQ(keyText(*list, "ACS.Guid"), "G1");
    EXPECT_EQ(GetKey(*list, "MCL Source No SMTP"), Value(false));
}

TEST_F(frmRegMclACDSTest, ALostSourceShowsNothingAndKeepsTheLinks) {
    const EntryID id = addList("Lost", {{"ACS.Guid", "GONE"},
                                        {"MCL ACDSID", "ABCD"},
                                        {"MCL Target", "Bob Baker"},
                                        {"MCL Target Email", "bob@example.test"}});
    openOld(id);
    EXPECT_EQ(text("txtCxn"), "");
    EXPECT_FALSE(get<QPushButton>("cmdDetails0")->isEnabled());
    EXPECT_TRUE(world.logHas("failed to retrieve ACF message using AcsGuid GONE\n"));
    typeName("Renamed");
    const RDOMessagePtr list = save();
    EXPECT_EQ(keyText(*list, "ACS.Guid"), "GONE");
    EXPECT_EQ(keyText(*list, "MCL ACDSID"), "ABCD");
}

TEST_F(frmRegMclACDSTest, RunsTheQueryAndShowsTheMembers) {
    DbRows answer;
    answer.columns = {"Email1"};
    answer.rows = {{Value("hr@example.test")}};
    world.database.sources[kCxn].answers[kQuery] = answer;
    openNew();
    EXPECT_EQ(get<QPushButton>("cmdDetails0")->text(), "&Run...");
    QString title;
    whenModal("frmDetailsCCL", [&](QWidget* window) {
        title = window->windowTitle();
        window->close();
    });
    press("cmdDetails0");
    EXPECT_EQ(title, "People - Mapped Fields");
    EXPECT_EQ(world.database.queries, std::vector<std::string>{kQuery});
    pick("cmdTarget", {"Bob Baker"});
    EXPECT_EQ(members("cmdDetails1"), (QStringList{"Members", "Bob Baker bob@example.test"}));
}

TEST_F(frmRegMclACDSTest, Helps) {
    expectHelp(
        {{"Mandatory Contacts: Source",
          "Each valid contact retrieved from the database query will be written to the target "
          "user folders. A contact must have at least one email address or, if 'Include "
          "contacts with no email address' is checked, a value in the UniqueID column to be "
          "considered valid."},
         kTargetHelp,
         kDescriptionHelp},
        EntryID(), static_cast<const MclSource*>(&source));
}

TEST_F(frmRegMclACDSTest, CancelWritesNothing) {
    openNew();
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(lists()->Items()->Count(), 0);
}

} // namespace
