#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <string>

#include "core/AgentSession.h"
#include "core/ListModel.h"

class QMenu;

namespace Ui {
class frmFindReg;
}

namespace kr {

class ListAdapter;

/// "Find Handheld": searches the handheld recordset by PIN and address.
class frmFindReg : public QDialog {
    Q_OBJECT
public:
    /// Selects the row of that key (the handheld's entry id) in the main list.
    using GoTo = std::function<void(const std::string& key)>;

    frmFindReg(AgentSession& session, GoTo goTo, QWidget* parent = nullptr);
    ~frmFindReg() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void makeMenu();
    void onQuery();
    void onGoTo();
    void showMenu(const QPoint& at);

    std::unique_ptr<::Ui::frmFindReg> m_ui;
    AgentSession& m_session;
    GoTo m_goTo;
    ListModel m_list;
    std::unique_ptr<ListAdapter> m_adapter;
    QMenu* m_menu = nullptr;
};

} // namespace kr
