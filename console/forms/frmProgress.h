#pragma once

#include <memory>

#include "console/forms/ProgressDialog.h"

namespace Ui {
class frmProgress;
}

namespace kr {

/// The small window of a long operation: a caption, one line of text and Cancel.
class frmProgress : public ProgressDialog {
    Q_OBJECT
public:
    explicit frmProgress(const QString& caption, QWidget* parent = nullptr);
    ~frmProgress() override;

private:
    std::unique_ptr<::Ui::frmProgress> m_ui;
};

} // namespace kr
