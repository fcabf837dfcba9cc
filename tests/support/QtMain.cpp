// main of all test programs with windows: pinned style, font, locale and folders.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLocale>
#include <QStyleFactory>
#include <QTemporaryDir>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_STATE_HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    QLocale::setDefault(QLocale::c());
    QApplication app(argc, argv);
    app.setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
