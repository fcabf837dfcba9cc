#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QListWidget>
#include <QTest>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <fstream>

#include "console/TreeModel.h"
#include "push/basMBL.h"
#include "push/forms/NumberBox.h"
#include "push/forms/frmBrowserChannel.h"
#include "tests/push/PushWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

class frmBrowserChannelTest : public ::testing::Test {
protected:
    void open(const EntryID& list = {}) {
        form = std::make_unique<frmBrowserChannel>(*world.session, world.tree, list);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    void type(const char* name, const char* text) {
        at<QLineEdit>(name)->clear();
        QTest::keyClicks(at<QLineEdit>(name), text);
    }
    void press(const char* name) { QTest::mouseClick(at<QPushButton>(name), Qt::LeftButton); }
    void tick(const char* name) { at<QCheckBox>(name)->click(); }
    void fill() {
        type("txtName", "News");
        type("txtTitle", "Title");
        type("txtURL", "host/page");
    }
    RDOMessagePtr add(const std::map<std::string, Value>& keys = {}) {
        const auto list = GetMblFolder(*world.session)->Items()->Add(kMblClass);
        list->SetSubject("News");
        SetKey(*list, "MBL.Type", "Channel");
        SetKey(*list, "MBL.Title", "Title");
        SetKey(*list, "MBL.URL", "http://h/");
        for (const auto& [key, value] : keys)
            SetKey(*list, key, value);
        list->Save();
        return list;
    }
    RDOMessagePtr stored() { return GetMessage(*world.session, form->saved()); }
    int number(const char* name) { return at<NumberBox>(name)->value(); }
    std::string png(const char* name, int side, QColor color = Qt::red) {
        QImage image(side, side, QImage::Format_ARGB32);
        image.fill(color);
        const std::string path = world.folder() + "/" + name;
        EXPECT_TRUE(image.save(QString::fromStdString(path), "PNG"));
        return path;
    }
    std::string junk(const char* name, std::string_view bytes) {
        const std::string path = world.folder() + "/" + name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    PushWorld world;
    std::unique_ptr<frmBrowserChannel> form;
};

TEST_F(frmBrowserChannelTest, ANewListBeginsWithItsDefaults) {
    open();
    EXPECT_EQ(form->windowTitle(), "Mandatory Browser Channel");
    EXPECT_EQ(at<QWidget>("fraChannel")->property("title"), "Browser Channel");
    EXPECT_TRUE(at<QCheckBox>("chkEnable")->isChecked());
    EXPECT_FALSE(at<QCheckBox>("chkCache")->isChecked());
    EXPECT_EQ(number("udExpire"), 7);
    EXPECT_EQ(number("udDepth"), 0);
    EXPECT_EQ(number("udMaxContent"), 100);
    for (const char* name : {"udExpire", "chkChild", "udDepth", "udMaxContent"})
        EXPECT_FALSE(at<QWidget>(name)->isEnabled()) << name;
    EXPECT_EQ(at<QLabel>("lblLastPush")->text(), "");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtName"));
    EXPECT_EQ(at<QLineEdit>("txtURL")->toolTip(), "Double-click the URL to verify the link");
}

TEST_F(frmBrowserChannelTest, TheBoxesEnableTheirFields) {
    open();
    tick("chkCache");
    EXPECT_TRUE(at<QWidget>("udExpire")->isEnabled());
    EXPECT_TRUE(at<QWidget>("chkChild")->isEnabled());
    EXPECT_FALSE(at<QWidget>("udDepth")->isEnabled());
    tick("chkChild");
    EXPECT_TRUE(at<QWidget>("udDepth")->isEnabled());
    EXPECT_EQ(number("udDepth"), 1);
    EXPECT_EQ(number("udMaxContent"), 100);
    tick("chkCache");
    EXPECT_FALSE(at<QWidget>("udDepth")->isEnabled());
}

TEST_F(frmBrowserChannelTest, NumbersAreForcedWhenTheFieldIsLeft) {
    open();
    tick("chkCache");
    tick("chkChild");
    const auto left = [&](const char* field, const char* text) {
        auto* edit = at<QLineEdit>(field);
        edit->setFocus();
        type(field, text);
        QTest::keyClick(edit, Qt::Key_Tab);
        return edit->text();
    };
    EXPECT_EQ(left("txtExpire", "abc"), "30");
    EXPECT_EQ(left("txtExpire", "999"), "180");
    EXPECT_EQ(left("txtExpire", "-4"), "0");
    EXPECT_EQ(left("txtDepth", "x"), "0");
    EXPECT_EQ(left("txtDepth", "9"), "5");
    EXPECT_EQ(left("txtMaxContent", ""), "1");
    EXPECT_EQ(left("txtMaxContent", "5000"), "999");
    EXPECT_EQ(left("txtMaxContent", "0"), "1");
}

TEST_F(frmBrowserChannelTest, OKWritesTheKeys) {
    open();
    fill();
    type("txtDescription", "About");
    tick("chkEnable");
    tick("chkCache");
    tick("chkChild");
    type("txtExpire", "12");
    type("txtMaxContent", "x"); // still in the field when OK is chosen by its key
    world.ui.ExpectAddressBook({{{world.Entry("Sales")->ID(), "Sales"}}});
    press("cmdTarget");
    QTest::keyClick(at<QLineEdit>("txtMaxContent"), Qt::Key_Return);
    EXPECT_EQ(form->result(), QDialog::Accepted);
    ASSERT_FALSE(form->saved().empty());
    const RDOMessagePtr list = stored();
    EXPECT_EQ(list->Subject(), "News");
    EXPECT_EQ(KeyText(*list, "MBL.Description"), "About");
    EXPECT_TRUE(KeyFlag(*list, "EPS.Inactive"));
    EXPECT_TRUE(KeyFlag(*list, "MBL.Cache"));
    EXPECT_EQ(GetKey(*list, "MBL.Expire"), Value(int32_t{12}));
    EXPECT_EQ(GetKey(*list, "MBL.IncludeLinkDepth"), Value(int16_t{1}));
    EXPECT_EQ(GetKey(*list, "MBL.MaxContent"), Value(int16_t{1}));
    EXPECT_EQ(KeyText(*list, "MBL.Target"), "Sales");
    EXPECT_EQ(KeyText(*list, "MBL.Target.Email"), "sales@example.test");
    EXPECT_EQ(GetKey(*list, "MBL.Target.Count"), Value(int32_t{3}));
}

TEST_F(frmBrowserChannelTest, RefusalsPutTheFocusWhereItBelongs) {
    open();
    world.ui.Expect("You must provide a unique name for this Browser Channel Push");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtName"));
    type("txtName", "News");
    world.ui.Expect("You must enter the title of the channel that will appear on the handheld!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtTitle"));
    type("txtTitle", "T");
    world.ui.Expect("You must enter the URL of the channel content!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtURL"));
    add();
    world.ui.Expect("'News' is already in use.\r\nPlease provide a different name for this list!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget(), at<QLineEdit>("txtName"));
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmBrowserChannelTest, WithoutAChangeNothingIsWritten) {
    const RDOMessagePtr list = add({{"MBL.Cache", true}, {"MBL.Expire", int32_t{9}}});
    const Time before = GetMessage(*world.session, list->ID())->LastModificationTime();
    open(list->ID());
    EXPECT_EQ(number("udExpire"), 9);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(GetMessage(*world.session, list->ID())->LastModificationTime(), before);
    EXPECT_TRUE(GetKey(*GetMessage(*world.session, list->ID()), "MBL.ChannelID").empty());
    open();
    fill();
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmBrowserChannelTest, EveryFieldCountsAsAChange) {
    const RDOMessagePtr list = add({{"MBL.Cache", true},
                                    {"MBL.IncludeLinkDepth", int16_t{1}},
                                    {"MBL.MaxContent", int16_t{50}}});
    const std::function<void()> changes[] = {
        [&] { type("txtDescription", "D"); },
        [&] { tick("chkEnable"); },
        [&] { tick("chkChild"); },
        [&] { tick("chkCache"); },
        [&] { type("txtExpire", "3"); },
        [&] { at<NumberBox>("udDepth")->stepUp(); },
        [&] { type("txtMaxContent", "51"); },
    };
    for (const auto& change : changes) {
        open(list->ID());
        if (!at<QWidget>("udExpire")->isEnabled())
            tick("chkCache");
        change();
        press("cmdOK");
        EXPECT_EQ(form->saved(), list->ID());
    }
}

TEST_F(frmBrowserChannelTest, AnIconIsShownAndSaved) {
    world.SetAgent("TARN.URL", "http://tarn/");
    open();
    fill();
    world.ui.ExpectOpenFile(png("unread.png", 32));
    press("cmdBrowse_0");
    EXPECT_EQ(world.ui.lastFilter(), "PNG file (*.png)|*.png");
    EXPECT_EQ(at<QLabel>("picIcon_0")->pixmap().size(), QSize(32, 32));
    EXPECT_TRUE(at<QLabel>("picIcon_1")->pixmap().isNull());
    world.ui.ExpectOpenFile(png("read.png", 800, Qt::blue)); // is drawn smaller
    press("cmdBrowse_1");
    EXPECT_LT(at<QLabel>("picIcon_1")->pixmap().width(), 200);
    EXPECT_EQ(at<QLabel>("picIcon_1")->pixmap().toImage().pixelColor(3, 3), QColor(Qt::blue));
    press("cmdOK");
    ASSERT_FALSE(form->saved().empty());
    EXPECT_EQ(stored()->Attachments()->Count(), 2);
    open(form->saved());
    EXPECT_EQ(at<QLabel>("picIcon_0")->pixmap().size(), QSize(32, 32));
    EXPECT_FALSE(at<QLabel>("picIcon_1")->pixmap().isNull());
}

TEST_F(frmBrowserChannelTest, WhatIsNoPictureIsRefused) {
    open();
    const std::string gif = junk("a.png", "GIF89a");
    const std::string cut = junk("b.png", std::string_view("\x89PNG\r\n\x1A\nrest", 12));
    for (const std::string& path : {gif, cut, world.folder() + "/none.png"}) {
        world.ui.ExpectOpenFile(path);
        world.ui.Expect("");
        press("cmdBrowse_0");
        EXPECT_TRUE(world.ui.boxes().back().text.starts_with("'" + path +
                                                             "' can't be used as an icon.\r\n"))
            << world.ui.boxes().back().text;
        EXPECT_TRUE(at<QLabel>("picIcon_0")->pixmap().isNull());
    }
    EXPECT_TRUE(world.logHas("Error creating bitmap from " + gif +
                             " in AxImage:The file is no PNG picture."));
    EXPECT_TRUE(world.logHas("Error loading bitmap from " + cut + " to picture box:"));
    world.ui.ExpectOpenFile(std::nullopt);
    press("cmdBrowse_0");
}

TEST_F(frmBrowserChannelTest, AnIconWithoutAnEngineLeadsToItsDialog) {
    open();
    fill();
    world.ui.ExpectOpenFile(png("read.png", 16));
    press("cmdBrowse_1");
    world.ui.Expect("You will need to configure the zandrel Tarn Mobile Engine\r\nto be able to "
                    "push the icons for this browser channel.\r\n\r\nDo you want to do that now?",
                    BoxAnswer::Yes);
    bool shown = false;
    whenModal("frmTarnProps", [&](QWidget* window) {
        shown = true;
        window->close();
    });
    press("cmdOK");
    EXPECT_TRUE(shown);
    EXPECT_FALSE(form->saved().empty());
}

TEST_F(frmBrowserChannelTest, ThePreviewShowsTheHandhelds) {
    open(add({{"MBL.Target", "Sales"}, {"MBL.Target.Email", "sales@example.test"}})->ID());
    EXPECT_EQ(at<QPushButton>("cmdPreview")->toolTip(),
              "Fully expand distribution lists to show all members");
    bool shown = false;
    whenModal("frmDetails", [&](QWidget* window) {
        shown = true;
        EXPECT_EQ(window->windowTitle(), "Push Targets");
        EXPECT_EQ(control<QLabel>(window, "lblCount")->text(), "Count: 3");
        const QAbstractItemModel* model = control<QTreeView>(window, "lvDetail")->model();
        QStringList header, rows;
        for (int column = 0; column < model->columnCount(); ++column)
            header << model->headerData(column, Qt::Horizontal).toString();
        EXPECT_EQ(header.join('|'), "Name|E-mail|PIN|BES Server|MDS Server");
        for (int row = 0; row < model->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model->columnCount(); ++column)
                cells << model->index(row, column).data().toString();
            rows << cells.join('|');
        }
        rows.sort();
        EXPECT_EQ(rows.join('\n'), "Alice|alice@example.test|PINALICE|BES1|mds:8080\n"
                                   "Obrien|obrien@example.test|PINOBRIEN|BES9|\n"
                                   "bob@example.test|bob@example.test|||");
        window->close();
    });
    press("cmdPreview");
    EXPECT_TRUE(shown);
}

TEST_F(frmBrowserChannelTest, AHandheldWithoutANameIsMarked) {
    world.AddHandheld("PINBOB", "bob@example.test", "", "BES1");
    open(add({{"MBL.Target", "Bob"}, {"MBL.Target.Email", "bob@example.test"}})->ID());
    QString first;
    whenModal("frmDetails", [&](QWidget* window) {
        first = control<QTreeView>(window, "lvDetail")->model()->index(0, 0).data().toString();
        window->close();
    });
    press("cmdPreview");
    EXPECT_EQ(first, "* Invalid target: missing property");
}

TEST_F(frmBrowserChannelTest, DetailsOfTheLastPush) {
    const RDOMessagePtr list = add({{"MBL.LastPushDate", world.clock.now()}});
    open(list->ID());
    const QString last = at<QLabel>("lblLastPush")->text();
    EXPECT_TRUE(last.startsWith("Last Push: ")) << last.toStdString();
    world.ui.Expect("No details are available");
    press("cmdDetails");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    list->SetBody("<channel><targets><target pin='P' email='e' type='t' date='d' "
                  "result='r'/></targets></channel>");
    list->Save();
    open(list->ID());
    bool shown = false;
    whenModal("frmChannelDetails", [&](QWidget* window) {
        shown = true;
        EXPECT_EQ(window->windowTitle(), "News - Last Push " + last.mid(11));
        auto* tree = control<QTreeWidget>(window, "tvTargets");
        EXPECT_EQ(tree->topLevelItem(0)->text(0), "Targets");
        EXPECT_EQ(tree->topLevelItem(0)->child(0)->child(0)->text(0), "P e");
        EXPECT_TRUE(tree->topLevelItem(0)->child(0)->isExpanded());
        EXPECT_EQ(control<QTreeWidget>(window, "tvContent")->topLevelItem(0)->text(0),
                  "No content data");
        window->close();
    });
    press("cmdDetails");
    EXPECT_TRUE(shown);
}

TEST_F(frmBrowserChannelTest, DetailsNeedAPush) {
    open(add()->ID());
    world.ui.Expect("No details are available");
    press("cmdDetails");
}

TEST_F(frmBrowserChannelTest, ADoubleClickOpensTheAddress) {
    open();
    QTest::mouseDClick(at<QLineEdit>("txtURL"), Qt::LeftButton);
    EXPECT_TRUE(world.shell.urls.empty());
    type("txtURL", "host/page");
    QTest::mouseDClick(at<QLineEdit>("txtURL"), Qt::LeftButton);
    EXPECT_EQ(world.shell.urls, std::vector<std::string>{"http://host/page"});
}

TEST_F(frmBrowserChannelTest, EveryHelpImageHasItsText) {
    open();
    for (int i = 0; i < 7; ++i)
        QTest::mouseClick(at<QToolButton>(("imgPopup" + std::to_string(i)).c_str()),
                          Qt::LeftButton);
    const auto& texts = world.ui.popups();
    ASSERT_EQ(texts.size(), 7U);
    EXPECT_TRUE(texts[0].starts_with("The list name is only displayed"));
    EXPECT_EQ(texts[1], "The URL is the source of the channel content.");
    EXPECT_TRUE(texts[6].starts_with("The handheld will display this icon after"));
}

TEST_F(frmBrowserChannelTest, AListThatIsGoneCannotBeSaved) {
    const RDOMessagePtr list = add();
    list->Delete();
    open(list->ID());
    EXPECT_FALSE(at<QPushButton>("cmdOK")->isEnabled());
}

} // namespace
