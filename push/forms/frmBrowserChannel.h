#pragma once

#include <QLabel>
#include <memory>

#include "push/forms/BrowserListForm.h"

namespace Ui {
class frmBrowserChannel;
}

namespace kr {

/// "Mandatory Browser Channel": a lasting icon on the handhelds, with its pages where wanted.
class frmBrowserChannel : public BrowserListForm {
    Q_OBJECT
public:
    frmBrowserChannel(AgentSession& session, TreeModel& tree, const EntryID& list,
                      QWidget* parent = nullptr);
    ~frmBrowserChannel() override;

protected:
    void ReadFields() override;
    void Saved() override;

private:
    void showCache();
    void connectFields();
    void enableFields();
    void onChild(bool ticked);
    void onBrowse(ChannelIcon which);
    void onDetails();
    void showStoredIcon(ChannelIcon which);
    QLabel& picture(ChannelIcon which);

    std::unique_ptr<::Ui::frmBrowserChannel> m_ui;
};

} // namespace kr
