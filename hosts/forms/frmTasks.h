#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "core/AgentSession.h"
#include "core/ListModel.h"

namespace Ui {
class frmTasks;
}

namespace kr {

class ListAdapter;

/// "Server Tasks": when the jobs of a server ran and run next, and the task that runs now. It hears
/// of changes that the agent makes to the host message.
class frmTasks : public QDialog {
    Q_OBJECT
public:
    /// `running` says whether the server's service runs, which an agent that has died can't;
    /// `refreshRow` renews its row in the main list.
    frmTasks(AgentSession& session, EntryID host, std::string name, std::function<bool()> running,
             std::function<void()> refreshRow, QWidget* parent = nullptr);
    ~frmTasks() override;

    /// Rebuilds the content from the host message.
    void ShowTasks();
    void done(int result) override;

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeTimer(QTimer& timer, const char* name, int interval);
    void fitColumns();
    void showServer();
    void showCurrent(RDOMessage* host);
    void onPoll();
    bool isHost(const EntryID& id) const;
    void onRefresh();
    void onAbort();
    void onUnload();

    std::unique_ptr<::Ui::frmTasks> m_ui;
    AgentSession& m_session;
    EntryID m_id;
    std::string m_name;
    std::function<bool()> m_running;
    std::function<void()> m_refreshRow;
    RDOMessagePtr m_host; // msgHost
    ListModel m_list;
    std::unique_ptr<ListAdapter> m_adapter;
    QTimer m_poll{this};    // tmrPoll: asks the store for changes
    QTimer m_refresh{this}; // tmrRefresh
    QTimer m_unload{this};  // tmrUnload
    bool m_seen = false;
    bool m_aborted = false;
    bool m_showing = false; // the row's refresh runs events
};

} // namespace kr
