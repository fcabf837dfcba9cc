#pragma once

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;

namespace kr {

/// What frmProgress and frmProgressUser do. The window stays until its owner removes it: Cancel,
/// Escape and closing only set the flag that the operation reads.
class ProgressDialog : public QDialog {
    Q_OBJECT
public:
    void SetText(const QString& text);
    /// `total` 0: the length isn't known. A window without a bar leaves it aside.
    void SetValue(int64_t done, int64_t total);
    bool Cancelled() const { return m_cancelled; }

public slots:
    void reject() override;

protected:
    explicit ProgressDialog(QWidget* parent);
    /// The controls of the form; `bar` may be null.
    void attach(QLabel* text, QPushButton* cancel, QProgressBar* bar);
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* m_text = nullptr;
    QPushButton* m_cancel = nullptr;
    QProgressBar* m_bar = nullptr;
    bool m_cancelled = false;
};

} // namespace kr
