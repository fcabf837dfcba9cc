#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>
#include <optional>

#include "contacts/basADList.h"

namespace Ui {
class frmADList;
}

namespace kr {

class ListAdapter;

/// "Addresses": the forest's mailboxes, shown while they come.
class frmADList : public QDialog {
    Q_OBJECT
public:
    explicit frmADList(AgentSession& session, QWidget* parent = nullptr);
    ~frmADList() override;

    /// After OK.
    const ADPerson& choice() const { return m_choice; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void connectControls();
    void load();
    void onLoaded();
    void showNew();
    void onColumn(int column);
    void onFind();
    void onOK();
    void jumpTo(char letter);
    void showCount();
    void showOrder();
    /// Runs what changes the list's order; the current row stays the same person.
    template <class Change>
    void keepingCurrent(Change change);

    std::unique_ptr<::Ui::frmADList> m_ui;
    AgentSession& m_session;
    ListModel m_list;
    ADList m_people;
    std::unique_ptr<ListAdapter> m_adapter;
    QTimer m_flow; // shows what came
    ADPerson m_choice;
};

/// Asks for one person of the directory; nothing on cancel.
std::optional<ADPerson> PickFromADList(AgentSession& session, QWidget* parent);

} // namespace kr
