#pragma once

#include <QDialog>
#include <array>
#include <functional>
#include <memory>

#include "hosts/AgentProps.h"

class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace Ui {
class frmAgentProps;
}

namespace kr {

/// "zandrelAgent Properties": what governs how the agents treat mail requests.
class frmAgentProps : public QDialog {
    Q_OBJECT
public:
    explicit frmAgentProps(AgentSession& session, QWidget* parent = nullptr);
    ~frmAgentProps() override;

    void SetDirty();
    void LoadCboEX();
    void LoadCboFax();
    void LoadCboSyntax();

    /// Not while a global catalog is being tried.
    void reject() override;

private:
    void setLimits();
    void showAll();
    void showNumbers();
    void connectFields();
    void connectLists();
    void connectList(QListWidget* list, QPushButton* add, QPushButton* remove, Strings& entries,
                     const std::function<bool()>& ask);
    void connectPeople(QPushButton* button, QLineEdit* names, const RecipientList& list,
                       const std::function<bool()>& ask);
    void connectBackup();
    void connectFax();
    void connectCustom();
    void connectButtons();
    void onAttach();
    void onSyntax(const std::string& choice);
    void onAttribute(size_t field);
    void setChecking(bool running);
    void readFields();
    bool save();

    std::unique_ptr<::Ui::frmAgentProps> m_ui;
    AgentProps m_props;
    std::array<QComboBox*, kCustomFields> m_custom{};
    bool m_loading = true; // nothing that is set now is a change
    bool m_checking = false;
};

} // namespace kr
