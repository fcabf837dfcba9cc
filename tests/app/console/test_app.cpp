#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "app/App.h"
#include "console/forms/frmFleetMain.h"
#include "core/Settings.h"

namespace {

using namespace kr;

class AppTest : public ::testing::Test {
protected:
    AppOptions options(const std::string& commandLine = {}) {
        const std::string base = folder.path().toStdString();
        return {base + "/user", base + "/machine", base + "/KR-Admin.log", commandLine};
    }
    QString log() {
        QFile file(folder.filePath("KR-Admin.log"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    /// Runs the call while a modal window of that name is open.
    void whenOpen(const char* name, std::function<void()> call) {
        auto* timer = new QTimer(&owner);
        QObject::connect(timer, &QTimer::timeout, &owner, [=] {
            const QWidget* modal = QApplication::activeModalWidget();
            if (!modal || modal->objectName() != name)
                return;
            timer->stop();
            call();
        });
        timer->start(10);
    }

    QTemporaryDir folder;
    QObject owner;
};

TEST_F(AppTest, LogLiesInTheStateFolder) {
    const QByteArray before = qgetenv("XDG_STATE_HOME");
    qputenv("XDG_STATE_HOME", folder.path().toUtf8());
    EXPECT_EQ(DefaultOptions("init").logPath,
              folder.filePath("zandrel/KR-Admin.log").toStdString());
    EXPECT_TRUE(QFile::exists(folder.filePath("zandrel"))) << "the folder is made";
    EXPECT_EQ(DefaultOptions("init").commandLine, "init");
    qputenv("HOME", folder.path().toUtf8());
    qputenv("XDG_STATE_HOME", "relative/folder");
    EXPECT_EQ(DefaultOptions("").logPath,
              folder.filePath(".local/state/zandrel/KR-Admin.log").toStdString());
    qputenv("XDG_STATE_HOME", before);
}

TEST_F(AppTest, BannerFirstThenTheLogonDialog) {
    App app(options());
    whenOpen("frmLogon", [] { QApplication::activeModalWidget()->close(); });
    app.Start();
    EXPECT_TRUE(app.main().isHidden()) << "no logon data: the program ends";
    EXPECT_TRUE(log().startsWith("==========v.4.0.0==========\n")) << log().toStdString();
    EXPECT_TRUE(log().contains("no logon parameters: unloading"));
}

TEST_F(AppTest, CloseEndsOpenDialogsFirst) {
    App app(options());
    bool dialogOpenAtEnd = true;
    whenOpen("frmLogon", [&] { app.Close(); });
    app.Start();
    dialogOpenAtEnd = QApplication::activeModalWidget() != nullptr;
    EXPECT_FALSE(dialogOpenAtEnd);
    EXPECT_TRUE(QTest::qWaitFor([&] { return app.main().isHidden(); }, 2000));
    auto registry = QFile(folder.filePath("user/user.reg"));
    EXPECT_TRUE(registry.exists()) << "the settings are written";
}

TEST_F(AppTest, InitWinsOverServer) {
    App app(options("init /server MAIL01 /alias agentbox"));
    bool wizard = false;
    whenOpen("frmFirstRun", [&] {
        wizard = true;
        EXPECT_EQ(app.session().ExServer, "");
        // Cancel asks; the logon that follows has nothing to go on
        whenOpen("msgBox", [&] {
            QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Y, Qt::AltModifier);
            whenOpen("msgBox", [] { QApplication::activeModalWidget()->close(); });
        });
        QApplication::activeModalWidget()->close();
    });
    app.Start();
    EXPECT_TRUE(wizard);
    EXPECT_TRUE(log().contains("FirstRun"));
    EXPECT_FALSE(log().contains("Launched from command line"));
    app.Close();
    EXPECT_TRUE(app.main().isHidden());
}

} // namespace
