#pragma once

#include <QDialog>
#include <memory>

#include "push/PdlForm.h"

namespace Ui {
class frmPdlProps;
}

namespace kr {

class TarnAddress;

/// "PIN Distribution Lists": whether handhelds hear of new lists, and the address of the engine.
class frmPdlProps : public QDialog {
    Q_OBJECT
public:
    explicit frmPdlProps(AgentSession& session, QWidget* parent = nullptr);
    ~frmPdlProps() override;

private:
    void onOK();

    std::unique_ptr<::Ui::frmPdlProps> m_ui;
    AgentSession& m_session;
    PdlSettings m_stored;
    std::unique_ptr<TarnAddress> m_address;
};

} // namespace kr
