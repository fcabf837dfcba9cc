#include <gtest/gtest.h>

#include <QProgressBar>
#include <QTest>

#include "console/forms/DialogHooks.h"
#include "console/forms/frmProgress.h"
#include "console/forms/frmProgressUser.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

QWidget* shown(const char* name) {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->objectName() == name && window->isVisible())
            return window;
    return nullptr;
}

TEST(frmProgressTest, ShowsCaptionAndText) {
    QWidget parent;
    const auto progress = StartProgress("Adding Master Contacts", ProgressKind::Plain, &parent);
    QWidget* form = shown("frmProgress");
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->windowTitle(), "Adding Master Contacts");
    progress->SetText("Expanding <b>Sales</b> & Séan");
    EXPECT_EQ(control<QLabel>(form, "lblProgress")->text(), "Expanding <b>Sales</b> & Séan");
    EXPECT_EQ(control<QLabel>(form, "lblProgress")->textFormat(), Qt::PlainText);
    EXPECT_EQ(form->findChild<QProgressBar*>(), nullptr);
    progress->SetValue(1, 2); // a window without a bar takes it and does nothing
    EXPECT_FALSE(progress->Cancelled());
    EXPECT_EQ(QApplication::activeModalWidget(), form) << "other windows must wait";
}

TEST(frmProgressTest, CancelSetsTheFlagAndTheWindowStays) {
    const auto progress = StartProgress("Work", ProgressKind::Plain, nullptr);
    QWidget* form = shown("frmProgress");
    ASSERT_NE(form, nullptr);
    QTest::mouseClick(control<QPushButton>(form, "CancelButton"), Qt::LeftButton);
    EXPECT_TRUE(progress->Cancelled());
    EXPECT_TRUE(form->isVisible());
    EXPECT_FALSE(control<QPushButton>(form, "CancelButton")->isEnabled());
}

TEST(frmProgressTest, EscapeAndClosingCancelToo) {
    const auto first = StartProgress("Work", ProgressKind::Plain, nullptr);
    QTest::keyClick(shown("frmProgress"), Qt::Key_Escape);
    EXPECT_TRUE(first->Cancelled());
    const auto second = StartProgress("Users", ProgressKind::User, nullptr);
    EXPECT_FALSE(shown("frmProgressUser")->close());
    EXPECT_TRUE(second->Cancelled());
    EXPECT_NE(shown("frmProgressUser"), nullptr);
}

TEST(frmProgressTest, TheOwnerRemovesTheWindow) {
    auto progress = StartProgress("Work", ProgressKind::Plain, nullptr);
    progress.reset();
    EXPECT_EQ(shown("frmProgress"), nullptr);
}

TEST(frmProgressTest, AParentThatGoesFirstCancels) {
    auto parent = std::make_unique<QWidget>();
    const auto progress = StartProgress("Work", ProgressKind::User, parent.get());
    parent.reset();
    EXPECT_TRUE(progress->Cancelled());
    progress->SetText("nobody sees it");
    progress->SetValue(1, 2);
}

TEST(frmProgressUserTest, TheBarFollows) {
    const auto progress = StartProgress("Users", ProgressKind::User, nullptr);
    QWidget* form = shown("frmProgressUser");
    ASSERT_NE(form, nullptr);
    auto* bar = control<QProgressBar>(form, "ProgressBar1");
    progress->SetValue(500, 2000);
    EXPECT_EQ(bar->text(), "25%");
    progress->SetValue(6'000'000'000, 6'000'000'000);
    EXPECT_EQ(bar->text(), "100%");
    progress->SetValue(3000, 2000); // a total that was guessed too low
    EXPECT_EQ(bar->text(), "100%");
    progress->SetValue(7, 0);
    EXPECT_EQ(bar->maximum(), 0) << "busy while the length isn't known";
}

} // namespace
