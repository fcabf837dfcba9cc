#pragma once

#include <memory>

#include "push/forms/BrowserListForm.h"

namespace Ui {
class frmBrowserMessage;
}

namespace kr {

/// "Mandatory Browser Message": one item in the message list of the handhelds' browser.
class frmBrowserMessage : public BrowserListForm {
    Q_OBJECT
public:
    frmBrowserMessage(AgentSession& session, TreeModel& tree, const EntryID& list,
                      QWidget* parent = nullptr);
    ~frmBrowserMessage() override;

protected:
    void ReadFields() override;

private:
    std::unique_ptr<::Ui::frmBrowserMessage> m_ui;
};

} // namespace kr
