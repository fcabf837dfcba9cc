#include <gtest/gtest.h>

#include <QGroupBox>
#include <QTest>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "push/forms/frmPdlProps.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmPdlPropsTest : public ::testing::Test {
protected:
    frmPdlPropsTest() {
        world.LogOnConfigured();
        world.http.answer = [this](const FakeHttp::Request& request) {
            FakeHttp::Response response;
            const bool packet = request.url.find("getpdl") != std::string::npos;
            response.status = packet ? packetStatus : 200;
            response.statusText = "OK";
            response.body = packet ? "" : health;
            wait.push_back(at<QLabel>("lblWait")->text().toStdString());
            return response;
        };
    }
    void store(bool push, const char* url) {
        const RDOMessagePtr agent = GetAgentMessage(*world.session);
        SetKey(*agent, "EPS.PushPINDL", push);
        SetKey(*agent, "TARN.URL", url);
        agent->Save();
    }
    void open(AgentSession* session = nullptr) {
        form = std::make_unique<frmPdlProps>(session ? *session : *world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    QLineEdit* url() { return at<QLineEdit>("txtTARN"); }
    void type(const char* text) {
        url()->selectAll();
        QTest::keyClicks(url(), text);
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    Value key(std::string_view name) { return GetKey(*GetAgentMessage(*world.session), name); }
    World world;
    std::unique_ptr<frmPdlProps> form;
    std::string health = "Hello";
    int packetStatus = 200;
    std::vector<std::string> wait;
};

TEST_F(frmPdlPropsTest, ShowsWhatIsStored) {
    open();
    EXPECT_EQ(form->windowTitle(), "PIN Distribution Lists");
    EXPECT_EQ(at<QGroupBox>("fraTARN")->title(), "zandrel Tarn Mobile Engine &URL");
    EXPECT_EQ(url()->text(), "");
    EXPECT_FALSE(at<QCheckBox>("chkPush")->isChecked());
    EXPECT_TRUE(url()->hasFocus());
    store(true, "http://host/TARN/");
    open();
    EXPECT_EQ(url()->text(), "http://host/TARN/");
    EXPECT_TRUE(at<QCheckBox>("chkPush")->isChecked());
}

TEST_F(frmPdlPropsTest, OKStoresBothKeys) {
    const std::pair<const char*, const char*> cases[] = {
        {"host/TARN", "http://host/TARN/"},
        {"https://host/TARN/Default.aspx", "https://host/TARN/Default.aspx"},
        {"http://host/", "http://host/"}};
    for (const auto& [typed, expected] : cases) {
        open();
        type(typed);
        at<QCheckBox>("chkPush")->setChecked(true);
        press("cmdOK");
        EXPECT_FALSE(form->isVisible());
        EXPECT_EQ(form->result(), QDialog::Accepted);
        EXPECT_EQ(key("TARN.URL").text(), expected);
        EXPECT_EQ(key("EPS.PushPINDL"), Value(true));
        EXPECT_TRUE(world.logHas("Saving new TARN URL: " + std::string(expected)));
    }
}

TEST_F(frmPdlPropsTest, AnAddressMayBeTakenAway) {
    store(true, "http://host/");
    open();
    type(" ");
    press("cmdOK");
    EXPECT_EQ(key("TARN.URL").text(), "");
    EXPECT_EQ(key("EPS.PushPINDL"), Value(true));
    EXPECT_FALSE(world.logHas("Saving new TARN URL"));
}

TEST_F(frmPdlPropsTest, TheBoxAloneLeavesTheAddressAsItIs) {
    store(false, "host");
    open();
    QTest::keyClick(form.get(), Qt::Key_P, Qt::AltModifier);
    // a check box takes a moment to be pressed by its letter
    EXPECT_TRUE(QTest::qWaitFor([&] { return at<QCheckBox>("chkPush")->isChecked(); }));
    press("cmdOK");
    EXPECT_EQ(key("TARN.URL").text(), "host");
    EXPECT_EQ(key("EPS.PushPINDL"), Value(true));
    EXPECT_FALSE(world.logHas("Saving new TARN URL"));
}

TEST_F(frmPdlPropsTest, WithoutAChangeNothingIsWritten) {
    open();
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(key("TARN.URL").empty());
    EXPECT_TRUE(key("EPS.PushPINDL").empty());
    open();
    type("host");
    press("cmdCancel");
    EXPECT_TRUE(key("TARN.URL").empty());
}

TEST_F(frmPdlPropsTest, LocalhostIsReplaced) {
    open();
    type("http://LocalHost/TARN/");
    world.ui.Expect("Localhost is not a valid root");
    QTest::keyClick(url(), Qt::Key_Tab);
    EXPECT_EQ(url()->text(), "http://CONSOLE1/TARN/");
    type("localhost");
    world.ui.Expect("Localhost is not a valid root");
    QTest::keyClick(url(), Qt::Key_Return);
    EXPECT_EQ(url()->text(), "CONSOLE1");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(key("TARN.URL").empty());
    QCoreApplication::processEvents(); // Enter is over
    press("cmdOK");
    EXPECT_EQ(key("TARN.URL").text(), "http://CONSOLE1/");
}

TEST_F(frmPdlPropsTest, TheTestSaysWhatItFound) {
    open();
    EXPECT_FALSE(at<QPushButton>("cmdTest")->isEnabled()) << "there is nothing to test";
    press("cmdTest");
    EXPECT_TRUE(world.http.sent.empty());
    type("http://host/TARN/");
    world.ui.Expect("http://host/TARN/ is a valid URL for providing PIN DLs!");
    press("cmdTest");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(wait, (std::vector<std::string>{"Checking http://host/TARN/, please wait...",
                                              "Checking PIN DL function, please wait..."}));
    EXPECT_EQ(at<QLabel>("lblWait")->text(), "");
    EXPECT_EQ(world.http.sent.at(0).url, "http://host/TARN/?cmd=testhealth");
    EXPECT_EQ(world.http.sent.at(1).url, "http://host/TARN/?cmd=getpdl&pin=test");
    packetStatus = 500;
    world.ui.Expect("TARN is running at http://host/TARN/\r\nbut it is not returning PIN "
                    "DLs!\r\n\r\nCheck the log for more information.");
    press("cmdTest");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    health = "Bye";
    world.ui.Expect("http://host/TARN/ does not appear to be a valid TARN URL");
    press("cmdTest");
    EXPECT_TRUE(at<QPushButton>("cmdTest")->isEnabled());
    EXPECT_TRUE(url()->isEnabled());
    EXPECT_TRUE(key("TARN.URL").empty());
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(frmPdlPropsTest, ClosingDuringTheTestEndsItWithoutABox) {
    open();
    type("host");
    world.http.answer = [this](const FakeHttp::Request&) {
        form->close();
        return FakeHttp::Response();
    };
    press("cmdTest");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(frmPdlPropsTest, AFailedSaveKeepsTheDialog) {
    FailingSession failing(world);
    failing.LogOn();
    int refused = 0;
    bool whole = false;
    for (int call = 1; !whole && call < 50; ++call) {
        const std::string before = key("TARN.URL").text();
        const bool pushed = key("EPS.PushPINDL").valueOr(false);
        const std::string address = "http://host" + std::to_string(call) + "/";
        open(&failing.session);
        type(address.c_str());
        at<QCheckBox>("chkPush")->setChecked(!pushed);
        failing.store.plan().FailAt(call);
        press("cmdOK");
        whole = !failing.store.plan().Failed();
        const bool saved = !form->isVisible();
        EXPECT_EQ(key("TARN.URL").text(), saved ? address : before);
        EXPECT_EQ(key("EPS.PushPINDL").valueOr(false), saved ? !pushed : pushed);
        if (saved)
            continue;
        ++refused;
        EXPECT_TRUE(at<QLabel>("lblWait")->text().startsWith("The changes could not be saved."));
    }
    EXPECT_TRUE(whole);
    EXPECT_GT(refused, 2);
    EXPECT_TRUE(world.logHas("Error saving changes to agent message "));
}

TEST_F(frmPdlPropsTest, SettingsThatCantBeReadCantBeChanged) {
    store(true, "http://host/");
    FailingSession failing(world);
    failing.LogOn();
    failing.store.plan().FailFrom(1);
    open(&failing.session);
    for (const char* name : {"cmdOK", "cmdTest"})
        EXPECT_FALSE(at<QPushButton>(name)->isEnabled());
    EXPECT_FALSE(url()->isEnabled());
    EXPECT_FALSE(at<QCheckBox>("chkPush")->isEnabled());
    EXPECT_TRUE(at<QLabel>("lblWait")->text().startsWith("The settings could not be read."));
    EXPECT_TRUE(world.logHas("frmPdlProps: "));
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
}

} // namespace
