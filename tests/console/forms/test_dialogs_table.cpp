// What holds for every dialog of this folder, checked against tables.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QStackedWidget>
#include <QTest>

#include "console/basUsers.h"
#include "console/forms/Theme.h"
#include "console/forms/frmAbout.h"
#include "console/forms/frmAddressBook.h"
#include "console/forms/frmDetails.h"
#include "console/forms/frmFindUser.h"
#include "console/forms/frmFirstRun.h"
#include "console/forms/frmFolderPicker.h"
#include "console/forms/frmLogon.h"
#include "console/forms/frmPopup.h"
#include "console/forms/frmProgress.h"
#include "console/forms/frmProgressUser.h"
#include "console/forms/frmWarn.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Form = std::unique_ptr<QDialog>;

constexpr QSize kScreen(1024, 740);

// --- The dialogs, filled as a person meets them

void fillList(ListModel& list) {
    list.SetColumns({{"Name", "name"}, {"E-mail", "email"}, {"Count", "intcount"}});
    for (int i = 1; i <= 12; ++i) {
        ListRow row;
        row.icon = i % 4 ? "imgUser" : "imgDL";
        row.ghosted = i == 3;
        row.red = i == 5;
        row.bold = i == 7;
        const std::string number = std::to_string(i);
        row.texts = {"Person " + number, "person" + number + "@example.test", number};
        list.Add(std::move(row));
    }
}

Form makeProgress(World&) {
    auto form = std::make_unique<frmProgress>("Adding Master Contacts");
    form->SetText("Expanding All Employees of the Northern Region and Their Assistants");
    return form;
}

Form makeProgressUser(World&) {
    auto form = std::make_unique<frmProgressUser>("Users");
    form->SetText("Retrieving user data...");
    form->SetValue(1200, 2000);
    return form;
}

Form makePopup(World&) {
    return std::make_unique<frmPopup>(
        "Master Contact: Access Control List",
        "Only the people of this list see the contact's private fields.\n\nA list stands for all "
        "its members, and for those of the lists within it.");
}

Form makeWarn(World&) {
    return std::make_unique<frmWarn>(
        "Allowing a blank or null value to overwrite a target field \nmay affect a large number of "
        "contacts!\n\nEnabling this setting may also remove valid information \nadded by your "
        "users that is missing from the EPS data.\nPlease contact zandrel Technical Support if "
        "you need more information.\n\nDo you want to continue?");
}

Form makeAbout(World&) { return std::make_unique<frmAbout>("4.0.0", "1.0"); }

template <class Details>
Form makeDetails(World&) {
    auto form = std::make_unique<Details>();
    fillList(form->list());
    form->SetCount("Count: 12");
    form->SetWarning("Members without an address are left out.");
    return form;
}

template <bool one>
Form makeAddressBook(World& world) {
    const auto entry = world.Entry("alice");
    frmAddressBook::Options options{{{entry->ID(), entry->Name()}}, "Select Users", one, false};
    return std::make_unique<frmAddressBook>(*world.session->rdo, options);
}

Form makeLogon(World& world) { return std::make_unique<frmLogon>(*world.session); }

Form makeFolderPicker(World& world) {
    FolderPickOptions options;
    options.allowContacts = true;
    options.startPath = "\\\\Public Folders\\All Public Folders\\Shared\\R & D";
    options.hint = "Select the folder that holds the contacts.";
    return std::make_unique<frmFolderPicker>(*world.session->rdo, world.session->log, options);
}

Form makeFirstRun(World& world) { return std::make_unique<frmFirstRun>(*world.session); }

Form makeFindUser(World& world) {
    world.AddUserRecord("alice@example.test", "Alice Adams");
    world.AddUserRecord("obrien@example.test", "Séan O'Brien");
    LoadUsers(*world.session);
    auto form = std::make_unique<frmFindUser>(*world.session, nullptr);
    form->findChild<QLineEdit*>("txtName")->setText("a");
    form->findChild<QPushButton*>("cmdQuery")->click();
    return form;
}

struct Control {
    const char* name;
    const char* className;
    const char* caption; // nullptr: it has none
};

struct Dialog {
    const char* name;
    const char* title;
    Form (*make)(World&);
    std::vector<Control> controls;
    /// Letters that stand twice in one view, as the captions are given.
    const char* knownClashes = "";
    const char* variant = "";
};

const Control kOk{"cmdOK", "QPushButton", "&OK"};
const Control kCancel{"cmdCancel", "QPushButton", "&Cancel"};

const std::vector<Dialog> kDialogs = {
    {"frmProgress",
     "Adding Master Contacts",
     makeProgress,
     {{"lblProgress", "QLabel", nullptr}, {"CancelButton", "QPushButton", "&Cancel"}}},
    {"frmProgressUser",
     "Users",
     makeProgressUser,
     {{"lblProgress", "QLabel", nullptr},
      {"ProgressBar1", "QProgressBar", nullptr},
      {"CancelButton", "QPushButton", "&Cancel"}}},
    {"frmPopup",
     "Master Contact: Access Control List",
     makePopup,
     {{"txtTip", "QPlainTextEdit", nullptr}, {"cmdClose", "QPushButton", "Close"}}},
    {"frmWarn",
     "Warning",
     makeWarn,
     {{"lblWarn", "QLabel", nullptr},
      {"chkNoWarn", "QCheckBox", "&Do not warn me about this again"},
      kOk,
      kCancel}},
    {"frmAbout",
     "About zandrelAgent Administrator",
     makeAbout,
     {{"lblName", "QLabel", "zandrelAgent Administrator"},
      {"lblVersion", "QLabel", "Version: 4.0.0"},
      {"lblStoreVersion", "QLabel", "Store library version: 1.0"},
      {"lblLicense", "QLabel", nullptr},
      kOk}},
    {"frmDetails",
     "Details",
     makeDetails<frmDetails>,
     {{"lvDetail", "QTreeView", nullptr},
      {"lblCount", "QLabel", "Count: 12"},
      {"lblWarning", "QLabel", "Members without an address are left out."},
      {"cmdClose", "QPushButton", "&Close"}}},
    {"frmDetailsCCL",
     "Details",
     makeDetails<frmDetailsCCL>,
     {{"lvDetail", "QTreeView", nullptr},
      {"lblResult", "QLabel", "Count: 12"},
      {"cmdClose", "QPushButton", "&Close"}}},
    {"frmAddressBook",
     "Select Users",
     makeAddressBook<false>,
     {{"lblSearch", "QLabel", "&Search"},
      {"txtSearch", "QLineEdit", nullptr},
      {"lblNames", "QLabel", "&Names"},
      {"lvNames", "QTreeView", nullptr},
      {"cmdAdd", "QPushButton", "&Add >"},
      {"cmdRemove", "QPushButton", "< &Remove"},
      {"lblChosen", "QLabel", "C&hosen recipients"},
      {"lvChosen", "QListWidget", nullptr},
      kOk,
      kCancel}},
    {"frmAddressBook",
     "Select Users",
     makeAddressBook<true>,
     {{"txtSearch", "QLineEdit", nullptr}, {"lvNames", "QTreeView", nullptr}, kOk, kCancel},
     "",
     "One"},
    {"frmLogon",
     "Mailbox Logon",
     makeLogon,
     {{"lblHint", "QLabel", "Either supply Server Name and Alias, or select a profile"},
      {"lblServer", "QLabel", "&Server Name"},
      {"txtServer", "QLineEdit", nullptr},
      {"lblAlias", "QLabel", "&Mailbox Alias"},
      {"txtAlias", "QLineEdit", nullptr},
      {"chkProfile", "QCheckBox", "Use &Profile"},
      {"cboProfile", "QComboBox", nullptr},
      {"chkSuppress", "QCheckBox", "&Suppress security prompts"},
      kOk,
      kCancel},
     "S"},
    {"frmFolderPicker",
     "Folder Selector",
     makeFolderPicker,
     {{"lblHint", "QLabel", "Select the folder that holds the contacts."},
      {"tvFolders", "QTreeWidget", nullptr},
      kOk,
      kCancel}},
    {"frmFirstRun",
     "Initialize zandrelAgent",
     makeFirstRun,
     {{"fraWizard", "QStackedWidget", nullptr},
      {"lblMailboxText", "QLabel", "Specify the mailbox that will be used by the zandrelAgent"},
      {"lblAlias", "QLabel", "&Account alias"},
      {"txtAlias", "QLineEdit", nullptr},
      {"lblExServer", "QLabel", "E&xchange Server"},
      {"txtExServer", "QLineEdit", nullptr},
      {"lblSMTP", "QLabel", nullptr},
      {"cmdSelectAlias", "QPushButton", "&Select..."},
      {"lblNote", "QLabel",
       "NOTE: Do NOT use a personal or user mailbox for the zandrelAgent server. The BESadmin "
       "mailbox, or a dedicated zandrelAgent mailbox is strongly recommended."},
      {"lblFirstName", "QLabel", "&First Name"},
      {"txtFirstName", "QLineEdit", nullptr},
      {"lblLastName", "QLabel", "&Last Name"},
      {"txtLastName", "QLineEdit", nullptr},
      {"lblPrimaryEmail", "QLabel", "&Email Address"},
      {"txtPrimaryEmail", "QLineEdit", nullptr},
      {"lblPhone", "QLabel", "&Phone"},
      {"txtPhone", "QLineEdit", nullptr},
      {"lblCompany", "QLabel", "Co&mpany Name"},
      {"txtCompany", "QLineEdit", nullptr},
      {"cmdSelectContact", "QPushButton", "&Select..."},
      {"lblContactText", "QLabel",
       "You can add additional contacts from the zandrelAgent Administrator after setup "
       "completes"},
      {"chkStartService", "QCheckBox", "S&tart the zandrelAgent service"},
      {"lblFinishTask", "QLabel", nullptr},
      {"pb1", "QProgressBar", nullptr},
      {"cmdBack", "QPushButton", "< &Back"},
      {"cmdNext", "QPushButton", "&Next >"},
      {"cmdFinish", "QPushButton", "F&inish"},
      kCancel}},
    {"frmFindUser",
     "Find User",
     makeFindUser,
     {{"lblName", "QLabel", "Display &Name"},
      {"cboName", "QComboBox", nullptr},
      {"txtName", "QLineEdit", nullptr},
      {"lblEmail", "QLabel", "&Email"},
      {"cboEmail", "QComboBox", nullptr},
      {"txtEmail", "QLineEdit", nullptr},
      {"cmdQuery", "QPushButton", "&Find"},
      {"lvUsers", "QTreeView", nullptr},
      {"cmdExit", "QPushButton", "&Close"}}},
};

void PrintTo(const Dialog& dialog, std::ostream* out) { *out << dialog.name; }

// --- What is looked at

QString captionOf(const QWidget& widget) {
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return label->text();
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    return button ? button->text() : QString();
}

QChar mnemonicOf(const QWidget& widget) {
    const auto* label = qobject_cast<const QLabel*>(&widget);
    if (label && !label->buddy())
        return {}; // without a buddy it shows an ampersand and takes no key
    const QString text = captionOf(widget).replace("&&", "");
    const qsizetype at = text.indexOf('&');
    return at < 0 || at + 1 >= text.size() ? QChar() : text[at + 1].toUpper();
}

/// Controls of the form itself, without the inner widgets of Qt's controls.
std::vector<QWidget*> controlsOf(const QDialog& form) {
    std::vector<QWidget*> controls;
    for (QWidget* widget : form.findChildren<QWidget*>())
        if (!widget->objectName().isEmpty() && !widget->objectName().startsWith("qt_"))
            controls.push_back(widget);
    return controls;
}

bool takesTab(const QWidget& widget) { return (widget.focusPolicy() & Qt::TabFocus) != 0; }

std::vector<QWidget*> tabChain(QDialog& form) {
    std::vector<QWidget*> chain;
    for (QWidget* next = form.nextInFocusChain(); next && next != &form;
         next = next->nextInFocusChain())
        if (takesTab(*next) && !next->focusProxy() && !next->objectName().startsWith("qt_") &&
            !next->objectName().isEmpty())
            chain.push_back(next);
    return chain;
}

QRect placeIn(const QDialog& form, const QWidget& widget) {
    return {widget.mapTo(&form, QPoint()), widget.size()};
}

/// Lines downwards, left to right within one; a block beside another comes after it.
bool readsAfter(const QRect& first, const QRect& second) {
    if (second.left() >= first.right())
        return true;
    return second.top() >= first.bottom();
}

int pagesOf(const QDialog& form) {
    const auto* pages = form.findChild<QStackedWidget*>();
    return pages ? pages->count() : 1;
}

/// Goes on to that page of a wizard, as the person does.
void showPage(QDialog& form, int page) {
    auto* pages = form.findChild<QStackedWidget*>();
    if (pages && page == 2)
        form.findChild<QLineEdit*>("txtPrimaryEmail")->setText("alice@example.test");
    if (pages && page > 0)
        form.findChild<QPushButton*>("cmdNext")->click();
    EXPECT_TRUE(!pages || pages->currentIndex() == page) << page;
    QCoreApplication::processEvents();
}

class DialogsTable : public ::testing::TestWithParam<Dialog> {
protected:
    void SetUp() override { open(); }
    void open() {
        form.reset();
        world = std::make_unique<World>();
        world->LogOnConfigured();
        world->session->ExServer = "MAIL01";
        world->session->ExAlias = "agentbox";
        form = GetParam().make(*world);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
        QTest::qWait(30); // what a form loads after it has been painted
    }

    std::unique_ptr<World> world;
    Form form;
};

TEST_P(DialogsTable, NamesClassesAndCaptions) {
    EXPECT_STREQ(form->objectName().toUtf8(), GetParam().name);
    EXPECT_STREQ(form->windowTitle().toUtf8(), GetParam().title);
    for (const Control& row : GetParam().controls) {
        const QWidget* widget = form->findChild<QWidget*>(row.name);
        ASSERT_NE(widget, nullptr) << row.name;
        EXPECT_TRUE(widget->inherits(row.className)) << row.name;
        if (row.caption) {
            EXPECT_STREQ(captionOf(*widget).toUtf8(), row.caption) << row.name;
        }
    }
}

TEST_P(DialogsTable, LabelsWithAMnemonicHaveABuddy) {
    for (const QLabel* label : form->findChildren<QLabel*>())
        EXPECT_TRUE(label->buddy() || !label->text().replace("&&", "").contains('&'))
            << label->objectName().toStdString();
}

TEST_P(DialogsTable, TabGoesThroughAllInReadingOrder) {
    const auto chain = tabChain(*form);
    for (QWidget* widget : controlsOf(*form))
        EXPECT_TRUE(!takesTab(*widget) || widget->focusProxy() ||
                    std::ranges::find(chain, widget) != chain.end())
            << widget->objectName().toStdString();
    for (int page = 0; page < pagesOf(*form); ++page) {
        showPage(*form, page);
        const QWidget* before = nullptr;
        for (const QWidget* widget : chain) {
            if (!widget->isVisibleTo(form.get()))
                continue;
            EXPECT_TRUE(!before || readsAfter(placeIn(*form, *before), placeIn(*form, *widget)))
                << before->objectName().toStdString() << " before "
                << widget->objectName().toStdString();
            before = widget;
        }
    }
}

TEST_P(DialogsTable, ControlsHaveAccessibleNames) {
    for (QWidget* widget : controlsOf(*form)) {
        if (!takesTab(*widget) && !widget->inherits("QProgressBar"))
            continue;
        QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(reader, nullptr) << widget->objectName().toStdString();
        const QString name = reader->text(QAccessible::Name);
        EXPECT_FALSE(name.isEmpty()) << widget->objectName().toStdString();
        EXPECT_FALSE(name.contains('&')) << name.toStdString();
    }
}

TEST_P(DialogsTable, MnemonicsClashOnlyWhereKnown) {
    for (int page = 0; page < pagesOf(*form); ++page) {
        showPage(*form, page);
        QString seen, clashes;
        for (const QWidget* widget : controlsOf(*form)) {
            const QChar key = mnemonicOf(*widget);
            if (key.isNull() || !widget->isVisibleTo(form.get()))
                continue;
            (seen.contains(key) ? clashes : seen) += key;
        }
        EXPECT_STREQ(clashes.toUtf8(), GetParam().knownClashes) << "page " << page;
    }
}

TEST_P(DialogsTable, OneButtonIsTheDefault) {
    int defaults = 0;
    for (const QPushButton* button : form->findChildren<QPushButton*>())
        if (button->isDefault())
            ++defaults;
    EXPECT_EQ(defaults, 1);
}

/// Every control shows its whole text, also where the person's font is large, and the form still
/// fits a small screen.
TEST_P(DialogsTable, FitsAndNothingIsCutOff) {
    const QFont font = QApplication::font();
    for (const double scale : {1.0, 1.5}) {
        QFont scaled = font;
        scaled.setPointSizeF(font.pointSizeF() * scale);
        QApplication::setFont(scaled);
        open();
        for (int page = 0; page < pagesOf(*form); ++page) {
            showPage(*form, page);
            if (scale == 1.0) {
                EXPECT_LE(form->width(), kScreen.width());
                EXPECT_LE(form->height(), kScreen.height());
            }
            EXPECT_LE(form->minimumSizeHint().width(), kScreen.width());
            EXPECT_LE(form->minimumSizeHint().height(), kScreen.height());
            for (const QWidget* widget : controlsOf(*form)) {
                if (!widget->isVisibleTo(form.get()) || captionOf(*widget).isEmpty())
                    continue;
                const auto* label = qobject_cast<const QLabel*>(widget);
                const int height = label && label->wordWrap()
                                       ? label->heightForWidth(label->width())
                                       : widget->sizeHint().height();
                EXPECT_GE(widget->height(), height)
                    << widget->objectName().toStdString() << " at " << scale;
                EXPECT_GE(widget->width(), widget->minimumSizeHint().width())
                    << widget->objectName().toStdString() << " at " << scale;
            }
        }
    }
    QApplication::setFont(font);
}

/// Colours come from the palette: in a dark one no control keeps a light ground.
TEST_P(DialogsTable, FollowsADarkPalette) {
    const QPalette palette = QApplication::palette();
    QApplication::setPalette(Theme::PaletteOf(true));
    open();
    const QImage shot = form->grab().toImage();
    qint64 light = 0;
    for (int y = 0; y < shot.height(); y += 3)
        for (int x = 0; x < shot.width(); x += 3)
            light += qGray(shot.pixel(x, y)) > 200;
    const qint64 looked = qint64{shot.width() / 3} * (shot.height() / 3);
    EXPECT_LT(light * 10, looked) << "a tenth of it is light";
    form.reset();
    QApplication::setPalette(palette);
}

/// With KR_SHOTS set, a picture of every dialog goes into that folder; with KR_SHOTS_DARK, in the
/// dark palette.
TEST_P(DialogsTable, Picture) {
    const QString folder = qEnvironmentVariable("KR_SHOTS");
    const QPalette palette = QApplication::palette();
    if (qEnvironmentVariableIsSet("KR_SHOTS_DARK")) {
        QApplication::setPalette(Theme::PaletteOf(true));
        open();
    }
    for (int page = 0; page < pagesOf(*form); ++page) {
        showPage(*form, page);
        const QPixmap shot = form->grab();
        EXPECT_FALSE(shot.isNull());
        const QString file =
            QString("%1/%2%3-%4.png").arg(folder, GetParam().name, GetParam().variant).arg(page);
        EXPECT_TRUE(folder.isEmpty() || shot.save(file)) << file.toStdString();
    }
    form.reset();
    QApplication::setPalette(palette);
}

INSTANTIATE_TEST_SUITE_P(Forms, DialogsTable, ::testing::ValuesIn(kDialogs),
                         [](const ::testing::TestParamInfo<Dialog>& dialog) {
                             return std::string(dialog.param.name) + dialog.param.variant;
                         });

} // namespace
