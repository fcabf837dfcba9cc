#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <string>

#include "core/AgentSession.h"
#include "core/ListModel.h"

class QMenu;

namespace Ui {
class frmFindUser;
}

namespace kr {

class ListAdapter;

/// "Find User": searches the Users recordset by name and address.
class frmFindUser : public QDialog {
    Q_OBJECT
public:
    /// Selects the row of that key (the user's entry id) in the main list.
    using GoTo = std::function<void(const std::string& key)>;

    frmFindUser(AgentSession& session, GoTo goTo, QWidget* parent = nullptr);
    ~frmFindUser() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void makeMenu();
    void onQuery();
    void onGoTo();
    void showMenu(const QPoint& at);

    std::unique_ptr<::Ui::frmFindUser> m_ui;
    AgentSession& m_session;
    GoTo m_goTo;
    ListModel m_list;
    std::unique_ptr<ListAdapter> m_adapter;
    QMenu* m_menu = nullptr;
};

} // namespace kr
