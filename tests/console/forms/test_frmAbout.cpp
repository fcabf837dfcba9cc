#include <gtest/gtest.h>

#include <QTest>

#include "console/forms/frmAbout.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

TEST(frmAboutTest, NameVersionsAndLicence) {
    frmAbout form("4.0.0", "embedded 1.2");
    EXPECT_EQ(form.windowTitle(), "About zandrelAgent Administrator");
    EXPECT_EQ(control<QLabel>(&form, "lblName")->text(), "zandrelAgent Administrator");
    EXPECT_EQ(control<QLabel>(&form, "lblVersion")->text(), "Version: 4.0.0");
    EXPECT_EQ(control<QLabel>(&form, "lblStoreVersion")->text(),
              "Store library version: embedded 1.2");
    EXPECT_TRUE(control<QLabel>(&form, "lblLicense")->text().contains("Lesser General Public"));
}

TEST(frmAboutTest, AVersionThatNobodyKnows) {
    frmAbout form({}, {});
    EXPECT_EQ(control<QLabel>(&form, "lblVersion")->text(), "Version: unknown");
    EXPECT_EQ(control<QLabel>(&form, "lblStoreVersion")->text(), "Store library version: unknown");
    form.show();
    QTest::keyClick(&form, Qt::Key_Return);
    EXPECT_FALSE(form.isVisible());
}

} // namespace
