#include "hosts/forms/LimitBox.h"

#include <QLineEdit>
#include <algorithm>
#include <utility>

#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr int kMostDigits = 6;

} // namespace

LimitBox::LimitBox(QWidget* parent) : QSpinBox(parent) {
    lineEdit()->setMaxLength(kMostDigits);
    connect(lineEdit(), &QLineEdit::textEdited, this, [this] { m_typed = true; });
    connect(lineEdit(), &QLineEdit::textChanged, this, &LimitBox::onText);
}

void LimitBox::SetLimits(const NumberLimits& limits) { setRange(limits.lowest, limits.highest); }

QString LimitBox::textName() const { return lineEdit()->objectName(); }

void LimitBox::setTextName(const QString& name) { lineEdit()->setObjectName(name); }

QValidator::State LimitBox::validate(QString& text, int&) const {
    const auto digit = [](QChar c) { return c >= '0' && c <= '9'; };
    if (!std::all_of(text.cbegin(), text.cend(), digit))
        return QValidator::Invalid;
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    const bool within = isNumber && number >= minimum() && number <= maximum();
    return within ? QValidator::Acceptable : QValidator::Intermediate;
}

void LimitBox::fixup(QString& text) const {
    text = QString::number(LimitNumber(ToUtf8(text), {minimum(), maximum()}));
}

void LimitBox::onText(const QString& text) {
    const bool typed = std::exchange(m_typed, false);
    const int number = LimitNumber(ToUtf8(text), {minimum(), maximum()});
    if (text == QString::number(number))
        return;
    if (!typed || text.toInt() > maximum())
        setValue(number);
}

} // namespace kr
