#pragma once

#include <QDialog>
#include <memory>

#include "core/AgentSession.h"

namespace Ui {
class frmMandatoryNote;
}

namespace kr {

class RecipientBox;

/// "EPS - Mandatory Note": the text of one note, and who receives it.
class frmMandatoryNote : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new note.
    frmMandatoryNote(AgentSession& session, const EntryID& record, QWidget* parent = nullptr);
    ~frmMandatoryNote() override;

    /// The id of the note that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

private:
    void load();
    void showLength();
    void onOK();

    std::unique_ptr<::Ui::frmMandatoryNote> m_ui;
    AgentSession& m_session;
    EntryID m_id;
    EntryID m_saved;
    RecipientBox* m_target = nullptr;
    bool m_changed = false;
};

} // namespace kr
