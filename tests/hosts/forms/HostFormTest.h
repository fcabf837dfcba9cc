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

#include "core/basDate.h"
#include "hosts/forms/LimitBox.h"
#include "hosts/forms/frmHost.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace kr {

/// frmHost over a configured mailbox with one host, "SRVA".
class frmHostTest : public ::testing::Test {
protected:
    frmHostTest() {
        world.LogOnConfigured();
        id = hosts.Add("SRVA");
        put("AgentVersion", "3.5.5");
        put("Reporting", false);
    }
    void put(std::string_view name, const Value& value) { hosts.Set(id, name, value); }
    Value key(std::string_view name) { return hosts.Get(id, name); }
    void open() {
        form = std::make_unique<frmHost>(*world.session, id);
        ASSERT_TRUE(form->loaded());
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class W>
    W* get(const char* name) {
        return control<W>(form.get(), name);
    }
    void press(const char* name) { QTest::mouseClick(get<QPushButton>(name), Qt::LeftButton); }
    void tick(const char* name) {
        auto* box = get<QCheckBox>(name);
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    }
    void choose(const char* name) {
        auto* option = get<QRadioButton>(name);
        QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(8, option->height() / 2));
    }
    QTabWidget* tabs() { return get<QTabWidget>("tabPages"); }
    void page(const char* name) { tabs()->setCurrentWidget(get<QWidget>(name)); }
    QSpinBox* number(const char* name) { return get<QSpinBox>(name); }
    void type(const char* name, const char* text) {
        number(name)->setFocus();
        number(name)->selectAll();
        QTest::keyClicks(number(name), text);
    }
    Names entries(const char* name) {
        Names all;
        auto* list = get<QListWidget>(name);
        for (int i = 0; i < list->count(); ++i)
            all.push_back(ToUtf8(list->item(i)->text()));
        return all;
    }
    bool dirty() { return get<QPushButton>("cmdApply")->isEnabled(); }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    EntryID id;
    std::unique_ptr<frmHost> form;
};

} // namespace kr
