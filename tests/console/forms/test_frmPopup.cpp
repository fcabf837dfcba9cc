#include <gtest/gtest.h>

#include <QPlainTextEdit>
#include <QTest>

#include "console/forms/DialogHooks.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

TEST(frmPopupTest, ShowsTheTextReadOnly) {
    QString text, caption;
    bool readOnly = false;
    whenModal("frmPopup", [&](QWidget* form) {
        auto* tip = control<QPlainTextEdit>(form, "txtTip");
        text = tip->toPlainText();
        readOnly = tip->isReadOnly();
        EXPECT_EQ(form->windowTitle(), "Master Contact: Private Fields");
        QTest::keyClicks(tip, "x");
        EXPECT_EQ(tip->toPlainText(), text);
        caption = control<QPushButton>(form, "cmdClose")->text();
        QTest::mouseClick(control<QPushButton>(form, "cmdClose"), Qt::LeftButton);
    });
    Popup("Master Contact: Private Fields", "One <b>line</b>\nand & another", nullptr);
    EXPECT_EQ(text, "One <b>line</b>\nand & another");
    EXPECT_TRUE(readOnly);
    EXPECT_EQ(caption, "Close");
}

TEST(frmPopupTest, EnterAndEscapeClose) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        whenModal("frmPopup", [key](QWidget* form) {
            QTest::keyClick(form->focusWidget(), key);
            EXPECT_FALSE(form->isVisible());
        });
        Popup("Title", std::string(20000, 'x'), nullptr);
    }
}

} // namespace
