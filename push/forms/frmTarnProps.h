#pragma once

#include <QDialog>
#include <memory>

#include "core/AgentSession.h"

namespace Ui {
class frmTarnProps;
}

namespace kr {

/// "zandrel Tarn Mobile Engine": the address of the engine, and its health tests.
class frmTarnProps : public QDialog {
    Q_OBJECT
public:
    explicit frmTarnProps(AgentSession& session, QWidget* parent = nullptr);
    ~frmTarnProps() override;

private:
    void load();
    std::string typed() const;
    /// True when the text held "localhost": the person was told, and it is replaced.
    bool refuseLocalhost();
    void onTest();
    void test(const std::string& url);
    void showWait(const std::string& text);
    void onOK();

    std::unique_ptr<::Ui::frmTarnProps> m_ui;
    AgentSession& m_session;
    bool m_telling = false; // a box takes the focus from the field once more
    bool m_refused = false; // in the event that is being handled
};

} // namespace kr
