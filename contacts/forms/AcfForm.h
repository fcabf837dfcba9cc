#pragma once

#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <string>

#include "contacts/basACFRecord.h"
#include "contacts/forms/RecipientBox.h"

namespace kr {

class TreeModel;

/// What the dialogs of the two kinds of folder sources share: the record, its folder and its
/// administrators.
class AcfForm : public QDialog {
    Q_OBJECT
public:
    /// The id of the record that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

protected:
    struct Controls {
        QLineEdit* name;
        QPlainTextEdit* description;
        QPlainTextEdit* path;
        QPushButton* choose; // the folder
        QListWidget* admins;
        QPushButton* chooseAdmins;
        QPushButton* details;
        QPushButton* ok;
        QPushButton* cancel;
    };
    /// `form` names the dialog in the log.
    AcfForm(AgentSession& session, TreeModel& tree, const EntryID& record, std::string_view form,
            QWidget* parent);
    /// To be called when the controls are there.
    void Start(const Controls& controls);

    AgentSession& session() { return m_session; }
    AcfSource& source() { return m_source; }
    const AcfSource& source() const { return m_source; }
    const Controls& controls() const { return m_controls; }
    void SetChanged() { m_changed = true; }
    void ClearFolder();
    void ChooseFolder();
    /// A box, and the focus goes to the field; false.
    bool Refuse(const std::string& text, QWidget* focus);

    // What the kinds differ in. Those that open throw as the store does.
    /// The record has been read: what is needed to open its folder.
    virtual void Loaded() {}
    /// The stores that the picker shows.
    virtual FolderPickOptions Places() const = 0;
    virtual RDOFolderPtr OpenFolder(const EntryID& id, const EntryID& store) = 0;
    virtual std::string PathOf(RDOFolder& folder) = 0;
    /// Why the kind can't take a folder of that name; "" when it can.
    virtual std::string Refusal(const std::string& /*name*/) const { return {}; }
    /// The first refusals of OK; true when there is a folder and a name.
    virtual bool Complete() = 0;

private:
    void load();
    void showSource();
    void openStoredFolder();
    bool take(const FolderPick& pick);
    bool free(RDOFolder& folder, const EntryID& id, EntryID& orphan);
    void keep(RDOFolder& folder, const EntryID& id);
    void adopt(const EntryID& orphan);
    void onOK();

    AgentSession& m_session;
    TreeModel& m_tree;
    EntryID m_id;
    std::string m_form;
    Controls m_controls{};
    RecipientBox* m_admins = nullptr;
    EntryID m_saved;
    AcfSource m_source;
    std::string m_shownPath; // as the picker knows it
    bool m_changed = false;
};

} // namespace kr
