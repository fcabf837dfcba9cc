#pragma once

#include <gmock/gmock.h>

#include <QAccessible>
#include <QDateTimeEdit>
#include <QGroupBox>
#include <QListWidget>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>

#include "core/Settings.h"
#include "core/basRegistry.h"
#include "hosts/forms/LimitBox.h"
#include "hosts/forms/frmAgentProps.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace kr {

/// frmAgentProps over a configured mailbox.
class frmAgentPropsTest : public ::testing::Test {
protected:
    frmAgentPropsTest() { world.LogOnConfigured(); }
    void put(std::string_view name, const Value& value) {
        hosts.Set(world.session->AgentMsgID, name, value);
    }
    Value key(std::string_view name) { return hosts.Get(world.session->AgentMsgID, name); }
    void open() { open(*world.session); }
    void open(AgentSession& session) {
        form = std::make_unique<frmAgentProps>(session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W>
    W* get(const char* name) {
        return control<W>(form.get(), name);
    }
    void press(const char* name) { QTest::mouseClick(get<QPushButton>(name), Qt::LeftButton); }
    void click(const char* name) {
        auto* button = get<QAbstractButton>(name);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    QTabWidget* tabs() { return get<QTabWidget>("tabPages"); }
    void page(int index) { tabs()->setCurrentIndex(index); }
    QSpinBox* number(const char* name) { return get<QSpinBox>(name); }
    QString text(const char* name) { return get<QLineEdit>(name)->text(); }
    void type(const char* name, const char* digits) {
        number(name)->setFocus();
        number(name)->selectAll();
        if (*digits)
            QTest::keyClicks(number(name), digits);
        else
            QTest::keyClick(number(name), Qt::Key_Delete);
    }
    void leave(const char* name) { QTest::keyClick(number(name), Qt::Key_Tab); }
    Names entries(const char* name) {
        Names all;
        auto* list = get<QListWidget>(name);
        for (int i = 0; i < list->count(); ++i)
            all.push_back(ToUtf8(list->item(i)->text()));
        return all;
    }
    Names choices(const char* name) {
        Names all;
        auto* box = get<QComboBox>(name);
        for (int i = 0; i < box->count(); ++i)
            all.push_back(ToUtf8(box->itemText(i)));
        return all;
    }
    bool dirty() { return get<QPushButton>("cmdApply")->isEnabled(); }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    std::unique_ptr<frmAgentProps> form;
};

} // namespace kr
