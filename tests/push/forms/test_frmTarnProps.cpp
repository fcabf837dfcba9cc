#include <gtest/gtest.h>

#include <QTest>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "push/forms/frmTarnProps.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmTarnPropsTest : public ::testing::Test {
protected:
    frmTarnPropsTest() {
        world.LogOnConfigured();
        const auto host = world.session->agentInfo->Items()->Add(kHostClass);
        host->SetSubject("AGENT1");
        host->Save();
        world.http.answer = [this](const FakeHttp::Request& request) {
            FakeHttp::Response response;
            const bool icon = request.url.find("geticon") != std::string::npos;
            response.status = icon ? iconStatus : 200;
            response.body = icon ? "" : health;
            wait.push_back(at<QLabel>("lblWait")->text().toStdString());
            return response;
        };
    }
    void open(AgentSession* session = nullptr) {
        form = std::make_unique<frmTarnProps>(session ? *session : *world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    void type(const char* text) {
        at<QLineEdit>("txtTARN")->selectAll();
        QTest::keyClicks(at<QLineEdit>("txtTARN"), text);
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    std::string stored() { return KeyText(*GetAgentMessage(*world.session), "TARN.URL"); }
    World world;
    std::unique_ptr<frmTarnProps> form;
    std::string health = "Hello";
    int iconStatus = 200;
    std::vector<std::string> wait;
};

TEST_F(frmTarnPropsTest, OffersTheAgentsServer) {
    open();
    EXPECT_EQ(form->windowTitle(), "zandrel Tarn Mobile Engine ");
    EXPECT_EQ(at<QComboBox>("cboTARN")->currentText(), "http://AGENT1/TARN/");
    press("cmdCancel");
    EXPECT_EQ(stored(), "");
}

TEST_F(frmTarnPropsTest, OKStoresTheWholeAddress) {
    const std::pair<const char*, const char*> cases[] = {
        {"host/TARN", "http://host/TARN/"},
        {"https://host/TARN/Default.aspx", "https://host/TARN/Default.aspx"},
        {"http://host/", "http://host/"},
        {" ", ""}};
    for (const auto& [typed, expected] : cases) {
        open();
        type(typed);
        press("cmdOK");
        EXPECT_FALSE(form->isVisible());
        EXPECT_EQ(stored(), expected);
        EXPECT_TRUE(world.logHas("Saving new TARN URL: " + std::string(expected)));
        if (*expected) {
            open();
            EXPECT_EQ(at<QComboBox>("cboTARN")->currentText(), expected);
        }
    }
}

TEST_F(frmTarnPropsTest, LocalhostIsReplaced) {
    open();
    type("http://LocalHost/TARN/");
    world.ui.Expect("Localhost is not a valid root");
    QTest::keyClick(at<QLineEdit>("txtTARN"), Qt::Key_Tab);
    EXPECT_EQ(at<QLineEdit>("txtTARN")->text(), "http://CONSOLE1/TARN/");
    type("localhost");
    world.ui.Expect("Localhost is not a valid root");
    QTest::keyClick(at<QLineEdit>("txtTARN"), Qt::Key_Return);
    EXPECT_EQ(at<QLineEdit>("txtTARN")->text(), "CONSOLE1");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(stored(), "");
    QCoreApplication::processEvents(); // Enter is over
    press("cmdOK");
    EXPECT_EQ(stored(), "http://CONSOLE1/");
}

TEST_F(frmTarnPropsTest, TheTestSaysWhatItFound) {
    open();
    type("http://host/TARN/");
    world.ui.Expect("http://host/TARN/ is a valid URL for serving channel icons!");
    press("cmdTest");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(wait, (std::vector<std::string>{"Checking http://host/TARN/, please wait...",
                                              "Checking icon server function, please wait..."}));
    EXPECT_EQ(at<QLabel>("lblWait")->text(), "");
    EXPECT_EQ(world.http.sent[0].url, "http://host/TARN/?cmd=testhealth");
    EXPECT_EQ(world.http.sent[1].url, "http://host/TARN/?cmd=geticon&listname=test");
    iconStatus = 404;
    world.ui.Expect("TARN is running at http://host/TARN/\r\nbut it is not returning channel "
                    "icons!\r\n\r\nCheck the log for more information.");
    press("cmdTest");
    health = "Bye";
    world.ui.Expect("http://host/TARN/ does not appear to be a valid TARN URL");
    press("cmdTest");
    EXPECT_TRUE(at<QPushButton>("cmdTest")->isEnabled());
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(frmTarnPropsTest, ClosingDuringTheTestEndsItWithoutABox) {
    open();
    world.http.answer = [this](const FakeHttp::Request&) {
        form->close();
        return FakeHttp::Response();
    };
    press("cmdTest");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(frmTarnPropsTest, AFailedSaveKeepsTheDialog) {
    FailingSession failing(world);
    failing.LogOn();
    int refused = 0;
    for (int call = 1; call <= 12; ++call) {
        const std::string before = stored();
        const std::string url = "http://host" + std::to_string(call) + "/";
        open(&failing.session);
        type(url.c_str());
        failing.store.plan().FailAt(call);
        press("cmdOK");
        EXPECT_EQ(stored(), form->isVisible() ? before : url);
        if (!form->isVisible())
            continue;
        ++refused;
        EXPECT_TRUE(at<QLabel>("lblWait")->text().startsWith("The address could not be saved."));
    }
    EXPECT_GT(refused, 1);
    EXPECT_TRUE(world.logHas("Error saving new TARN URL to agent message "));
}

} // namespace
