#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmWarn;
}

namespace kr {

/// "Warning": a confirmation that can be switched off for the future.
class frmWarn : public QDialog {
    Q_OBJECT
public:
    explicit frmWarn(const QString& text, QWidget* parent = nullptr);
    ~frmWarn() override;
    bool doNotWarnAgain() const;

private:
    std::unique_ptr<::Ui::frmWarn> m_ui;
};

} // namespace kr
