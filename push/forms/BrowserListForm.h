#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <string_view>
#include <vector>

#include "console/TreeModel.h"
#include "contacts/forms/RecipientBox.h"
#include "push/ChannelForm.h"
#include "push/forms/HelpImages.h"

namespace kr {

/// What the dialogs of browser channels and browser messages share: the common fields, the
/// recipients with their preview, the help, and OK.
class BrowserListForm : public QDialog {
public:
    /// The id of the list that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

protected:
    struct Controls {
        QLineEdit* name;
        QLineEdit* title;
        QLineEdit* description;
        QLineEdit* url;
        QCheckBox* enable;
        RecipientBox::Controls target; // its button for members shows the push targets
        std::string_view previewTitle;
        QPushButton* ok;
        QPushButton* cancel;
        std::vector<HelpImage> help;
    };
    /// An empty id makes a new list; one that can't be read can't be saved either.
    BrowserListForm(AgentSession& session, TreeModel& tree, bool isChannel, const EntryID& list,
                    QWidget* parent);

    void Start(const Controls& controls);
    AgentSession& session() { return m_session; }
    ChannelForm& form() { return m_form; }
    void MarkChanged() { m_form.changed = true; }

    /// Takes the dialog's own fields over before a save.
    virtual void ReadFields() = 0;
    /// The list was saved; the dialog is about to close.
    virtual void Saved() {}
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void showFields();
    void connectAll();
    void openUrl();
    void onOK();

    AgentSession& m_session;
    TreeModel& m_tree;
    ChannelForm m_form;
    bool m_readable = true;
    EntryID m_saved;
    Controls m_controls{};
    RecipientBox* m_target = nullptr;
};

// Help that both show.
extern const std::string_view kListNameText;

} // namespace kr
