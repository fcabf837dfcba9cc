#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "core/AgentSession.h"

namespace Ui {
class frmMandatoryNotesPF;
}

namespace kr {

class RecipientBox;

/// "EPS - Mandatory Notes Public Folder": a public folder of notes, and who receives them.
class frmMandatoryNotesPF : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new record.
    frmMandatoryNotesPF(AgentSession& session, const EntryID& record, QWidget* parent = nullptr);
    ~frmMandatoryNotesPF() override;

    /// The id of the record that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

private:
    void connectControls();
    void load();
    void showFolder(RDOFolder& folder);
    void onPath();
    bool take(const FolderPick& pick);
    void onNotes();
    void onOK();
    bool complete();
    bool refuse(const std::string& text, QWidget* focus);

    std::unique_ptr<::Ui::frmMandatoryNotesPF> m_ui;
    AgentSession& m_session;
    EntryID m_id;
    EntryID m_saved;
    EntryID m_folder;
    std::string m_folderName; // "" while the folder can't be opened
    std::string m_path;
    RecipientBox* m_target = nullptr;
    bool m_changed = false;
};

} // namespace kr
