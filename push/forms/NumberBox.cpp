#include "push/forms/NumberBox.h"

#include <QLineEdit>

#include "platform/ui/qt/QtUi.h"

namespace kr {

NumberBox::NumberBox(QWidget* parent) : QSpinBox(parent) {}

void NumberBox::SetRule(const NumberRule& rule) {
    m_rule = rule;
    setRange(rule.lowest, rule.highest);
}

int NumberBox::number() {
    interpretText(); // a shortcut presses OK without leaving the field
    return value();
}

QString NumberBox::textName() const { return lineEdit()->objectName(); }

void NumberBox::setTextName(const QString& name) { lineEdit()->setObjectName(name); }

QValidator::State NumberBox::validate(QString& text, int&) const {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    const bool within = isNumber && number >= minimum() && number <= maximum();
    return within ? QValidator::Acceptable : QValidator::Intermediate;
}

void NumberBox::fixup(QString& text) const {
    text = QString::number(ForceNumber(ToUtf8(text), m_rule));
}

} // namespace kr
