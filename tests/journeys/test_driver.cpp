#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace {

using namespace kr::journeys;

TEST(JourneyScriptTest, SplitsWordsAndQuotes) {
    EXPECT_EQ(SplitWords("fill txtName \"Anna O'Neill\""),
              (Words{"fill", "txtName", "Anna O'Neill"}));
    EXPECT_EQ(SplitWords("  a\t\"\"  \"x\\n\\\"y\\\\\"  # c \"d"), (Words{"a", "", "x\n\"y\\"}));
    EXPECT_EQ(SplitWords("# only a comment"), Words{});
    EXPECT_EQ(SplitWords("rows #2 #last #"), (Words{"rows", "#2", "#last"}));
    EXPECT_THROW(SplitWords("fill \"open"), std::runtime_error);
}

TEST(JourneyScriptTest, KeepsLineNumbers) {
    const auto lines = ParseScript("s", "\n# c\nfirst\n\nsecond word\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].where(), "s:3");
    EXPECT_EQ(lines[1].words, (Words{"second", "word"}));
}

// A form with a field and a button that opens a box; stands in for the main form.
class Playground : public QDialog {
public:
    Playground() {
        setObjectName("frmFleetMain");
        auto* layout = new QVBoxLayout(this);
        auto* field = new QLineEdit(this);
        field->setObjectName("txtName");
        layout->addWidget(field);
        m_button = new QPushButton("&Ask", this);
        m_button->setObjectName("cmdAsk");
        layout->addWidget(m_button);
        connect(m_button, &QPushButton::clicked, this, [this, field] {
            const auto said = QMessageBox::question(this, "Title", "Sure, " + field->text() + "?");
            field->setText(said == QMessageBox::Yes ? "yes" : "no");
        });
        show();
    }
    void enableLater() {
        m_button->setEnabled(false);
        QTimer::singleShot(100, this, [this] { m_button->setEnabled(true); });
    }

private:
    QPushButton* m_button;
};

class JourneyDriverTest : public ::testing::Test {
protected:
    // The exit code of the script, run against the form.
    int run(const std::string& script, int timeout = 3000) {
        Driver driver(ParseScript("test", script));
        driver.SetTimeout(timeout);
        AddInputCommands(driver);
        AddPrintCommands(driver);
        World world;
        Peers peers;
        AddExpectCommands(driver, world, peers);
        int result = -1;
        QEventLoop loop;
        driver.onFinished = [&](int code) {
            result = code;
            // ends boxes that a failed script leaves open
            for (QWidget* top : QApplication::topLevelWidgets())
                if (top->isModal())
                    top->close();
            loop.quit();
        };
        driver.Begin();
        loop.exec();
        return result;
    }
    Playground form;
};

TEST_F(JourneyDriverTest, FillsPressesAndAnswers) {
    EXPECT_EQ(run("fill txtName \"Zoë\"\n"
                  "press cmdAsk\n"
                  "expect box \"Sure, Zoë?\"\n"
                  "answer Yes\n"
                  "expect value txtName yes\n"),
              0);
}

TEST_F(JourneyDriverTest, UnexpectedBoxFails) {
    EXPECT_EQ(run("press cmdAsk\n"
                  "fill txtName x\n"),
              1);
    EXPECT_EQ(run("press cmdAsk\n"), 1);
}

TEST_F(JourneyDriverTest, ExpectationsWaitAndGiveUp) {
    form.enableLater();
    EXPECT_EQ(run("expect disabled cmdAsk\nexpect enabled cmdAsk\n"), 0);
    EXPECT_EQ(run("expect value txtName never\n", 100), 1);
}

TEST_F(JourneyDriverTest, RefusesWhatAPersonCouldNotDo) {
    form.enableLater();
    EXPECT_EQ(run("press cmdAsk\n"), 1);
    EXPECT_EQ(run("press cmdGone\n"), 1);
    EXPECT_EQ(run("answer Yes\n"), 1);
    EXPECT_EQ(run("burn everything\n"), 1);
    EXPECT_EQ(run("fill txtName\n"), 1);
}

} // namespace
