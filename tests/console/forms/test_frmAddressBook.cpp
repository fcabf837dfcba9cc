#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QListWidget>
#include <QTest>
#include <QTreeView>

#include "console/forms/AddressRows.h"
#include "console/forms/DialogHooks.h"
#include "console/forms/frmAddressBook.h"
#include "core/Text.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Names = std::vector<std::string>;

class frmAddressBookTest : public ::testing::Test {
protected:
    frmAddressBookTest() { world.LogOn(); }
    RDOSession& session() { return *world.session->rdo; }
    PickedRecipient picked(std::string_view name) {
        const auto entry = world.Entry(name);
        return {entry->ID(), entry->Name()};
    }
    /// Shows the dialog, plays the person, gives the names that come back.
    template <class F>
    Names choose(F play, std::vector<PickedRecipient> chosen = {}, bool one = false,
                 bool force = false) {
        whenModal("frmAddressBook", play);
        answer = ShowAddressBook(session(), chosen, "Select Users", one, force, {}, nullptr);
        Names names;
        for (const PickedRecipient& recipient : answer)
            names.push_back(recipient.name);
        return names;
    }
    static QStringList shownNames(const QWidget* form) {
        QStringList names;
        const auto* model = control<QTreeView>(form, "lvNames")->model();
        for (int i = 0; i < model->rowCount(); ++i)
            names << model->index(i, 0).data().toString();
        return names;
    }
    static void type(QWidget* form, const char* text) {
        auto* box = control<QLineEdit>(form, "txtSearch");
        box->setFocus();
        QTest::keyClicks(box, text);
    }
    static void press(QWidget* form, const char* button) {
        QTest::mouseClick(control<QPushButton>(form, button), Qt::LeftButton);
    }

    World world;
    std::vector<PickedRecipient> answer;
};

TEST_F(frmAddressBookTest, ListsTheWholeBookByName) {
    const Names names = choose([](QWidget* form) {
        EXPECT_EQ(form->windowTitle(), "Select Users");
        const QStringList shown = shownNames(form);
        EXPECT_TRUE(shown.contains("Alice Adams"));
        EXPECT_TRUE(shown.contains("Sales"));
        EXPECT_TRUE(shown.contains("Carol Contact"));
        EXPECT_TRUE(std::ranges::is_sorted(shown, [](const QString& a, const QString& b) {
            return a.compare(b, Qt::CaseInsensitive) < 0;
        }));
        EXPECT_EQ(form->focusWidget()->objectName(), "txtSearch");
        press(form, "cmdOK");
    });
    EXPECT_TRUE(names.empty());
}

TEST_F(frmAddressBookTest, SearchesWhileTyping) {
    choose(
        [](QWidget* form) {
            type(form, "ali");
            EXPECT_TRUE(
                QTest::qWaitFor([form] { return shownNames(form) == QStringList{"Alice Adams"}; }));
            control<QLineEdit>(form, "txtSearch")->clear();
            type(form, "obrien@");
            EXPECT_TRUE(QTest::qWaitFor(
                [form] { return shownNames(form) == QStringList{"Séan O'Brien"}; }));
            press(form, "cmdOK");
        },
        {picked("bob")});
    EXPECT_EQ(answer.size(), 1U) << "what was chosen before stays";
}

TEST_F(frmAddressBookTest, AddsAndRemovesByKeyboardAlone) {
    const Names names = choose([](QWidget* form) {
        auto* search = control<QLineEdit>(form, "txtSearch");
        type(form, "alice");
        QTest::keyClick(search, Qt::Key_Return); // at once, without waiting for the list
        EXPECT_TRUE(search->text().isEmpty());
        type(form, "sales");
        QTest::keyClick(search, Qt::Key_Return);
        type(form, "bob");
        QTest::keyClick(search, Qt::Key_Return);
        auto* chosen = control<QListWidget>(form, "lvChosen");
        ASSERT_EQ(chosen->count(), 3);
        chosen->setFocus();
        chosen->setCurrentRow(1);
        QTest::keyClick(chosen, Qt::Key_Delete);
        EXPECT_EQ(chosen->count(), 2);
        search->setFocus();
        QTest::keyClick(search, Qt::Key_Return); // nothing typed: OK
        EXPECT_FALSE(form->isVisible());
    });
    EXPECT_EQ(names, (Names{"Alice Adams", "Bob Baker"}));
    EXPECT_EQ(answer[0].id, picked("alice").id);
}

TEST_F(frmAddressBookTest, AddsTheSelectedOnesOnce) {
    const Names names = choose(
        [](QWidget* form) {
            auto* list = control<QTreeView>(form, "lvNames");
            EXPECT_FALSE(control<QPushButton>(form, "cmdAdd")->isEnabled());
            list->selectAll();
            press(form, "cmdAdd");
            const int count = control<QListWidget>(form, "lvChosen")->count();
            EXPECT_EQ(count, list->model()->rowCount());
            list->selectAll();
            press(form, "cmdAdd");
            EXPECT_EQ(control<QListWidget>(form, "lvChosen")->count(), count);
            control<QListWidget>(form, "lvChosen")->selectAll();
            press(form, "cmdRemove");
            EXPECT_EQ(control<QListWidget>(form, "lvChosen")->count(), 0);
            EXPECT_FALSE(control<QPushButton>(form, "cmdRemove")->isEnabled());
            press(form, "cmdOK");
        },
        {picked("alice")});
    EXPECT_TRUE(names.empty());
}

TEST_F(frmAddressBookTest, OkTakesTheSelectionWhenNothingWasAdded) {
    const auto play = [](QWidget* form) {
        type(form, "alice");
        EXPECT_TRUE(QTest::qWaitFor([form] { return shownNames(form).size() == 1; }));
        if (auto* chosen = control<QListWidget>(form, "lvChosen"); chosen->count() > 0)
            chosen->clear();
        press(form, "cmdOK");
    };
    EXPECT_EQ(choose(play), Names{"Alice Adams"});
    EXPECT_EQ(choose(play, {picked("bob")}), Names{}) << "a list was emptied on purpose";
}

TEST_F(frmAddressBookTest, OneAddressTakesTheCurrentName) {
    Names names = choose(
        [](QWidget* form) {
            EXPECT_FALSE(control<QListWidget>(form, "lvChosen")->isVisible());
            EXPECT_FALSE(control<QPushButton>(form, "cmdOK")->isEnabled());
            type(form, "bob");
            EXPECT_TRUE(QTest::qWaitFor([form] { return shownNames(form).size() == 1; }));
            EXPECT_TRUE(control<QPushButton>(form, "cmdOK")->isEnabled());
            press(form, "cmdOK");
        },
        {}, true);
    EXPECT_EQ(names, Names{"Bob Baker"});
    names = choose(
        [](QWidget* form) {
            EXPECT_EQ(shownNames(form), QStringList{"Alice Adams"}) << "the present one is shown";
            press(form, "cmdOK");
        },
        {picked("alice")}, true);
    EXPECT_EQ(names, Names{"Alice Adams"});
}

TEST_F(frmAddressBookTest, OneAddressByEnterInTheList) {
    const Names names = choose(
        [](QWidget* form) {
            auto* list = control<QTreeView>(form, "lvNames");
            QTest::keyClick(control<QLineEdit>(form, "txtSearch"), Qt::Key_Down);
            list->setFocus();
            const QString name = list->currentIndex().siblingAtColumn(0).data().toString();
            EXPECT_FALSE(name.isEmpty());
            QTest::keyClick(list, Qt::Key_Return);
            EXPECT_FALSE(form->isVisible());
        },
        {}, true);
    EXPECT_EQ(names.size(), 1U);
}

TEST_F(frmAddressBookTest, ATypedAddressBecomesAOneOff) {
    Names names = choose([](QWidget* form) {
        type(form, "new.person@elsewhere.test");
        QTest::keyClick(control<QLineEdit>(form, "txtSearch"), Qt::Key_Return);
        press(form, "cmdOK");
    });
    ASSERT_EQ(names, Names{"new.person@elsewhere.test"});
    const auto entry = session().GetAddressBook()->GetAddressEntryFromID(answer[0].id);
    EXPECT_EQ(entry->Type(), "SMTP");
    EXPECT_EQ(entry->SMTPAddress(), "new.person@elsewhere.test");
    // the outbox keeps nothing of it
    EXPECT_EQ(session().GetDefaultFolder(4)->Items()->Count(), 0);

    names = choose([](QWidget* form) {
        type(form, "alice@example.test");
        QTest::keyClick(control<QLineEdit>(form, "txtSearch"), Qt::Key_Return);
        press(form, "cmdOK");
    });
    EXPECT_EQ(names, Names{"Alice Adams"}) << "who is in the book is taken from there";
}

TEST_F(frmAddressBookTest, ForcedResolutionTakesNoOneOff) {
    const Names names = choose(
        [](QWidget* form) {
            type(form, "new.person@elsewhere.test");
            QTest::keyClick(control<QLineEdit>(form, "txtSearch"), Qt::Key_Return);
            EXPECT_TRUE(shownNames(form).isEmpty());
            EXPECT_EQ(control<QListWidget>(form, "lvChosen")->count(), 0);
            press(form, "cmdOK");
        },
        {}, false, true);
    EXPECT_TRUE(names.empty());
}

TEST_F(frmAddressBookTest, PreselectedOnesThatAreGoneStayUntilRemoved) {
    const PickedRecipient oneOff{session()
                                     .GetDefaultFolder(4)
                                     ->Items()
                                     ->Add("IPM.Note")
                                     ->Recipients()
                                     ->Add("x@y.test")
                                     ->ID(),
                                 "x@y.test"};
    const PickedRecipient gone{EntryID("00000000DCA740C8C042101AB4B908002B2FE18201000000000000002F6"
                                       "F3D4500"),
                               "Left Person"};
    const Names names =
        choose([](QWidget* form) { press(form, "cmdOK"); }, {picked("Sales"), oneOff, gone});
    EXPECT_EQ(names, (Names{"Sales", "x@y.test", "Left Person"}));
    EXPECT_EQ(answer[2].id, gone.id);
}

TEST_F(frmAddressBookTest, TheLabelOfTheCallerStandsOnTheButton) {
    whenModal("frmAddressBook", [](QWidget* form) {
        const auto* add = control<QPushButton>(form, "cmdAdd");
        EXPECT_EQ(add->text(), "List >");
        EXPECT_EQ(add->shortcut(), QKeySequence("Alt+A"));
        press(form, "cmdOK");
    });
    ShowAddressBook(session(), {picked("Sales")}, "Title", false, false, "List", nullptr);
}

TEST_F(frmAddressBookTest, CancelIsTold) {
    for (const bool one : {false, true}) {
        whenModal("frmAddressBook", [](QWidget* form) { QTest::keyClick(form, Qt::Key_Escape); });
        try {
            ShowAddressBook(session(), {}, "Title", one, false, {}, nullptr);
            ADD_FAILURE() << "no error";
        } catch (const PlatformError& error) {
            EXPECT_EQ(error.number(), MAPI_E_USER_CANCEL);
            EXPECT_NE(error.description().find("MAPI_E_USER_CANCEL"), std::string::npos);
        }
    }
}

/// A book of many names that can fail.
class BigBook : public AddressBook {
public:
    explicit BigBook(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const std::string number = std::to_string(100000 + i);
            rows.push_back({EntryID(HexOf(number.data(), number.size())), "Person " + number,
                            "p" + number + "@example.test", static_cast<int>(i % 7)});
        }
    }
    std::shared_ptr<AddressList> GAL() const override { return nullptr; }
    AddressEntryPtr GetAddressEntryFromID(const EntryID&) const override {
        throw PlatformError(MAPI_E_NOT_FOUND, "none");
    }
    std::vector<AddressRow> Search(std::string_view prefix, size_t limit) const override {
        if (fail)
            throw PlatformError(MAPI_E_CALL_FAILED, "The address book went away.", "AddressBook");
        std::vector<AddressRow> found;
        for (const AddressRow& row : rows)
            if (found.size() < limit && StartsWithNoCase(row.name, prefix))
                found.push_back(row);
        asked = limit;
        return found;
    }
    std::vector<AddressRow> rows;
    mutable size_t asked = 0;
    bool fail = false;
};

TEST(AddressRowsTest, FetchesMoreWhenTheEndIsReached) {
    auto book = std::make_shared<BigBook>(20000);
    AddressRows rows(book);
    rows.Search("", std::nullopt);
    EXPECT_EQ(rows.rowCount(), 200);
    rows.fetchMore({});
    EXPECT_EQ(rows.rowCount(), 1000);
    while (rows.canFetchMore({})) {
        const int before = rows.rowCount();
        rows.fetchMore({});
        EXPECT_GT(rows.rowCount(), before);
        EXPECT_LE(rows.rowCount(), before + 4000) << "each fetch must be quick";
    }
    EXPECT_EQ(rows.rowCount(), 20000);
    EXPECT_EQ(rows.data(rows.index(19999, 1), Qt::DisplayRole).toString(), "p119999@example.test");
    rows.Search("Person 11999", std::nullopt);
    EXPECT_EQ(rows.rowCount(), 10);
    EXPECT_FALSE(rows.canFetchMore({}));
}

TEST(AddressRowsTest, ABookThatFailsIsTold) {
    auto book = std::make_shared<BigBook>(1000);
    AddressRows rows(book);
    rows.Search("", std::nullopt);
    book->fail = true;
    std::string reason;
    QObject::connect(&rows, &AddressRows::failed,
                     [&](const PlatformError& error) { reason = error.description(); });
    rows.fetchMore({});
    EXPECT_EQ(reason, "The address book went away.");
    EXPECT_FALSE(rows.canFetchMore({}));
    EXPECT_THROW(rows.Search("a", std::nullopt), PlatformError);
    EXPECT_EQ(rows.rowCount(), 0);
}

TEST(AddressRowsTest, IconsByKind) {
    EXPECT_EQ(AddressImage(0), "imgUser");
    EXPECT_EQ(AddressImage(1), "imgDL");
    EXPECT_EQ(AddressImage(3), "imgDL");
    EXPECT_EQ(AddressImage(2), "imgFolder");
    EXPECT_EQ(AddressImage(6), "imgContact");
}

} // namespace
