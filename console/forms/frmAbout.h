#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmAbout;
}

namespace kr {

/// "About zandrelAgent Administrator": name, versions and licence.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    /// Versions of the program and of the store library; an empty one is told as unknown.
    frmAbout(const QString& version, const QString& storeVersion, QWidget* parent = nullptr);
    ~frmAbout() override;

private:
    std::unique_ptr<::Ui::frmAbout> m_ui;
};

} // namespace kr
