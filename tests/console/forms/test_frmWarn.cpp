#include <gtest/gtest.h>

#include <QTest>

#include "console/forms/DialogHooks.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

TEST(frmWarnTest, OkConfirmsAndTellsTheMark) {
    bool again = false;
    whenModal("frmWarn", [](QWidget* form) {
        EXPECT_EQ(form->windowTitle(), "Warning");
        EXPECT_EQ(control<QLabel>(form, "lblWarn")->text(),
                  "First line\n\nDo you want to continue?");
        EXPECT_EQ(control<QCheckBox>(form, "chkNoWarn")->text(),
                  "&Do not warn me about this again");
        EXPECT_FALSE(control<QCheckBox>(form, "chkNoWarn")->isChecked());
        QTest::keyClick(form, Qt::Key_D, Qt::AltModifier); // presses the box a moment later
        EXPECT_TRUE(
            QTest::qWaitFor([form] { return control<QCheckBox>(form, "chkNoWarn")->isChecked(); }));
        QTest::keyClick(form->focusWidget(), Qt::Key_Return);
    });
    EXPECT_TRUE(Warn("First line\n\nDo you want to continue?", again, nullptr));
    EXPECT_TRUE(again);
}

TEST(frmWarnTest, CancelKeepsTheMarkAsTicked) {
    bool again = true;
    whenModal("frmWarn", [](QWidget* form) {
        QTest::mouseClick(control<QPushButton>(form, "cmdCancel"), Qt::LeftButton);
    });
    EXPECT_FALSE(Warn("Text", again, nullptr));
    EXPECT_FALSE(again);
    whenModal("frmWarn", [](QWidget* form) {
        control<QCheckBox>(form, "chkNoWarn")->click();
        QTest::keyClick(form, Qt::Key_Escape);
    });
    EXPECT_FALSE(Warn("Text", again, nullptr));
    EXPECT_TRUE(again);
}

TEST(frmWarnTest, ANameIsNoMarkup) {
    bool again = false;
    whenModal("frmWarn", [](QWidget* form) {
        EXPECT_EQ(control<QLabel>(form, "lblWarn")->textFormat(), Qt::PlainText);
        form->close();
    });
    EXPECT_FALSE(Warn("<img src='file:///etc/passwd'>", again, nullptr));
}

} // namespace
