#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

namespace kr {

inline constexpr int kModalWait = 5000; // milliseconds

/// Waits until the modal window of that object name is the active one and then plays the person at
/// it. Called before what shows the window. A window that doesn't come fails the test, and whatever
/// stands in its way is closed, so that no test hangs.
template <class F>
void whenModal(const QString& name, F play, int wait = kModalWait) {
    auto* timer = new QTimer(qApp);
    QElapsedTimer since;
    since.start();
    QObject::connect(timer, &QTimer::timeout, qApp, [=] {
        QWidget* window = QApplication::activeModalWidget();
        // shortcuts work in the active window only
        const bool found = window && window->objectName() == name && window->isActiveWindow();
        if (!found && since.elapsed() <= wait)
            return;
        timer->stop();
        timer->deleteLater();
        if (found) {
            play(window);
            return;
        }
        ADD_FAILURE() << "no modal window " << name.toStdString() << ", but "
                      << (window ? window->objectName().toStdString() : "none");
        if (window)
            window->close();
    });
    timer->start(10);
}

/// The control of that name, which must be there.
template <class W>
W* control(const QWidget* form, const char* name) {
    W* found = form->findChild<W*>(name);
    EXPECT_NE(found, nullptr) << "no " << name;
    return found;
}

} // namespace kr
