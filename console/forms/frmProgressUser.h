#pragma once

#include <memory>

#include "console/forms/ProgressDialog.h"

namespace Ui {
class frmProgressUser;
}

namespace kr {

/// The same as frmProgress with a bar, for operations over users.
class frmProgressUser : public ProgressDialog {
    Q_OBJECT
public:
    explicit frmProgressUser(const QString& caption, QWidget* parent = nullptr);
    ~frmProgressUser() override;

private:
    std::unique_ptr<::Ui::frmProgressUser> m_ui;
};

} // namespace kr
