#pragma once

#include <QLineEdit>

#include "hosts/AgentProps.h"
#include "hosts/forms/LimitBox.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

/// The number of attachments: what is too small becomes the default, not the lowest number.
class AttachBox : public LimitBox {
public:
    explicit AttachBox(QWidget* parent = nullptr) : LimitBox(parent) {
        connect(lineEdit(), &QLineEdit::textChanged, this, [this](const QString& text) {
            if (!lineEdit()->isModified() && isTooSmall(text)) // set, not typed
                setValue(kAttachDefault);
        });
    }

    void fixup(QString& text) const override {
        if (isTooSmall(text))
            text = QString::number(kAttachDefault);
        else
            LimitBox::fixup(text);
    }

private:
    static bool isTooSmall(const QString& text) {
        return LimitNumber(ToUtf8(text), {0, kAttachLimits.highest}) < kAttachLimits.lowest;
    }
};

} // namespace kr
