#include <gtest/gtest.h>

#include <QMenu>
#include <QTest>
#include <QTreeView>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "handhelds/forms/MakeHandheldForms.h"
#include "handhelds/forms/frmFindReg.h"
#include "handhelds/forms/frmRegDetail.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmFindRegTest : public ::testing::Test {
protected:
    frmFindRegTest() {
        world.LogOnConfigured();
        folder =
            world.session->rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        const RDOMessagePtr agent = GetAgentMessage(*world.session);
        SetKey(*agent, "HHEntryID", folder->ID().text());
        agent->Save();
        alice = add("20AA", "alice@x.test", "Alice Adams");
        add("20BB", "bob@x.test", "Bob Baker");
        add("30CC", "bob@y.test", "Bob Baker");
        form = std::make_unique<frmFindReg>(*world.session, [this](const std::string& key) {
            goneTo << QString::fromStdString(key);
        });
        form->show();
    }
    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(form.get())); }
    EntryID add(const std::string& pin, const std::string& email, const std::string& name) {
        const RDOMessagePtr record = folder->Items()->Add(kHandheldClass);
        record->SetFields(PR_CONVERSATION_TOPIC, email);
        SetKey(*record, "PIN", pin);
        SetKey(*record, "DisplayName", name);
        record->Save();
        return record->ID();
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    QTreeView* list() { return at<QTreeView>("lvHandhelds"); }
    QStringList found(int column = 0) {
        QStringList texts;
        for (int i = 0; i < list()->model()->rowCount(); ++i)
            texts << list()->model()->index(i, column).data().toString();
        return texts;
    }
    void query() { QTest::mouseClick(at<QPushButton>("cmdQuery"), Qt::LeftButton); }
    World world;
    RDOFolderPtr folder;
    EntryID alice;
    std::unique_ptr<frmFindReg> form;
    QStringList goneTo;
};

TEST_F(frmFindRegTest, AnyDisablesItsField) {
    EXPECT_EQ(form->windowTitle(), "Find Handheld");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtESN"));
    const char* const pairs[][2] = {{"cboESN", "txtESN"}, {"cboEmail", "txtEmail"}};
    for (const auto& [combo, text] : pairs) {
        auto* how = at<QComboBox>(combo);
        QStringList items;
        for (int i = 0; i < how->count(); ++i)
            items << how->itemText(i);
        EXPECT_EQ(items, (QStringList{"Any", "is (exactly)", "contains", "starts with"}));
        EXPECT_TRUE(at<QLineEdit>(text)->isEnabled());
        how->setCurrentIndex(0);
        EXPECT_FALSE(at<QLineEdit>(text)->isEnabled());
        how->setCurrentIndex(1);
        EXPECT_TRUE(at<QLineEdit>(text)->isEnabled());
    }
}

TEST_F(frmFindRegTest, FindsAndGoesToTheRow) {
    QTest::keyClicks(at<QLineEdit>("txtESN"), "0A");
    QTest::keyClick(at<QLineEdit>("txtESN"), Qt::Key_Return);
    EXPECT_EQ(found(), QStringList{"20AA"});
    EXPECT_EQ(found(1), QStringList{"alice@x.test"});
    EXPECT_EQ(found(2), QStringList{"Alice Adams"});
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->focusWidget(), list());
    const QPoint place = list()->visualRect(list()->currentIndex()).center();
    emit list()->customContextMenuRequested(place);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->objectName(), "mnuGoTo");
    EXPECT_EQ(menu->actions()[0]->text(), "Go To");
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    EXPECT_EQ(goneTo, QStringList{QString::fromStdString(alice.text())});
    QTest::keyClick(list(), Qt::Key_Return);
    EXPECT_EQ(goneTo.size(), 2);
}

TEST_F(frmFindRegTest, BothCriteriaMustHold) {
    at<QLineEdit>("txtEmail")->setText("bob@");
    at<QComboBox>("cboEmail")->setCurrentIndex(3);
    query();
    EXPECT_EQ(found().size(), 2);
    at<QLineEdit>("txtESN")->setText("30cc");
    at<QComboBox>("cboESN")->setCurrentIndex(1);
    query();
    EXPECT_EQ(found(), QStringList{"30CC"});
    at<QComboBox>("cboESN")->setCurrentIndex(0);
    query();
    EXPECT_EQ(found().size(), 2);
}

TEST_F(frmFindRegTest, SaysWhatIsMissingAndWhatIsNotThere) {
    world.ui.Expect("You must supply an PIN or Email Address on which to search.");
    query();
    at<QLineEdit>("txtESN")->setText("nobody");
    world.ui.Expect("No handhelds found matching supplied parameters.");
    query();
    EXPECT_TRUE(found().isEmpty());
    QTest::mouseClick(at<QPushButton>("cmdExit"), Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmFindRegTest, TheMakerShowsFindAndDetails) {
    form.reset();
    const HandheldForms forms = MakeHandheldForms(*world.session, [] { return nullptr; });
    std::string went;
    whenModal("frmFindReg", [](QWidget* dialog) {
        QTest::keyClicks(control<QLineEdit>(dialog, "txtESN"), "20AA");
        QTest::mouseClick(control<QPushButton>(dialog, "cmdQuery"), Qt::LeftButton);
        QTest::keyClick(control<QTreeView>(dialog, "lvHandhelds"), Qt::Key_Return);
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    forms.frmFindReg([&](const std::string& key) { went = key; });
    EXPECT_EQ(went, alice.text());
    QStringList names, values;
    whenModal("frmRegDetail", [&](QWidget* dialog) {
        EXPECT_EQ(dialog->windowTitle(), "Handheld Details");
        const auto* model = control<QTreeView>(dialog, "lvDetail")->model();
        EXPECT_EQ(model->columnCount(), 2);
        for (int i = 0; i < model->rowCount(); ++i) {
            names << model->index(i, 0).data().toString();
            values << model->index(i, 1).data().toString();
        }
        QTest::mouseClick(control<QPushButton>(dialog, "cmdClose"), Qt::LeftButton);
    });
    forms.frmRegDetail(alice);
    ASSERT_EQ(names.size(), 30);
    EXPECT_EQ(names.mid(0, 3), (QStringList{"DeviceID (PIN)", "Email", "BES Server"}));
    EXPECT_EQ(names.mid(6, 4),
              (QStringList{"Is Private", "Is Required", "Nextel DCID", "Mobile Phone"}));
    EXPECT_EQ(values.mid(0, 2), (QStringList{"20AA", "alice@x.test"}));
}

} // namespace
