#include <gtest/gtest.h>

#include <QListWidget>
#include <QTest>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/forms/frmProxy.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmProxyTest : public ::testing::Test {
protected:
    frmProxyTest() { world.LogOnConfigured(); }
    void open() {
        form = std::make_unique<frmProxy>(*world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    RDOMessagePtr agent() { return GetAgentMessage(*world.session); }
    void useNamed() { QTest::keyClick(at<QComboBox>("cboProxy"), Qt::Key_Down); }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    World world;
    std::unique_ptr<frmProxy> form;
};

TEST_F(frmProxyTest, FieldsAreEnabledOnTheThirdEntryOnly) {
    open();
    EXPECT_EQ(form->windowTitle(), "Proxy Configuration");
    EXPECT_EQ(at<QComboBox>("cboProxy")->currentText(), "Connect directly, do not use a proxy");
    EXPECT_FALSE(at<QLineEdit>("txtProxy_0")->isEnabled());
    EXPECT_FALSE(at<QCheckBox>("chkIdentity")->isEnabled());
    useNamed();
    EXPECT_TRUE(at<QLineEdit>("txtProxy_0")->isEnabled());
    EXPECT_FALSE(at<QLineEdit>("txtUsername")->isEnabled());
    at<QCheckBox>("chkIdentity")->click();
    EXPECT_TRUE(at<QLineEdit>("txtUsername")->isEnabled());
    EXPECT_FALSE(at<QLineEdit>("txtConfirm")->isEnabled()) << "until a password is typed";
    QTest::keyClicks(at<QLineEdit>("txtPWD"), "x");
    EXPECT_TRUE(at<QLineEdit>("txtConfirm")->isEnabled());
    EXPECT_EQ(at<QLabel>("lblMain")->text(),
              "These settings will be shared by all zandrelAgent servers");
}

TEST_F(frmProxyTest, WhatIsTypedIsWritten) {
    open();
    useNamed();
    QTest::keyClicks(at<QLineEdit>("txtProxy_0"), "proxy:3128");
    world.ui.ExpectInput("*.corp.test <local>");
    press("cmdAdd");
    EXPECT_EQ(at<QListWidget>("lstBypass")->count(), 2);
    at<QCheckBox>("chkIdentity")->click();
    QTest::keyClicks(at<QLineEdit>("txtUsername"), "DOM\\user");
    QTest::keyClicks(at<QLineEdit>("txtPWD"), "pw");
    QTest::keyClicks(at<QLineEdit>("txtConfirm"), "pw");
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(KeyText(*agent(), "ProxyServer"), "proxy:3128");
    EXPECT_EQ(KeyText(*agent(), "ProxyBypass"), "*.corp.test;<local>");
    EXPECT_EQ(KeyText(*agent(), "Proxy2"), "<pw>");
}

TEST_F(frmProxyTest, ARefusalKeepsTheDialogAndMovesTheFocus) {
    open();
    useNamed();
    world.ui.Expect("You must supply the address of a proxy server!");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtProxy_0"));
    EXPECT_TRUE(GetKey(*agent(), "ProxySetting").empty());
}

TEST_F(frmProxyTest, AListIsRefusedWhenTheFieldIsLeft) {
    open();
    useNamed();
    auto* field = at<QLineEdit>("txtProxy_0");
    field->setFocus();
    QTest::keyClicks(field, "a;b");
    world.ui.Expect("You can only enter a single proxy in this field.\r\n"
                    "Use ProxyCfg if you need to supply a delimited list.");
    QTest::keyClick(field, Qt::Key_Tab);
    EXPECT_EQ(form->focusWidget(), field);
}

TEST_F(frmProxyTest, RepeatedAddressesAreSaidAndOneIsRemoved) {
    open();
    useNamed();
    world.ui.ExpectInput("a,b");
    press("cmdAdd");
    world.ui.ExpectInput("b");
    world.ui.Expect("b is already in the list");
    press("cmdAdd");
    EXPECT_FALSE(at<QPushButton>("cmdRemove")->isEnabled());
    at<QListWidget>("lstBypass")->setCurrentRow(0);
    press("cmdRemove");
    ASSERT_EQ(at<QListWidget>("lstBypass")->count(), 1);
    EXPECT_EQ(at<QListWidget>("lstBypass")->item(0)->text(), "b");
    world.ui.ExpectInput(std::nullopt);
    press("cmdAdd");
    EXPECT_EQ(at<QListWidget>("lstBypass")->count(), 1);
}

TEST_F(frmProxyTest, CancelWritesNothing) {
    open();
    useNamed();
    QTest::keyClicks(at<QLineEdit>("txtProxy_0"), "proxy");
    press("cmdCancel");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(GetKey(*agent(), "ProxySetting").empty());
}

TEST_F(frmProxyTest, OkWithoutAChangeJustCloses) {
    open();
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_TRUE(GetKey(*agent(), "ProxySetting").empty());
}

} // namespace
