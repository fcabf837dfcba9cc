#pragma once

#include <QDialog>
#include <memory>

#include "push/PdlForm.h"

class QLabel;
class QTreeView;

namespace Ui {
class frmPDL;
}

namespace kr {

class ListAdapter;

/// "PDL": how a PIN distribution list may send, whom it reaches, and who has it. The lists fill
/// while the dialog is shown; closing it ends that.
class frmPDL : public QDialog {
    Q_OBJECT
public:
    frmPDL(AgentSession& session, const EntryID& list, QWidget* parent = nullptr);
    ~frmPDL() override;
    /// The record that was saved; an empty id when none was.
    EntryID saved() const { return m_saved; }

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    enum class State { Waiting, Loading, Ended };
    void bind(QTreeView& view, ListModel& list, std::unique_ptr<ListAdapter>& adapter);
    void showOrder(QTreeView& view, const ListModel& list);
    void load();
    void showCounts();
    void onOK();

    std::unique_ptr<::Ui::frmPDL> m_ui;
    AgentSession& m_session;
    const EntryID m_list;
    PdlForm m_form;
    std::unique_ptr<ListAdapter> m_sources, m_targets;
    bool m_readable = false;
    State m_state = State::Waiting;
    bool m_closed = false;
    EntryID m_saved;
};

} // namespace kr
