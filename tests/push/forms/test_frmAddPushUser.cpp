#include <gtest/gtest.h>

#include <QTest>
#include <QTreeView>

#include "console/basUsers.h"
#include "push/forms/frmAddPushUser.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmAddPushUserTest : public ::testing::Test {
protected:
    frmAddPushUserTest() {
        world.LogOnConfigured();
        bob = world.AddUserRecord("zbob@example.test", "Bob Baker");
        alice = world.AddUserRecord("alice@example.test", "Alice Adams");
        obrien = world.AddUserRecord("obrien@example.test", "O'Brien");
        marked = world.AddUserRecord("carol@example.test", "Carol");
        const auto users = RequireUsers(*world.session);
        users->SetFilter(EntryIDFilter(marked));
        users->Set("PushSelected", true);
        users->SetFilter("");
    }
    void open() {
        form = std::make_unique<frmAddPushUser>(*world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    std::string shown() {
        const QAbstractItemModel* model = at<QTreeView>("vlwUsers")->model();
        std::string text;
        for (int row = 0; row < model->rowCount(); ++row)
            text += model->index(row, 0).data().toString().toStdString() + "|" +
                    model->index(row, 1).data().toString().toStdString() + " ";
        return text;
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    World world;
    EntryID alice, bob, obrien, marked;
    std::unique_ptr<frmAddPushUser> form;
};

TEST_F(frmAddPushUserTest, ShowsWhoIsNotMarkedByName) {
    open();
    EXPECT_EQ(form->windowTitle(), "Add PDL Recipients");
    EXPECT_EQ(shown(), "Alice Adams|alice@example.test Bob Baker|zbob@example.test "
                       "O'Brien|obrien@example.test ");
    auto* list = at<QTreeView>("vlwUsers");
    EXPECT_EQ(list->model()->headerData(0, Qt::Horizontal).toString(), "Name");
    EXPECT_EQ(list->model()->headerData(1, Qt::Horizontal).toString(), "Email");
    EXPECT_EQ(list->columnWidth(0), 145);
    EXPECT_EQ(list->columnWidth(1), 200);
    EXPECT_FALSE(at<QPushButton>("cmdAdd")->isEnabled());
    EXPECT_EQ(RequireUsers(*world.session)->RecordCount(), 4) << "the table keeps its own filter";
}

TEST_F(frmAddPushUserTest, FindsByNameAndByAddress) {
    open();
    auto* text = at<QLineEdit>("txtFind");
    EXPECT_EQ(at<QComboBox>("cboFind")->currentText(), "Find Name");
    QTest::keyClicks(text, "b");
    EXPECT_EQ(shown(), "Bob Baker|zbob@example.test ");
    at<QComboBox>("cboFind")->setCurrentIndex(1);
    EXPECT_EQ(at<QComboBox>("cboFind")->currentText(), "Find Email");
    EXPECT_EQ(shown(), "");
    text->clear();
    QTest::keyClicks(text, "ZB");
    EXPECT_EQ(shown(), "Bob Baker|zbob@example.test ");
    at<QComboBox>("cboFind")->setCurrentIndex(0);
    text->clear();
    QTest::keyClicks(text, "O'B");
    EXPECT_EQ(shown(), "O'Brien|obrien@example.test ");
    text->clear();
    EXPECT_EQ(at<QLabel>("lblCount")->text(), "Count: 3");
    QTest::keyClicks(text, "c");
    EXPECT_EQ(shown(), "") << "Carol is marked already";
}

TEST_F(frmAddPushUserTest, GivesTheChosenOnes) {
    open();
    auto* list = at<QTreeView>("vlwUsers");
    const auto click = [&](int row, Qt::KeyboardModifiers keys) {
        QTest::mouseClick(list->viewport(), Qt::LeftButton, keys,
                          list->visualRect(list->model()->index(row, 0)).center());
    };
    click(2, Qt::NoModifier);
    click(0, Qt::ControlModifier);
    press("cmdAdd");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(form->chosen(), alice.text() + ";" + obrien.text());
}

TEST_F(frmAddPushUserTest, CancelGivesNothing) {
    open();
    at<QTreeView>("vlwUsers")->selectAll();
    press("cmdCancel");
    EXPECT_EQ(form->chosen(), "");
}

} // namespace
