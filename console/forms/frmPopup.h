#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmPopup;
}

namespace kr {

/// A read-only text with "Close".
class frmPopup : public QDialog {
    Q_OBJECT
public:
    frmPopup(const QString& title, const QString& text, QWidget* parent = nullptr);
    ~frmPopup() override;

private:
    std::unique_ptr<::Ui::frmPopup> m_ui;
};

} // namespace kr
