#include <QCloseEvent>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QSplitter>
#include <filesystem>

#include "console/forms/ListAdapter.h"
#include "console/forms/TreeAdapter.h"
#include "console/forms/frmFleetMain.h"
#include "core/Settings.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFleetMain.h"

namespace kr {

namespace {

constexpr double kTwips = 15; // a logical pixel at 96 dpi
constexpr int kMinWidth = 3000 / 15;
constexpr int kCloseRetry = 50; // milliseconds

int pixels(Registry& registry, std::string_view name) {
    return qRound(NumberSetting(registry, name) / kTwips);
}

/// The place moved, and if needed cut, so that it lies on one of the screens.
QRect onScreen(QRect place) {
    const QScreen* screen = QGuiApplication::screenAt(place.center());
    const QRect area = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    place.setSize(place.size().boundedTo(area.size()));
    place.moveLeft(qBound(area.left(), place.left(), area.right() + 1 - place.width()));
    place.moveTop(qBound(area.top(), place.top(), area.bottom() + 1 - place.height()));
    return place;
}

} // namespace

void frmFleetMain::loadWindow() {
    Registry& registry = m_session.platform.registry;
    setMinimumWidth(kMinWidth);
    if (BooleanSetting(registry, "Maximized")) {
        setWindowState(windowState() | Qt::WindowMaximized);
    } else {
        setGeometry(onScreen({pixels(registry, "MainLeft"), pixels(registry, "MainTop"),
                              pixels(registry, "MainWidth"), pixels(registry, "MainHeight")}));
    }
    const int left = qMax(1, pixels(registry, "SplitterLeft"));
    m_ui->imgSplitter->setSizes({left, qMax(1, width() - left)});
    m_ui->imgSplitter->setStretchFactor(0, 0);
    m_ui->imgSplitter->setStretchFactor(1, 1);
}

void frmFleetMain::saveWindow() {
    Registry& registry = m_session.platform.registry;
    if (isMinimized())
        return; // the stored place stays
    const QRect place = isMaximized() ? normalGeometry() : geometry();
    SaveSetting(registry, "Maximized", isMaximized());
    SaveSetting(registry, "MainLeft", place.left() * kTwips);
    SaveSetting(registry, "MainTop", place.top() * kTwips);
    SaveSetting(registry, "MainWidth", place.width() * kTwips);
    SaveSetting(registry, "MainHeight", place.height() * kTwips);
    SaveSetting(registry, "SplitterLeft", m_ui->imgSplitter->sizes().value(0) * kTwips);
}

void frmFleetMain::SaveSettings() {
    Registry& registry = m_session.platform.registry;
    saveWindow();
    SaveSetting(registry, "ViewMode", static_cast<int32_t>(m_viewMode));
    SaveSetting(registry, "QuickLoad", m_session.quickLoad);
    SaveSetting(registry, "ExServer", m_session.ExServer);
    SaveSetting(registry, "ExAlias", m_session.ExAlias);
    SaveSetting(registry, "Profile", m_session.Profile);
}

void frmFleetMain::Form_Load(const CommandLine& line) {
    Registry& registry = m_session.platform.registry;
    // reports and exports go into the temporary folder
    Trap([&] { m_session.platform.shell.TempFolder(); },
         [&](const Trapped& trapped) {
             m_session.ui().MsgBox("Unable to create the temporary folder.\n" + trapped.description,
                                   BoxIcon::Stop);
         });
    loadWindow();
    SetViewMode(static_cast<int>(NumberSetting(registry, "ViewMode")));
    m_session.quickLoad = BooleanSetting(registry, "QuickLoad");
    showSettingEntries();
    SetTheme(Theme::Read(registry));
    TakeLogonData(m_session, line);
    m_session.log("checking for Outlook");
    m_session.outlookPresent = m_session.platform.shell.HasViewer("x-scheme-handler/mailto");
    if (m_session.outlookPresent)
        m_session.log("found Outlook");
}

void frmFleetMain::FirstLogon() {
    if (m_session.FirstRun) {
        Activate();
        return;
    }
    if (!HasLogonData(m_session)) {
        m_session.log("no profile, no server+alias");
        ShowForm("frmLogon");
    }
    if (!HasLogonData(m_session)) {
        m_session.log("no logon parameters: unloading");
        close();
        return;
    }
    // a wizard that took over has logged on by itself
    if (!m_console->Logon() && !m_console->Connected()) {
        m_session.log("logon failed; raise frmLogon");
        m_console->RunCommand("mnuActionmnuConnect");
    }
    m_session.log("finished initial load of main form");
}

void frmFleetMain::Activate() {
    Raise();
    QCoreApplication::processEvents();
    if (m_session.FirstRun)
        m_console->RunWizard();
}

/// A load is not torn down under itself: it is told to stop, and the window closes after it.
void frmFleetMain::closeEvent(QCloseEvent* event) {
    if (m_console->Loading()) {
        m_console->StopLoad();
        QTimer::singleShot(kCloseRetry, this, &QWidget::close);
        event->ignore();
        return;
    }
    if (!m_unloaded) {
        Form_QueryUnload();
        Form_Unload();
    }
    m_unloaded = true;
    event->accept();
}

void frmFleetMain::closeOtherForms() {
    const QWidgetList forms = QApplication::topLevelWidgets();
    for (auto form = forms.crbegin(); form != forms.crend(); ++form)
        if (*form != this && (*form)->isVisible())
            (*form)->close();
}

/// Asks about what handhelds don't know yet; the close goes on whatever the answer is.
void frmFleetMain::Form_QueryUnload() {
    if (!std::exchange(m_session.personalitiesChanged, false))
        return;
    const BoxAnswer answer =
        m_session.ui().MsgBox("There are unpublished changes to the list of Personality Agents\n"
                              "Do you want to push those to handhelds now?",
                              BoxIcon::Question, BoxButtons::YesNo);
    if (answer == BoxAnswer::Yes && m_session.hooks.publishPersonalities)
        m_session.hooks.publishPersonalities();
}

void frmFleetMain::Form_Unload() {
    m_console->StoreLanguages(false);
    closeOtherForms();
    SaveSettings();
    TrapSilently([&] { // there may never have been a report
        std::filesystem::remove(m_session.platform.shell.TempFolder() + "/ReportBSR.htm");
    });
    m_console->LogOff();
}

void frmFleetMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    m_refit.start();
}

void frmFleetMain::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if ((event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) && m_list)
        applyColors();
}

void frmFleetMain::Raise() {
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

} // namespace kr
