#include "push/forms/TarnAddress.h"

#include <QTimer>

#include "console/forms/FormTools.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"
#include "push/basTarn.h"

namespace kr {

namespace {

constexpr int kColumns = 60;
constexpr int kWaitLines = 2;

} // namespace

TarnAddress::TarnAddress(AgentSession& session, const Controls& controls, const Duty& duty,
                         QWidget& window)
    : m_session(session), m_controls(controls), m_duty(duty), m_window(window) {
    m_controls.wait->setMinimumSize(TextRoom(window, kColumns, kWaitLines));
    connect(m_controls.line, &QLineEdit::editingFinished, this, [this] {
        if (m_window.isVisible())
            refuseLocalhost();
    });
    connect(m_controls.test, &QPushButton::clicked, this, &TarnAddress::onTest);
    const auto offerTest = [this] { m_controls.test->setEnabled(!typed().empty()); };
    connect(m_controls.line, &QLineEdit::textChanged, this, offerTest);
    offerTest();
}

std::string TarnAddress::typed() const { return Trim(ToUtf8(m_controls.line->text())); }

bool TarnAddress::Refuse() { return m_refused || refuseLocalhost(); }

/// True when the text held "localhost": the person was told, and it is replaced.
bool TarnAddress::refuseLocalhost() {
    std::string url = typed();
    if (m_telling || !ReplaceLocalhost(url, m_session.platform.shell.ComputerName()))
        return false;
    m_telling = true;
    m_session.ui().MsgBox("Localhost is not a valid root", BoxIcon::Exclamation);
    m_telling = false;
    m_controls.line->setText(FromUtf8(url));
    m_controls.field->setFocus();
    m_refused = true; // Enter leaves the field and presses OK at once
    QTimer::singleShot(0, this, [this] { m_refused = false; });
    return true;
}

void TarnAddress::onTest() {
    if (refuseLocalhost() || typed().empty())
        return;
    enable(false); // the tests let events run
    {
        const WaitCursor wait(m_session.ui());
        test(typed());
    }
    enable(true);
    m_controls.wait->clear();
}

void TarnAddress::enable(bool enable) {
    for (QWidget* control :
         std::initializer_list<QWidget*>{m_controls.test, m_controls.ok, m_controls.field})
        control->setEnabled(enable);
}

void TarnAddress::test(const std::string& url) {
    const auto tell = [&](const std::string& text, BoxIcon icon) {
        if (m_window.isVisible()) // nobody waits for it behind a closed window
            m_session.ui().MsgBox(text, icon);
    };
    showWait("Checking " + url + ", please wait...");
    if (!IsRunningTarn(m_session, url)) {
        tell(url + " does not appear to be a valid TARN URL", BoxIcon::Exclamation);
        return;
    }
    showWait(std::string(m_duty.waitText));
    if (m_duty.test(m_session, url))
        tell(url + std::string(m_duty.good), BoxIcon::Information);
    else
        tell("TARN is running at " + url + std::string(m_duty.missing), BoxIcon::Exclamation);
}

void TarnAddress::showWait(const std::string& text) {
    m_controls.wait->setText(FromUtf8(text));
    m_controls.wait->repaint();
    m_session.ui().DoEvents();
}

} // namespace kr
