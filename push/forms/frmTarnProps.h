#pragma once

#include <QDialog>
#include <memory>

#include "core/AgentSession.h"

namespace Ui {
class frmTarnProps;
}

namespace kr {

class TarnAddress;

/// "zandrel Tarn Mobile Engine": the address of the engine, and its health tests.
class frmTarnProps : public QDialog {
    Q_OBJECT
public:
    explicit frmTarnProps(AgentSession& session, QWidget* parent = nullptr);
    ~frmTarnProps() override;

private:
    void load();
    void onOK();

    std::unique_ptr<::Ui::frmTarnProps> m_ui;
    AgentSession& m_session;
    std::unique_ptr<TarnAddress> m_address;
};

} // namespace kr
