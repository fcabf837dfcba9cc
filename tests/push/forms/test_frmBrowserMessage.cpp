#include <gtest/gtest.h>

#include <QListWidget>
#include <QTest>
#include <QToolButton>

#include "console/TreeModel.h"
#include "push/basMBL.h"
#include "push/forms/frmBrowserMessage.h"
#include "tests/push/PushWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmBrowserMessageTest : public ::testing::Test {
protected:
    void open(const EntryID& list = {}) {
        form = std::make_unique<frmBrowserMessage>(*world.session, world.tree, list);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    void type(const char* name, const char* text) {
        at<QLineEdit>(name)->clear();
        QTest::keyClicks(at<QLineEdit>(name), text);
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    PushWorld world;
    std::unique_ptr<frmBrowserMessage> form;
};

TEST_F(frmBrowserMessageTest, SavesANewMessageAndItsFrequency) {
    open();
    EXPECT_EQ(form->windowTitle(), "Mandatory Browser Message");
    EXPECT_EQ(at<QComboBox>("cboPush")->count(), 6);
    EXPECT_EQ(at<QComboBox>("cboPush")->currentText(), "Once");
    type("txtName", "Letter");
    type("txtTitle", "T");
    type("txtURL", "u");
    press("cmdOK");
    ASSERT_FALSE(form->saved().empty());
    const EntryID id = form->saved();
    EXPECT_EQ(KeyText(*GetMessage(*world.session, id), "MBL.Type"), "Message");
    EXPECT_EQ(GetKey(*GetMessage(*world.session, id), "MBL.Frequency"), Value(int16_t{0}));
    open(id);
    press("cmdOK");
    EXPECT_TRUE(form->saved().empty()) << "nothing has changed";
    open(id);
    at<QComboBox>("cboPush")->setFocus();
    QTest::keyClick(at<QComboBox>("cboPush"), Qt::Key_Down);
    press("cmdOK");
    EXPECT_EQ(form->saved(), id);
    EXPECT_EQ(GetKey(*GetMessage(*world.session, id), "MBL.Frequency"), Value(int16_t{1}));
}

TEST_F(frmBrowserMessageTest, RefusalsAreThoseOfAChannel) {
    open();
    world.ui.Expect("You must provide a unique name for this Browser Channel Push");
    press("cmdOK");
    type("txtName", "Letter");
    world.ui.Expect("You must enter the title of the channel that will appear on the handheld!");
    press("cmdOK");
    type("txtTitle", "T");
    world.ui.Expect("You must enter the URL of the channel content!");
    press("cmdOK");
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmBrowserMessageTest, ThePreviewHasATitleOfItsOwn) {
    open();
    EXPECT_FALSE(at<QPushButton>("cmdDetails")->isEnabled()) << "nobody is chosen";
    world.ui.ExpectAddressBook({{{world.Entry("Alice Adams")->ID(), "Alice Adams"}}});
    press("cmdTarget");
    EXPECT_EQ(at<QListWidget>("lstTarget")->count(), 1);
    QString title, count;
    whenModal("frmDetails", [&](QWidget* window) {
        title = window->windowTitle();
        count = control<QLabel>(window, "lblCount")->text();
        window->close();
    });
    press("cmdDetails");
    EXPECT_EQ(title, "Push Target Details");
    EXPECT_EQ(count, "Count: 1");
}

TEST_F(frmBrowserMessageTest, HelpSpeaksOfMessages) {
    open();
    for (const char* name : {"imgPopup0", "imgPopup1", "imgPopup2", "imgPopup3"})
        QTest::mouseClick(at<QToolButton>(name), Qt::LeftButton);
    const auto& texts = world.ui.popups();
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_EQ(texts[1], "The URL is the source of the message content.");
    EXPECT_TRUE(texts[2].starts_with("This will be the title of the message"));
    EXPECT_TRUE(texts[3].ends_with("will only be pushed to users with a known PIN."));
}

} // namespace
