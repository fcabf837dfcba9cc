#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>
#include <string>
#include <string_view>
#include <vector>

#include "contacts/basMCLRecord.h"
#include "contacts/forms/RecipientBox.h"
#include "core/AgentSession.h"

namespace kr {

/// What the dialogs of the Mandatory Contact Lists share: name and description, recipient boxes,
/// help images, and the order of OK: the name, what was changed, whether the name is free, what the
/// dialog itself demands, one save.
class RegMclForm : public QDialog {
public:
    /// The id of the record that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

protected:
    struct Help {
        QToolButton* image;
        std::string_view title;
        std::string_view text;
    };
    struct Controls {
        QLineEdit* name;
        QPlainTextEdit* description;
        QPushButton* ok;
        QPushButton* cancel;
        std::vector<Help> help;
    };
    /// An empty id makes a new list; one that can't be read can't be saved either.
    RegMclForm(AgentSession& session, const EntryID& id, QWidget* parent);

    /// Shows name and description and wires the controls; `noName` refuses an empty name.
    void Start(const Controls& controls, std::string_view noName);
    RecipientBox* AddSource(const RecipientBox::Controls& controls);
    RecipientBox* AddTarget(const RecipientBox::Controls& controls);
    /// A box that shows MCL.IncludeDLs. A list without the key keeps making a contact for each
    /// distribution list: ticked and changed, so that OK writes the key.
    void AddIncludeDLs(QCheckBox* box);

    AgentSession& session() { return m_session; }
    const EntryID& id() const { return m_id; }
    const MclRecord& record() const { return m_record; }
    void MarkChanged() { m_changed = true; }
    /// Only into an empty name.
    void ProposeName(const std::string& name);
    /// Always false, for what returns its refusal.
    bool Refuse(std::string_view text, QWidget* focus);

    /// The refusals of the dialog's own fields, in order; true when they may be saved.
    virtual bool Complete() = 0;
    virtual MclKeys Keys() = 0;

private:
    RecipientBox* addBox(const RecipientBox::Controls& controls, std::string_view title);
    void onOK();
    bool nameFree(const std::string& name);

    AgentSession& m_session;
    EntryID m_id;
    EntryID m_saved;
    MclRecord m_record;
    Controls m_controls{};
    std::string m_noName;
    bool m_readable = true;
    bool m_changed = false;
};

// Help that several of them show.
extern const std::string_view kMclTargetTitle, kMclTargetText, kMclSourceTitle,
    kMclDescriptionTitle, kMclDescriptionText;
inline constexpr std::string_view kMclNoName =
    "You must provide a unique name for this Mandatory Contact List";
inline constexpr std::string_view kMclNoSource =
    "You must select at least one name or distribution list as the Source";
inline constexpr std::string_view kMclNoTarget =
    "You must select at least one name or distribution list as the Target";

} // namespace kr
