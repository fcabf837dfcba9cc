#include <gtest/gtest.h>

#include <QPlainTextEdit>
#include <QProgressBar>
#include <QScrollBar>
#include <QTest>

#include "console/TreeModel.h"
#include "push/basMBL.h"
#include "push/basMBLPush.h"
#include "push/forms/MakePushForms.h"
#include "push/forms/frmPushResult.h"
#include "tests/push/PushWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmPushResultTest : public ::testing::Test {
protected:
    frmPushResultTest() {
        world.AddHandheld("PINBOB", "bob@example.test", "Bob", "BES1");
        list = GetMblFolder(*world.session)->Items()->Add(kMblClass);
        list->SetSubject("News");
        SetKey(*list, "MBL.Type", "Channel");
        SetKey(*list, "MBL.Title", "T");
        SetKey(*list, "MBL.URL", "http://h/");
        SetKey(*list, "MBL.Target.Email", "alice@example.test;bob@example.test");
        list->Save();
    }
    bool push(WebProgress& progress) {
        return PushToList({*world.session, world.tree, progress}, *list);
    }
    void open(PushForms::Work work) {
        form = std::make_unique<frmPushResult>(*world.session, "imgGlobe", std::move(work));
        form->show();
    }
    bool waitFor(const char* text) {
        return QTest::qWaitFor([&] { return at<QLabel>("lblMain")->text() == text; });
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    QString results() { return at<QPlainTextEdit>("txtResult")->toPlainText(); }
    QPushButton* button() { return at<QPushButton>("cmdCancel"); }
    Value lastPush() { return GetKey(*GetMessage(*world.session, list->ID()), "MBL.LastPushDate"); }

    PushWorld world;
    RDOMessagePtr list;
    std::unique_ptr<frmPushResult> form;
};

TEST_F(frmPushResultTest, APushToItsEnd) {
    QString captionMeanwhile;
    world.ui.onDoEvents = [&] { captionMeanwhile = button()->text(); };
    open([this](WebProgress& progress) { return push(progress); });
    EXPECT_EQ(form->windowTitle(), "EPS Push");
    EXPECT_TRUE(world.http.sent.empty()) << "it begins when the window stands";
    ASSERT_TRUE(waitFor("Push completed"));
    EXPECT_EQ(captionMeanwhile, "Cancel");
    EXPECT_EQ(button()->text(), "Close");
    EXPECT_EQ(world.http.sent.size(), 2U);
    EXPECT_EQ(results(), "Alice: 200:OK\nBob: 200:OK\nSuccessfully pushed to 2 targets\n");
    EXPECT_EQ(at<QProgressBar>("pb1")->maximum(), 2);
    EXPECT_EQ(at<QProgressBar>("pb1")->value(), 2);
    EXPECT_FALSE(lastPush().empty());
    EXPECT_TRUE(form->isVisible());
    QTest::mouseClick(button(), Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmPushResultTest, CancelInTheMiddleSavesNothing) {
    world.http.answer = [this](const FakeHttp::Request&) {
        QTest::mouseClick(button(), Qt::LeftButton);
        EXPECT_TRUE(form->isVisible());
        EXPECT_EQ(button()->text(), "Cancel");
        return FakeHttp::Response();
    };
    open([this](WebProgress& progress) { return push(progress); });
    ASSERT_TRUE(waitFor("Push canceled"));
    EXPECT_EQ(world.http.sent.size(), 1U);
    EXPECT_TRUE(lastPush().empty());
    EXPECT_EQ(button()->text(), "Close");
    EXPECT_TRUE(form->isVisible());
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmPushResultTest, ClosingTheWindowStopsThePushAndThenCloses) {
    int meanwhile = 0;
    world.http.answer = [&](const FakeHttp::Request&) {
        form->close();
        meanwhile += form->isVisible() ? 1 : 0;
        return FakeHttp::Response();
    };
    open([this](WebProgress& progress) { return push(progress); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return !form->isVisible(); }));
    EXPECT_EQ(meanwhile, 1) << "it stands until the push has ended";
    EXPECT_EQ(world.http.sent.size(), 1U);
    EXPECT_TRUE(form->Cancelled());
    EXPECT_TRUE(lastPush().empty());
}

TEST_F(frmPushResultTest, TheBoxFollowsItsEnd) {
    open([this](WebProgress& progress) {
        progress.SetValue(0, 0);
        EXPECT_EQ(at<QProgressBar>("pb1")->maximum(), 0) << "of unknown length";
        for (int i = 0; i < 500; ++i)
            progress.AppendResult("line " + std::to_string(i));
        progress.AppendResult("one\r\ntwo");
        return true;
    });
    ASSERT_TRUE(waitFor("Push completed"));
    EXPECT_TRUE(results().endsWith("line 499\none\ntwo"));
    const QScrollBar* bar = at<QPlainTextEdit>("txtResult")->verticalScrollBar();
    EXPECT_GT(bar->maximum(), 100);
    EXPECT_EQ(bar->value(), bar->maximum());
    EXPECT_GT(at<QProgressBar>("pb1")->maximum(), 0);
    EXPECT_EQ(world.ui.doEventsCalls(), 502);
}

TEST_F(frmPushResultTest, AFailureEndsThePush) {
    open([](WebProgress&) -> bool { throw PlatformError(5, "broken", "test"); });
    ASSERT_TRUE(waitFor("Push completed"));
    EXPECT_TRUE(world.logHas("frmPushResult: 5 broken"));
}

TEST_F(frmPushResultTest, EachPushHasAWindowOfItsOwn) {
    const PushForms forms = MakePushForms(*world.session, world.tree, [] { return nullptr; });
    for (int i = 0; i < 2; ++i) {
        bool cancelled = true;
        whenModal("frmPushResult", [&](QWidget* window) {
            auto* close = control<QPushButton>(window, "cmdCancel");
            EXPECT_TRUE(QTest::qWaitFor([&] { return close->text() == "Close"; }));
            QTest::mouseClick(close, Qt::LeftButton);
        });
        forms.frmPushResult("imgGlobe", [&](WebProgress& progress) {
            cancelled = progress.Cancelled();
            return true;
        });
        EXPECT_FALSE(cancelled);
    }
}

} // namespace
