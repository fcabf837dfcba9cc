#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmEPSAdvanced;
}

namespace kr {

/// "EPS - Advanced Settings" of an on-demand run. It writes nothing: frmEPSNow saves its choice
/// with the others.
class frmEPSAdvanced : public QDialog {
    Q_OBJECT
public:
    explicit frmEPSAdvanced(bool mergeEmailDupes, QWidget* parent = nullptr);
    ~frmEPSAdvanced() override;

    bool mergeEmailDupes() const;

private:
    std::unique_ptr<::Ui::frmEPSAdvanced> m_ui;
};

} // namespace kr
