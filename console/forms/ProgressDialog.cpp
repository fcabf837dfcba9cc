#include "console/forms/ProgressDialog.h"

#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <algorithm>

#include "console/forms/FormTools.h"

namespace kr {

namespace {

constexpr int kColumns = 56;
constexpr int kLines = 2;    // a long name takes a second line without moving anything
constexpr int kSteps = 1000; // of the bar, whatever the total

} // namespace

ProgressDialog::ProgressDialog(QWidget* parent) : QDialog(parent) {
    // nothing but Cancel may be pressed while the operation takes its turns of the event loop
    setWindowModality(Qt::ApplicationModal);
}

void ProgressDialog::attach(QLabel* text, QPushButton* cancel, QProgressBar* bar) {
    m_text = text;
    m_cancel = cancel;
    m_bar = bar;
    m_text->setMinimumSize(TextRoom(*this, kColumns, kLines));
    if (m_bar)
        m_bar->setRange(0, kSteps);
    connect(m_cancel, &QPushButton::clicked, this, &ProgressDialog::reject);
}

void ProgressDialog::SetText(const QString& text) { m_text->setText(text); }

void ProgressDialog::SetValue(int64_t done, int64_t total) {
    if (!m_bar)
        return;
    m_bar->setRange(0, total > 0 ? kSteps : 0);
    if (total > 0)
        m_bar->setValue(static_cast<int>(std::clamp<double>(
            static_cast<double>(done) / static_cast<double>(total) * kSteps, 0, kSteps)));
}

void ProgressDialog::reject() {
    m_cancelled = true;
    m_cancel->setEnabled(false);
}

void ProgressDialog::closeEvent(QCloseEvent* event) {
    reject();
    event->ignore();
}

} // namespace kr
