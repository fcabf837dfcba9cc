#pragma once

#include <QSpinBox>

#include "push/ChannelForm.h"

namespace kr {

/// A number box with arrows that takes any text while it is typed in, and makes a number of it by
/// its rule when it is left.
class NumberBox : public QSpinBox {
    Q_OBJECT
    Q_PROPERTY(QString textName READ textName WRITE setTextName)
public:
    explicit NumberBox(QWidget* parent = nullptr);

    void SetRule(const NumberRule& rule);
    /// The number behind what stands there now.
    int number();
    /// Object name of the text box within.
    QString textName() const;
    void setTextName(const QString& name);

    QValidator::State validate(QString& text, int& cursor) const override;
    void fixup(QString& text) const override;

private:
    NumberRule m_rule{0, 99, 0};
};

} // namespace kr
