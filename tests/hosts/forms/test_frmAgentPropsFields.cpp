// frmAgentProps: what its single fields do.
#include "tests/hosts/forms/AgentPropsFormTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class frmAgentPropsFieldsTest : public frmAgentPropsTest {};

// --- numbers

TEST_F(frmAgentPropsFieldsTest, NumberBoxesTakeDigitsAloneAndKeepTheirLimits) {
    open();
    type("udDeleteDelay", "1a-2 .0");
    EXPECT_EQ(text("txtDelete"), "120");
    struct Case {
        const char* box;
        const char* typed;
        int left;
    };
    const Case cases[] = {
        {"udDeleteDelay", "4", 5},
        {"udDeleteDelay", "10081", 10080},
        {"udDeleteDelay", "", 5},
        {"udAttach", "0", 5},
        {"udAttach", "", 5},
        {"udAttach", "10", 9},
        {"udAttach", "1", 1},
        {"udAttach", "5", 5},
        {"udList", "5", 6},
        {"udList", "100", 99},
        {"udBrowser", "5", 6},
        {"udBrowser", "9001", 9000},
        {"udStaleDate", "5000", 5000},
        {"udStaleDate", "", 0},
    };
    for (const Case& c : cases) {
        type(c.box, c.typed);
        leave(c.box);
        EXPECT_EQ(number(c.box)->value(), c.left) << c.box << " " << c.typed;
    }
}

TEST_F(frmAgentPropsFieldsTest, AttachmentsThatAreSetFromOutsideKeepTheLimitsToo) {
    open();
    for (const auto& [set, kept] : {std::pair{"0", "5"}, {"", "5"}, {"1", "1"}, {"77", "9"}}) {
        get<QLineEdit>("txtMaxAttach")->setText(set);
        EXPECT_EQ(text("txtMaxAttach"), kept) << set;
    }
}

TEST_F(frmAgentPropsFieldsTest, TheListFollowsTheAttachments) {
    put("MaxList", int32_t{7});
    open();
    type("udAttach", "9");
    EXPECT_EQ(text("txtMaxList"), "10");
    type("udAttach", "2");
    EXPECT_EQ(text("txtMaxList"), "10");
    EXPECT_EQ(number("udList")->minimum(), 3);
}

// --- daily backup

TEST_F(frmAgentPropsFieldsTest, ADisabledBackupHasNoTime) {
    put("DailyBackup.Disable", true);
    put("DailyBackup.Time", at(2026, 3, 1, 22, 15));
    open();
    EXPECT_TRUE(get<QRadioButton>("optBackup1")->isChecked());
    EXPECT_FALSE(get<QWidget>("dtpBackup")->isEnabled());
    click("optBackup0");
    EXPECT_TRUE(get<QWidget>("dtpBackup")->isEnabled());
    press("cmdOK");
    EXPECT_EQ(key("DailyBackup.Disable"), Value(false));
    EXPECT_EQ(key("DailyBackup.Time"), Value(at(2026, 3, 1, 22, 15))); // to the minute as it was
}

// --- lists

TEST_F(frmAgentPropsFieldsTest, EntriesAreAddedAndDeleted) {
    put("ExcludeExt", "exe;js;vb");
    open();
    page(2);
    auto* remove = get<QPushButton>("cmdDeleteExt");
    EXPECT_FALSE(remove->isEnabled());
    world.ui.ExpectInput("x");
    world.ui.Expect("x is not a valid file extension. Please re-enter.", BoxAnswer::OK);
    world.ui.ExpectInput("zip");
    press("cmdAddExt");
    EXPECT_THAT(entries("lstExclude"), ElementsAre("exe", "js", "vb", "zip"));
    EXPECT_EQ(get<QListWidget>("lstExclude")->currentRow(), 3);
    get<QListWidget>("lstExclude")->setCurrentRow(1);
    press("cmdDeleteExt");
    EXPECT_THAT(entries("lstExclude"), ElementsAre("exe", "vb", "zip"));
    EXPECT_EQ(get<QListWidget>("lstExclude")->currentRow(), 1);
    for (int i = 0; i < 3; ++i)
        press("cmdDeleteExt");
    EXPECT_THAT(entries("lstExclude"), IsEmpty());
    EXPECT_FALSE(remove->isEnabled());
}

TEST_F(frmAgentPropsFieldsTest, ARefusedEntryChangesNothing) {
    put("RefuseDomains", "a.test");
    open();
    page(2);
    world.ui.ExpectInput(std::nullopt);
    press("cmdAddRefuse");
    world.ui.ExpectInput("a.test");
    world.ui.Expect("a.test has already been added to the list.");
    press("cmdAddRefuse");
    world.ui.ExpectAddressBook(std::nullopt);
    page(1);
    press("cmdAdmin");
    EXPECT_FALSE(dirty());
}

TEST_F(frmAgentPropsFieldsTest, OnlyTheBlockedFileTypesHaveADefault) {
    open();
    page(2);
    for (const auto& [list, count] :
         {std::pair{"lstDomains", 0U}, {"lstRefuse", 0U}, {"lstExclude", 39U}})
        EXPECT_EQ(entries(list).size(), count) << list;
}

/// A directory whose connection takes its time, during which events run.
class SlowDirectory : public FakeDirectory {
public:
    std::function<void()> meanwhile;
    std::unique_ptr<Directory> CreateConnection() override {
        meanwhile();
        return FakeDirectory::CreateConnection();
    }
};

TEST_F(frmAgentPropsFieldsTest, TheDialogWaitsForTheCatalogWithoutClosing) {
    SlowDirectory slow;
    Platform platform{*world.store, *world.registry, world.ui,       *world.events, world.services,
                      slow,         world.shell,     world.database, world.http,    world.secrets,
                      world.clock};
    AgentSession session(platform, world.logPath());
    session.rdo = world.session->rdo;
    session.AgentMsgID = world.session->AgentMsgID;
    open(session);
    page(3);
    int looks = 0;
    slow.meanwhile = [&] {
        ++looks;
        EXPECT_FALSE(form->isEnabled());
        form->close();
        form->reject();
        QTest::mouseClick(get<QPushButton>("cmdAddTrusted"), Qt::LeftButton);
        QApplication::processEvents();
        EXPECT_TRUE(form->isVisible());
    };
    world.ui.ExpectInput("partner.test");
    world.ui.Expect("");
    world.ui.Expect("The global catalog for partner.test is not accessible from this machine.\n"
                    "Are you sure you want to add it?",
                    BoxAnswer::Yes);
    press("cmdAddTrusted");
    EXPECT_EQ(looks, 1);
    EXPECT_TRUE(form->isEnabled());
    EXPECT_THAT(entries("lstTrusted"), ElementsAre("partner.test"));
    EXPECT_TRUE(dirty());
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
}

// --- custom attributes and fax

TEST_F(frmAgentPropsFieldsTest, AnAttributeTwiceIsSetBack) {
    put("CustomAttribute.PIN", "extensionAttribute1");
    put("CustomAttribute.User1", "extensionAttribute2");
    open();
    page(3);
    world.ui.Expect("Attribute extensionAttribute1 is already mapped!");
    get<QComboBox>("cboEX1")->setCurrentText("extensionAttribute1");
    EXPECT_EQ(get<QComboBox>("cboEX1")->currentText(), "extensionAttribute2");
    EXPECT_FALSE(dirty());
    get<QComboBox>("cboEX0")->setCurrentIndex(0); // none
    get<QComboBox>("cboEX1")->setCurrentText("extensionAttribute1");
    press("cmdOK");
    EXPECT_EQ(key("CustomAttribute.PIN"), Value(""));
    EXPECT_EQ(key("CustomAttribute.User1"), Value("extensionAttribute1"));
}

TEST_F(frmAgentPropsFieldsTest, TheSyntaxFollowsTheFaxSupport) {
    RegWrite(*world.registry, Hive::LocalMachine, kMachineKey, "FaxRelay", "relay@fax.test");
    put("Fax", int32_t{1});
    put("FaxSyntax", "[FAX:phone_number]");
    open();
    page(4);
    EXPECT_THAT(choices("cboFax"),
                ElementsAre("None", "Use local gateway", "Use zandrel Secure Gateway",
                            "Use local fax modem"));
    const auto* label = get<QLabel>("lblSyntax");
    EXPECT_EQ(label->text(), "Fax S&yntax");
    EXPECT_THAT(choices("cboSyntax"), ElementsAre("[FAX:recipient_name@phone_number]",
                                                  "[RFAX:recipient_name@/FN=phone_number]",
                                                  "[FAX:phone_number]", "[FAXINAT:phone_number]"));
    EXPECT_EQ(get<QComboBox>("cboSyntax")->currentIndex(), 2);
    get<QComboBox>("cboFax")->setCurrentIndex(2);
    EXPECT_EQ(label->text(), "zand&rel Secure FAX SMTP address");
    EXPECT_THAT(choices("cboSyntax"), ElementsAre("relay@fax.test"));
    EXPECT_EQ(get<QComboBox>("cboSyntax")->currentIndex(), 0);
    EXPECT_FALSE(get<QLabel>("lblMissing")->isVisible());
    get<QComboBox>("cboFax")->setCurrentIndex(1);
    EXPECT_EQ(get<QComboBox>("cboSyntax")->currentText(), "[FAX:phone_number]"); // kept
    get<QComboBox>("cboFax")->setCurrentIndex(2);
    press("cmdOK");
    EXPECT_EQ(key("Fax"), Value(int32_t{2}));
    EXPECT_EQ(key("FaxSyntax"), Value("[FAX:phone_number];relay@fax.test"));
}

TEST_F(frmAgentPropsFieldsTest, AMissingRelayAddressIsSaid) {
    open();
    page(4);
    get<QComboBox>("cboFax")->setCurrentIndex(2);
    EXPECT_FALSE(get<QComboBox>("cboSyntax")->isEnabled());
    EXPECT_TRUE(get<QLabel>("lblMissing")->isVisible());
    EXPECT_EQ(get<QLabel>("lblMissing")->text(),
              "The fax relay address isn't set: value FaxRelay of "
              "HKEY_LOCAL_MACHINE\\Software\\zandrel\\zandrelAgent");
    get<QComboBox>("cboFax")->setCurrentIndex(1);
    EXPECT_TRUE(get<QComboBox>("cboSyntax")->isEnabled());
    EXPECT_FALSE(get<QLabel>("lblMissing")->isVisible());
    get<QComboBox>("cboFax")->setCurrentIndex(2);
    press("cmdOK");
    EXPECT_EQ(key("FaxSyntax"), Value("[FAX:recipient_name@phone_number];")); // no text of ours
}

} // namespace
