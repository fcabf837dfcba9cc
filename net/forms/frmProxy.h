#pragma once

#include <QDialog>
#include <memory>

#include "net/ProxyForm.h"

class QLineEdit;

namespace Ui {
class frmProxy;
}

namespace kr {

/// "Proxy Configuration": the proxy of all web requests, kept on the agent message.
class frmProxy : public QDialog {
    Q_OBJECT
public:
    explicit frmProxy(AgentSession& session, QWidget* parent = nullptr);
    ~frmProxy() override;

private:
    void showAll();
    void enableFields();
    void read();
    void onAddressLeft(QLineEdit& field);
    void onAdd();
    void onRemove();
    void onOk();
    void focusOn(ProxyForm::Focus focus);

    std::unique_ptr<::Ui::frmProxy> m_ui;
    AgentSession& m_session;
    ProxyForm m_form;
    bool m_loading = false;
};

} // namespace kr
