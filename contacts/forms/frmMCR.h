#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "core/AgentSession.h"

namespace Ui {
class frmMCR;
}

namespace kr {

class TreeModel;

/// "EPS - Master Contact Repository": which folder it is.
class frmMCR : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a record where there is none. `tree` tells which folders are sources.
    frmMCR(AgentSession& session, TreeModel& tree, const EntryID& record,
           QWidget* parent = nullptr);
    ~frmMCR() override;

    /// The id of the record that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

private:
    void load();
    void onPath();
    bool take(const FolderPick& pick);
    bool isSource(const EntryID& folder);
    void onOK();

    std::unique_ptr<::Ui::frmMCR> m_ui;
    AgentSession& m_session;
    TreeModel& m_tree;
    EntryID m_id;
    EntryID m_saved;
    EntryID m_folder;
    std::string m_path; // as it is stored, not as it is shown
    bool m_changed = false;
};

} // namespace kr
