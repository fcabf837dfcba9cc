#include <gtest/gtest.h>

#include <QDialog>
#include <QSignalSpy>
#include <QTest>

#include "contacts/forms/RecipientBox.h"
#include "core/Text.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class RecipientBoxTest : public ::testing::Test {
protected:
    RecipientBoxTest() {
        world.LogOn();
        box = std::make_unique<RecipientBox>(
            *world.session, RecipientBox::Controls{&list, &select, &remove, &members},
            RecipientBox::Picker{"Target - Authorized Recipients", "List"},
            [this](const std::string& addresses) { shown = addresses; }, &form);
        QObject::connect(box.get(), &RecipientBox::changed, &form, [this] { ++changes; });
    }
    PickedRecipient entry(std::string_view name) {
        const AddressEntryPtr found = world.Entry(name);
        return {found->ID(), found->Name()};
    }
    QStringList shownNames() {
        QStringList names;
        for (int i = 0; i < list.count(); ++i)
            names << list.item(i)->text();
        return names;
    }

    World world;
    QDialog form;
    QListWidget list{&form};
    QPushButton select{&form}, remove{&form}, members{&form};
    std::unique_ptr<RecipientBox> box;
    std::string shown;
    int changes = 0;
};

TEST_F(RecipientBoxTest, ShowsTheNamesAndEnablesWhatMakesSense) {
    EXPECT_TRUE(box->empty());
    EXPECT_FALSE(remove.isEnabled());
    EXPECT_FALSE(members.isEnabled());
    box->Set("Alice Adams;;Sales", "alice@example.test;x@example.test;sales@example.test");
    EXPECT_EQ(shownNames(), (QStringList{"Alice Adams", "x@example.test", "Sales"}));
    EXPECT_FALSE(box->empty());
    EXPECT_FALSE(remove.isEnabled());
    EXPECT_TRUE(members.isEnabled());
    list.setCurrentRow(1);
    EXPECT_TRUE(remove.isEnabled());
    EXPECT_EQ(members.toolTip(), "Fully expand distribution lists to show all members");
    EXPECT_EQ(changes, 0);
    box->Set("", "");
    EXPECT_FALSE(remove.isEnabled());
}

TEST_F(RecipientBoxTest, PicksAnewWithThePresentOnesShown) {
    box->Set("Alice Adams;Stranger", "alice@example.test;stranger@else.test");
    world.ui.ExpectAddressBook(std::vector{entry("Sales"), entry("Bob")});
    QTest::mouseClick(&select, Qt::LeftButton);
    ASSERT_EQ(world.ui.preselected().size(), 1U);
    ASSERT_EQ(world.ui.preselected()[0].size(), 2U);
    EXPECT_EQ(world.ui.preselected()[0][0].name, "Alice Adams");
    EXPECT_EQ(world.ui.preselected()[0][1].name, "Stranger");
    EXPECT_EQ(box->names(), "Sales;Bob Baker");
    EXPECT_EQ(box->addresses(), "sales@example.test;bob@example.test");
    EXPECT_EQ(shownNames(), (QStringList{"Sales", "Bob Baker"}));
    EXPECT_EQ(world.ui.toLabels(), std::vector<std::string>{"List"});
    EXPECT_EQ(changes, 1);
}

TEST_F(RecipientBoxTest, CancelAndTheSameChoiceChangeNothing) {
    box->Set("Alice Adams", "alice@example.test");
    world.ui.ExpectAddressBook(std::nullopt);
    QTest::mouseClick(&select, Qt::LeftButton);
    world.ui.ExpectAddressBook(std::vector{entry("Alice")});
    QTest::mouseClick(&select, Qt::LeftButton);
    EXPECT_EQ(box->addresses(), "alice@example.test");
    EXPECT_EQ(changes, 0);
}

TEST_F(RecipientBoxTest, DeletesTheSelectedOneFromBothLists) {
    box->Set("Alice Adams;Bob Baker;Sales",
             "alice@example.test;bob@example.test;sales@example.test");
    list.setCurrentRow(1);
    QTest::mouseClick(&remove, Qt::LeftButton);
    EXPECT_EQ(box->names(), "Alice Adams;Sales");
    EXPECT_EQ(box->addresses(), "alice@example.test;sales@example.test");
    EXPECT_EQ(list.currentRow(), 1);
    QTest::mouseClick(&remove, Qt::LeftButton);
    QTest::mouseClick(&remove, Qt::LeftButton);
    EXPECT_EQ(box->names(), "");
    EXPECT_EQ(box->addresses(), "");
    EXPECT_TRUE(box->empty());
    EXPECT_FALSE(remove.isEnabled());
    EXPECT_FALSE(members.isEnabled());
    EXPECT_EQ(changes, 3);
}

TEST_F(RecipientBoxTest, MembersGetTheAddresses) {
    box->Set("Sales", "sales@example.test");
    QTest::mouseClick(&members, Qt::LeftButton);
    EXPECT_EQ(shown, "sales@example.test");
}

TEST_F(RecipientBoxTest, TheLastTwoButtonsMayBeMissing) {
    QListWidget bare;
    RecipientBox other(*world.session, {&bare, &select}, {"T"}, {}, &form);
    other.Set("Alice Adams", "alice@example.test");
    bare.setCurrentRow(0);
    EXPECT_EQ(bare.count(), 1);
}

} // namespace
