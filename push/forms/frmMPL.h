#pragma once

#include <QDialog>
#include <memory>

#include "console/TreeModel.h"
#include "contacts/forms/RecipientBox.h"
#include "push/MplForm.h"

namespace Ui {
class frmMPL;
}

namespace kr {

/// "EPS - Mandatory Push List": one payload and the handhelds that it goes to.
class frmMPL : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new list; one that can't be read can't be saved or pushed either.
    frmMPL(AgentSession& session, TreeModel& tree, const EntryID& list, QWidget* parent = nullptr);
    ~frmMPL() override;

    /// False: the list can't be read, which the person was told.
    bool readable() const { return m_readable; }
    /// The id of the list that was saved or pushed; empty when it stayed as it was.
    EntryID saved() const { return m_saved; }

private:
    void showFields();
    void connectAll();
    void readFields();
    /// A payload that was completed replaces the one that was typed.
    void showPayload();
    void focusOn(MplForm::Focus focus);
    void onValidate();
    void onPush();
    void onOK();

    std::unique_ptr<::Ui::frmMPL> m_ui;
    AgentSession& m_session;
    TreeModel& m_tree;
    MplForm m_form;
    bool m_readable = true;
    EntryID m_saved;
    RecipientBox* m_target = nullptr;
};

} // namespace kr
