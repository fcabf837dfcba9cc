#pragma once

#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include "platform/ui/qt/QtUi.h"
#include "tests/contacts/MclTest.h"
#include "tests/support/Modal.h"

namespace kr {

/// The session of a world with another person at the console.
template <class Person>
struct PersonSession {
    Person ui;
    Platform platform;
    AgentSession session;

    explicit PersonSession(World& w)
        : platform{*w.store, *w.registry, ui,     *w.events, w.services, w.directory,
                   w.shell,  w.database,  w.http, w.secrets, w.clock},
          session(platform, w.logPath()) {
        session.rdo = w.session->rdo;
        session.agentInfo = w.session->agentInfo;
        session.AgentMsgID = w.session->AgentMsgID;
    }
};

/// Keeps titles and texts of pop-ups.
class PopupReader : public ScriptedUi {
public:
    void Popup(std::string_view title, std::string_view text) override {
        shown = {std::string(title), std::string(text)};
    }
    std::pair<std::string, std::string> shown;
};

/// One of the dialogs of Mandatory Contact Lists, played by a person.
template <class Form>
class RegMclFormTest : public ::testing::Test, protected MclWorld {
protected:
    template <class... Args>
    void openForm(const Args&... args) {
        form = std::make_unique<Form>(session(), args..., nullptr);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W>
    W* get(const char* name) {
        return control<W>(form.get(), name);
    }
    void press(const char* name) { QTest::mouseClick(get<QPushButton>(name), Qt::LeftButton); }
    void typeName(const char* text) {
        get<QLineEdit>("txtName")->clear();
        QTest::keyClicks(get<QLineEdit>("txtName"), text);
    }
    void pick(const char* button, const std::vector<std::string>& names) {
        std::vector<PickedRecipient> answer;
        for (const std::string& name : names)
            answer.push_back({world.Entry(name)->ID(), name});
        world.ui.ExpectAddressBook(answer);
        press(button);
    }
    QStringList items(const char* list) {
        QStringList texts;
        for (int i = 0; i < get<QListWidget>(list)->count(); ++i)
            texts << get<QListWidget>(list)->item(i)->text();
        return texts;
    }
    QString text(const char* box) { return get<QPlainTextEdit>(box)->toPlainText(); }
    /// OK is refused with that box, and the focus goes there.
    void expectRefusal(const std::string& box, const char* focus) {
        world.ui.Expect(box);
        press("cmdOK");
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
        EXPECT_TRUE(form->isVisible());
        EXPECT_EQ(form->focusWidget(), get<QWidget>(focus));
        EXPECT_TRUE(form->saved().empty());
    }
    /// What each help image of a form shows: title and text.
    template <class... Args>
    void expectHelp(const std::vector<std::pair<std::string, std::string>>& help,
                    const Args&... args) {
        PersonSession<PopupReader> reader(world);
        Form shown(reader.session, args..., nullptr);
        shown.show();
        for (size_t i = 0; i < help.size(); ++i) {
            const std::string name = "imgPopup" + std::to_string(i);
            QTest::mouseClick(control<QToolButton>(&shown, name.c_str()), Qt::LeftButton);
            EXPECT_EQ(reader.ui.shown.first, help[i].first);
            EXPECT_EQ(reader.ui.shown.second, help[i].second);
        }
        EXPECT_EQ(shown.template findChildren<QToolButton*>().size(),
                  static_cast<int>(help.size()));
    }
    /// Saves, and gives the record.
    RDOMessagePtr save() {
        press("cmdOK");
        EXPECT_FALSE(form->isVisible());
        EXPECT_FALSE(form->saved().empty());
        return open(form->saved());
    }
    /// The window of members: its title and its rows.
    QStringList members(const char* button) {
        QStringList shown;
        whenModal("frmDetails", [&](QWidget* window) {
            auto* list = control<QTreeView>(window, "lvDetail");
            const QLabel* count = control<QLabel>(window, "lblCount");
            EXPECT_TRUE(QTest::qWaitFor([&] { return !count->text().endsWith(" 0"); }, 1000));
            shown << window->windowTitle();
            for (int i = 0; i < list->model()->rowCount(); ++i)
                shown << list->model()->index(i, 0).data().toString() + " " +
                             list->model()->index(i, 1).data().toString();
            window->close();
        });
        press(button);
        return shown;
    }
    inline static const std::pair<std::string, std::string> kTargetHelp{
        "Mandatory Contacts: Target",
        "Select the handheld users who will receive the manadatory contacts. You can select "
        "individidual mailboxes and distribution lists"};
    inline static const std::pair<std::string, std::string> kDescriptionHelp{
        "Mandatory Contacts: Description (optional)",
        "Text entered here will appear in the Notes field of mandatory contacts that are directly "
        "created by this process. This description will not be added to users' existing contacts "
        "that are being updated but are not owned by this Mandatory Contact List. A mandatory "
        "contact that belongs to more than one list will include descriptions from each of its "
        "parent lists."};
    static std::string keyText(RDOMessage& list, std::string_view name) {
        return KeyText(list, name);
    }

    std::unique_ptr<Form> form;
};

} // namespace kr
