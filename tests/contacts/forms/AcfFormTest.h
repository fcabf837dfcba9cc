#pragma once

#include <QDialog>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>

#include "tests/contacts/AcfTest.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"

namespace kr {

/// A person whose folder pickers keep what they were asked to show.
class PickerUi : public ScriptedUi {
public:
    std::vector<FolderPickOptions> asked;
    bool fails = false;

    std::vector<FolderPick> PickFolders(RDOSession& session,
                                        const FolderPickOptions& options) override {
        asked.push_back(options);
        if (fails)
            throw PlatformError(MAPI_E_NOT_FOUND, "no folders");
        return ScriptedUi::PickFolders(session, options);
    }
};

/// A dialog of a source or of the repository over a configured mailbox.
class AcfFormTest : public AcfTest {
protected:
    AcfFormTest() {
        own.rdo = world.session->rdo;
        own.agentInfo = world.session->agentInfo;
        own.AgentMsgID = world.session->AgentMsgID;
        own.publicStoreID = world.session->publicStoreID;
        own.agentSMTP = world.session->agentSMTP;
        CreateDefaultMCR(own);
    }
    static FolderPick pickOf(const RDOFolderPtr& folder) {
        return {folder->ID(), folder->StoreID(), "picked path"};
    }
    void showNode(const EntryID& acf, std::string_view tag = "acf") {
        ASSERT_NE(tree.Add(kAcfRootKey, acf.text(), tag, "node", "imgContact"), nullptr);
    }
    template <class Form>
    void open(const EntryID& id = {}) {
        auto made = std::make_unique<Form>(own, tree, id);
        saved = [shown = made.get()] { return shown->saved(); };
        form = std::move(made);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QLineEdit* line(const char* name) { return control<QLineEdit>(form.get(), name); }
    QPlainTextEdit* text(const char* name) { return control<QPlainTextEdit>(form.get(), name); }
    QPushButton* button(const char* name) { return control<QPushButton>(form.get(), name); }
    std::string path() { return text("txtPath")->toPlainText().toStdString(); }
    void press(const char* name) { QTest::mouseClick(button(name), Qt::LeftButton); }
    /// Presses cmdOK, which must say that and leave the dialog open.
    void refused(const std::string& why) {
        ui.Expect(why);
        press("cmdOK");
        EXPECT_TRUE(form->isVisible());
    }
    /// What the Tab key visits from the present control on.
    std::vector<std::string> tabOrder() {
        std::vector<std::string> names;
        const QWidget* first = form->focusWidget();
        do {
            names.push_back(form->focusWidget()->objectName().toStdString());
            QTest::keyClick(form->focusWidget(), Qt::Key_Tab);
        } while (form->focusWidget() != first && names.size() < 50);
        return names;
    }
    void alt(char key) { QTest::keyClick(form->focusWidget(), key, Qt::AltModifier); }
    /// A button's letter: it shows as pressed for a moment before it answers.
    template <class Answered>
    void altButton(char key, Answered answered) {
        alt(key);
        EXPECT_TRUE(QTest::qWaitFor(answered)) << key;
    }
    /// Types behind what the field holds.
    void append(const char* name, const char* what) {
        line(name)->end(false);
        QTest::keyClicks(line(name), what);
    }

    PickerUi ui;
    Platform platform{*world.store,   *world.registry, ui,          *world.events,
                      world.services, world.directory, world.shell, world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession own{platform, world.logPath()};
    std::unique_ptr<QDialog> form;
    std::function<EntryID()> saved;
};

} // namespace kr
