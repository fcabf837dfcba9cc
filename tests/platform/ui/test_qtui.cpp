#include <gtest/gtest.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>
#include <QStyleOptionButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "platform/ui/qt/AppStyle.h"
#include "platform/ui/qt/QtUi.h"

namespace {

using namespace kr;

/// Calls back with the modal window of that name as soon as it is there.
template <class W>
void whenModal(const QString& name, std::function<void(W*)> call) {
    auto* timer = new QTimer(qApp);
    auto elapsed = std::make_shared<QElapsedTimer>();
    elapsed->start();
    QObject::connect(timer, &QTimer::timeout, qApp, [=] {
        auto* window = qobject_cast<W*>(QApplication::activeModalWidget());
        if (window && window->objectName() == name) {
            timer->stop();
            timer->deleteLater();
            call(window);
        } else if (elapsed->elapsed() > 3000) {
            timer->stop();
            timer->deleteLater();
            ADD_FAILURE() << "no window " << name.toStdString();
            if (QWidget* other = QApplication::activeModalWidget())
                other->close();
        }
    });
    timer->start(10);
}

TEST(QtUiTest, BoxShowsTextTitleIconAndButtons) {
    QtUi ui;
    whenModal<QMessageBox>("msgBox", [](QMessageBox* box) {
        EXPECT_EQ(box->text(), "Delete <b>R & D</b>?\nReally?");
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        EXPECT_EQ(box->windowTitle(), "zandrelAgent Administrator");
        EXPECT_EQ(box->icon(), QMessageBox::Question);
        EXPECT_EQ(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        QTest::keyClick(box->button(QMessageBox::Yes), Qt::Key_Space);
    });
    EXPECT_EQ(ui.MsgBox("Delete <b>R & D</b>?\r\nReally?", BoxIcon::Question, BoxButtons::YesNo,
                        kAppTitle),
              BoxAnswer::Yes);
}

TEST(QtUiTest, AnswersOfButtonsAndEscape) {
    QtUi ui;
    const auto escape = [](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Escape); };
    whenModal<QMessageBox>("msgBox", escape);
    EXPECT_EQ(ui.MsgBox("a", BoxIcon::Stop, BoxButtons::OK, "t"), BoxAnswer::OK);
    whenModal<QMessageBox>("msgBox", escape);
    EXPECT_EQ(ui.MsgBox("a", BoxIcon::Stop, BoxButtons::OKCancel, "t"), BoxAnswer::Cancel);
    whenModal<QMessageBox>("msgBox", escape);
    EXPECT_EQ(ui.MsgBox("a", BoxIcon::Stop, BoxButtons::YesNo, "t"), BoxAnswer::No);
    whenModal<QMessageBox>("msgBox", escape);
    EXPECT_EQ(ui.MsgBox("a", BoxIcon::Stop, BoxButtons::YesNoCancel, "t"), BoxAnswer::Cancel);
    whenModal<QMessageBox>("msgBox", [](QMessageBox* box) {
        QTest::mouseClick(box->button(QMessageBox::No), Qt::LeftButton);
    });
    EXPECT_EQ(ui.MsgBox("a", BoxIcon::Stop, BoxButtons::YesNoCancel, "t"), BoxAnswer::No);
}

TEST(QtUiTest, InputBox) {
    QtUi ui;
    whenModal<QInputDialog>("inputBox", [](QInputDialog* box) {
        EXPECT_EQ(box->labelText(), "Supply a new name");
        auto* edit = box->findChild<QLineEdit*>();
        EXPECT_EQ(edit->text(), "old");
        QTest::keyClicks(edit, "new");
        QTest::keyClick(edit, Qt::Key_Return);
    });
    EXPECT_EQ(ui.InputBox("Supply a new name", "Name", "old"), "new");
    whenModal<QInputDialog>("inputBox",
                            [](QInputDialog* box) { QTest::keyClick(box, Qt::Key_Escape); });
    EXPECT_EQ(ui.InputBox("Supply a new name", "Name", "old"), std::nullopt);
}

TEST(QtUiTest, FileFiltersAreTranslated) {
    EXPECT_EQ(FileFilters("CSV file (*.csv)|*.csv"), QStringList{"CSV file (*.csv)"});
    EXPECT_EQ(FileFilters("Pictures|*.png;*.gif|All files (*.*)|*"),
              (QStringList{"Pictures (*.png *.gif)", "All files (*)"}));
    EXPECT_TRUE(FileFilters("").isEmpty());
}

TEST(QtUiTest, SaveFileTakesTheFiltersEnding) {
    QTemporaryDir folder;
    QtUi ui;
    const QString target = folder.filePath("export");
    whenModal<QFileDialog>("fileDialog", [&](QFileDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), "Save List");
        auto* edit = dialog->findChild<QLineEdit*>("fileNameEdit");
        ASSERT_NE(edit, nullptr);
        edit->setText(target);
        QTest::keyClick(edit, Qt::Key_Return);
    });
    EXPECT_EQ(ui.SaveFileName("Save List", "CSV file (*.csv)|*.csv", "list.csv"),
              (target + ".csv").toStdString());
    whenModal<QFileDialog>("fileDialog", [](QFileDialog* dialog) { dialog->reject(); });
    EXPECT_EQ(ui.OpenFileName("Open", "XML file (*.xml)|*.xml"), std::nullopt);
}

TEST(QtUiTest, FileQuestionsBeginWhereTheLastFileOfTheirKindLay) {
    QTemporaryDir csv, xml;
    QtUi ui;
    const auto choose = [](const QString& file) {
        return [file](QFileDialog* dialog) {
            auto* edit = dialog->findChild<QLineEdit*>("fileNameEdit");
            ASSERT_NE(edit, nullptr);
            edit->setText(file);
            QTest::keyClick(edit, Qt::Key_Return);
        };
    };
    QString shown;
    const auto look = [&](QFileDialog* dialog) {
        shown = QDir(dialog->directory()).canonicalPath();
        dialog->reject();
    };
    QFile(csv.filePath("a.csv")).open(QIODevice::WriteOnly);
    whenModal<QFileDialog>("fileDialog", choose(csv.filePath("a.csv")));
    EXPECT_EQ(ui.OpenFileName("Open", "CSV file (*.csv)|*.csv"),
              csv.filePath("a.csv").toStdString());
    whenModal<QFileDialog>("fileDialog", choose(xml.filePath("b")));
    EXPECT_EQ(ui.SaveFileName("Save", "XML file (*.xml)|*.xml", ""),
              xml.filePath("b.xml").toStdString());

    whenModal<QFileDialog>("fileDialog", look);
    ui.OpenFileName("Open", "Comma separated values (*.csv)|*.csv");
    EXPECT_EQ(shown, QDir(csv.path()).canonicalPath());
    whenModal<QFileDialog>("fileDialog", look); // a cancelled question is not remembered
    ui.OpenFileName("Open", "XML file (*.xml)|*.xml");
    EXPECT_EQ(shown, QDir(xml.path()).canonicalPath());
    whenModal<QFileDialog>("fileDialog", [&](QFileDialog* dialog) {
        EXPECT_EQ(dialog->selectedFiles(), QStringList{csv.filePath("list.csv")});
        dialog->reject();
    });
    ui.SaveFileName("Save", "CSV file (*.csv)|*.csv", "list.csv");
    csv.remove(); // a folder that has gone is no place to begin at
    whenModal<QFileDialog>("fileDialog", look);
    ui.OpenFileName("Open", "CSV file (*.csv)|*.csv");
    EXPECT_FALSE(shown.isEmpty());
}

TEST(QtUiTest, DoEventsTurnsAtMostOnceInAWhile) {
    QtUi ui;
    QElapsedTimer elapsed;
    elapsed.start();
    int turns = 0;
    bool posted = false;
    while (elapsed.elapsed() < 300) {
        if (!posted) {
            posted = true;
            QMetaObject::invokeMethod(
                qApp,
                [&] {
                    ++turns;
                    posted = false;
                },
                Qt::QueuedConnection);
        }
        ui.DoEvents();
    }
    QCoreApplication::processEvents();
    EXPECT_GE(turns, 4);
    EXPECT_LE(turns, 300 / QtUi::kTurn + 2);
}

TEST(QtUiTest, WaitCursorNestsAndBoxesShowThePlainOne) {
    {
        QtUi ui;
        const WaitCursor outer(ui);
        {
            const WaitCursor inner(ui);
            EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
        }
        EXPECT_NE(QApplication::overrideCursor(), nullptr);
        whenModal<QMessageBox>("msgBox", [](QMessageBox* box) {
            EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::ArrowCursor);
            box->accept();
        });
        ui.MsgBox("a", BoxIcon::None, BoxButtons::OK, "t");
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    }
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(QtUiTest, HooksAreAsked) {
    QtUi ui;
    std::string status, popup;
    ui.SetStatus({[&](std::string_view text) { status = text; }, {}});
    ui.ShowStatus("Loading...");
    EXPECT_EQ(status, "Loading...");
    QtDialogs dialogs;
    dialogs.popup = [&](std::string_view title, std::string_view text) {
        popup = std::string(title) + ": " + std::string(text);
    };
    dialogs.warn = [](std::string_view, bool& never) { return never = true; };
    ui.SetDialogs(std::move(dialogs));
    ui.Popup("Help", "text");
    EXPECT_EQ(popup, "Help: text");
    bool never = false;
    EXPECT_TRUE(ui.Warn("sure?", never));
    EXPECT_TRUE(never);
    EXPECT_FALSE(ui.StartProgress("Working", ProgressKind::Plain)->Cancelled());
}

TEST(AppStyleTest, ButtonsOfDialogsHaveNoIcons) {
    AppStyle style;
    EXPECT_EQ(
        style.styleHint(QStyle::SH_DialogButtonBox_ButtonsHaveIcons, nullptr, nullptr, nullptr), 0);
}

/// Widest distance in lightness between the window and the pixels of a box to tick.
int outlineContrast(const QColor& window, const QColor& base) {
    AppStyle style;
    QStyleOptionButton option;
    option.rect = QRect(2, 2, 13, 13);
    option.state = QStyle::State_Enabled | QStyle::State_Off;
    option.palette.setColor(QPalette::Window, window);
    option.palette.setColor(QPalette::Base, base);
    QImage image(17, 17, QImage::Format_RGB32);
    image.fill(window);
    QPainter painter(&image);
    style.drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, &painter, nullptr);
    painter.end();
    int widest = 0;
    for (int x = 0; x < image.width(); ++x)
        widest =
            std::max(widest, std::abs(QColor(image.pixel(x, 8)).lightness() - window.lightness()));
    return widest;
}

TEST(AppStyleTest, BoxesToTickShowOnADarkWindow) {
    EXPECT_GT(outlineContrast(QColor(0x2b, 0x2d, 0x30), QColor(0x1e, 0x1f, 0x22)), 60);
}

TEST(AppStyleTest, SelectedIconsKeepTheirColours) {
    AppStyle style;
    const QStyleOption option;
    QPixmap red(4, 4);
    red.fill(Qt::red);
    const auto shown = [&](QIcon::Mode mode) {
        return style.generatedIconPixmap(mode, red, &option).toImage().pixelColor(1, 1);
    };
    EXPECT_EQ(shown(QIcon::Selected), QColor(Qt::red));
    EXPECT_NE(shown(QIcon::Disabled), QColor(Qt::red));
}

} // namespace
