#pragma once

#include <QDialog>
#include <memory>
#include <optional>

#include "contacts/basADSI.h"

class QTreeWidgetItem;

namespace Ui {
class frmADSI;
}

namespace kr {

/// "BES Distribution Lists": the containers of the domain, each level read when it is opened.
class frmADSI : public QDialog {
    Q_OBJECT
public:
    explicit frmADSI(AgentSession& session, QWidget* parent = nullptr);
    ~frmADSI() override;

    /// After OK.
    const ADContainer& choice() const { return m_choice; }

protected:
    void done(int result) override;

private:
    void loadRoot();
    QTreeWidgetItem* addItem(QTreeWidgetItem* parent, const ADContainer& container,
                             std::string_view image);
    void onExpanded(QTreeWidgetItem* item);
    void onOK();

    std::unique_ptr<::Ui::frmADSI> m_ui;
    AgentSession& m_session;
    ContainerBrowser m_browser;
    ADContainer m_choice;
    bool m_reading = false;
    bool m_closed = false;
};

/// Asks for a container; nothing on cancel.
std::optional<ADContainer> PickContainer(AgentSession& session, QWidget* parent);

} // namespace kr
