#pragma once

#include <memory>
#include <string>

#include "contacts/forms/RegMclLinkedForm.h"

namespace Ui {
class frmRegMclACDS;
}

namespace kr {

/// "EPS - Mandatory Contact Data Source": the contacts that a query gives for the people of a
/// recipient list.
class frmRegMclACDS : public RegMclLinkedForm {
    Q_OBJECT
public:
    /// An empty id makes a new list on that source.
    frmRegMclACDS(AgentSession& session, const EntryID& id, const MclSource* source,
                  QWidget* parent = nullptr);
    ~frmRegMclACDS() override;

protected:
    MclKeys Keys() override;

private:
    void showSource(const MclSource* source);
    void onRun();

    std::unique_ptr<::Ui::frmRegMclACDS> m_ui;
    std::string m_cxnString; // with its password, which is never shown
    std::string m_query;
};

} // namespace kr
