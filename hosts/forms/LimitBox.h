#pragma once

#include <QSpinBox>

#include "hosts/HostRules.h"

namespace kr {

/// A number box with arrows that takes digits alone (LimitEntry) and keeps to its limits. What is
/// too large is corrected at once; a number that is too small may be the beginning of a larger one
/// while it is being typed, so that is corrected when the box is left.
class LimitBox : public QSpinBox {
    Q_OBJECT
    Q_PROPERTY(QString textName READ textName WRITE setTextName)
public:
    explicit LimitBox(QWidget* parent = nullptr);

    void SetLimits(const NumberLimits& limits);
    /// Object name of the text box within.
    QString textName() const;
    void setTextName(const QString& name);

    QValidator::State validate(QString& text, int& cursor) const override;
    void fixup(QString& text) const override;

private:
    void onText(const QString& text);

    bool m_typed = false; // the text that is being reported comes from the keyboard
};

} // namespace kr
