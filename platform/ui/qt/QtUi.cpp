#include "platform/ui/qt/QtUi.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>

#include "core/PlatformError.h"

namespace kr {

namespace {

/// A wait cursor has no meaning while the person is asked something.
class PlainCursor {
public:
    PlainCursor() { QApplication::setOverrideCursor(Qt::ArrowCursor); }
    ~PlainCursor() { QApplication::restoreOverrideCursor(); }
    PlainCursor(const PlainCursor&) = delete;
    PlainCursor& operator=(const PlainCursor&) = delete;
};

QMessageBox::Icon iconOf(BoxIcon icon) {
    switch (icon) {
    case BoxIcon::Stop:
        return QMessageBox::Critical;
    case BoxIcon::Question:
        return QMessageBox::Question;
    case BoxIcon::Exclamation:
        return QMessageBox::Warning;
    case BoxIcon::Information:
        return QMessageBox::Information;
    case BoxIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons buttonsOf(BoxButtons buttons) {
    switch (buttons) {
    case BoxButtons::OKCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case BoxButtons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case BoxButtons::YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case BoxButtons::OK:
        break;
    }
    return QMessageBox::Ok;
}

BoxAnswer answerOf(int button) {
    switch (button) {
    case QMessageBox::Ok:
        return BoxAnswer::OK;
    case QMessageBox::Yes:
        return BoxAnswer::Yes;
    case QMessageBox::No:
        return BoxAnswer::No;
    default:
        return BoxAnswer::Cancel;
    }
}

/// "*.csv;*.txt" gives "csv".
QString firstSuffix(std::string_view filter) {
    const QString pattern = FromUtf8(filter).section('|', 1, 1).section(';', 0, 0);
    const QString suffix = pattern.section('.', -1).trimmed();
    return suffix.contains('*') ? QString() : suffix;
}

} // namespace

QStringList FileFilters(std::string_view filter) {
    const QStringList parts = FromUtf8(filter).split('|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString name = parts[i].section('(', 0, 0).trimmed();
        filters << name + " (" + QString(parts[i + 1]).replace(';', ' ') + ")";
    }
    return filters;
}

QtUi::QtUi() { m_sinceTurn.start(); }

QtUi::~QtUi() {
    while (m_waitDepth > 0)
        PopWaitCursor();
}

QWidget* QtUi::DialogParent() const {
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    return m_window;
}

BoxAnswer QtUi::MsgBox(std::string_view text, BoxIcon icon, BoxButtons buttons,
                       std::string_view title) {
    QMessageBox box(DialogParent());
    box.setObjectName(QStringLiteral("msgBox"));
    box.setWindowTitle(FromUtf8(title));
    box.setTextFormat(Qt::PlainText); // names from the mailbox are no markup
    box.setText(FromUtf8(text).replace(QLatin1String("\r\n"), QLatin1String("\n")));
    box.setIcon(iconOf(icon));
    box.setStandardButtons(buttonsOf(buttons));
    const PlainCursor cursor;
    return answerOf(box.exec());
}

bool QtUi::Warn(std::string_view text, bool& doNotWarnAgain) {
    if (m_dialogs.warn)
        return m_dialogs.warn(text, doNotWarnAgain);
    return MsgBox(text, BoxIcon::Exclamation, BoxButtons::OKCancel, "Warning") == BoxAnswer::OK;
}

std::optional<std::string> QtUi::InputBox(std::string_view prompt, std::string_view title,
                                          std::string_view initial) {
    QInputDialog dialog(DialogParent());
    dialog.setObjectName(QStringLiteral("inputBox"));
    dialog.setWindowTitle(FromUtf8(title));
    dialog.setLabelText(FromUtf8(prompt));
    dialog.setTextValue(FromUtf8(initial));
    const PlainCursor cursor;
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return ToUtf8(dialog.textValue());
}

std::optional<std::string> QtUi::chooseFile(QFileDialog& dialog, std::string_view filter) {
    dialog.setObjectName(QStringLiteral("fileDialog"));
    const QStringList filters = FileFilters(filter);
    if (!filters.isEmpty())
        dialog.setNameFilters(filters);
    const QString kind = firstSuffix(filter);
    if (const QString folder = m_folders.value(kind); QDir(folder).exists() && !folder.isEmpty())
        dialog.setDirectory(folder);
    const PlainCursor cursor;
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    const QString file = dialog.selectedFiles().constFirst();
    m_folders[kind] = QFileInfo(file).absolutePath();
    return ToUtf8(file);
}

std::optional<std::string> QtUi::OpenFileName(std::string_view title, std::string_view filter) {
    QFileDialog dialog(DialogParent(), FromUtf8(title));
    dialog.setFileMode(QFileDialog::ExistingFile);
    return chooseFile(dialog, filter);
}

std::optional<std::string> QtUi::SaveFileName(std::string_view title, std::string_view filter,
                                              std::string_view initial) {
    QFileDialog dialog(DialogParent(), FromUtf8(title));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(firstSuffix(filter));
    if (!initial.empty())
        dialog.selectFile(FromUtf8(initial));
    return chooseFile(dialog, filter);
}

std::vector<PickedRecipient> QtUi::ShowAddressBook(RDOSession& session,
                                                   const std::vector<PickedRecipient>& chosen,
                                                   std::string_view title, bool oneAddress,
                                                   bool forceResolution, std::string_view toLabel) {
    if (!m_dialogs.addressBook)
        return chosen;
    const PlainCursor cursor;
    return m_dialogs.addressBook(session, chosen, title, oneAddress, forceResolution, toLabel);
}

std::vector<FolderPick> QtUi::PickFolders(RDOSession& session, const FolderPickOptions& options) {
    const PlainCursor cursor;
    return m_dialogs.folders ? m_dialogs.folders(session, options) : std::vector<FolderPick>{};
}

namespace {

/// Without a window: the status bar alone.
class StatusProgress : public Progress {
public:
    explicit StatusProgress(QtUi& ui) : m_ui(ui) {}
    ~StatusProgress() override { m_ui.ShowProgress(0, 0); }
    StatusProgress(const StatusProgress&) = delete;
    StatusProgress& operator=(const StatusProgress&) = delete;
    void SetText(std::string_view text) override { m_ui.ShowStatus(text); }
    void SetValue(int64_t done, int64_t total) override { m_ui.ShowProgress(done, total); }
    bool Cancelled() const override { return false; }

private:
    QtUi& m_ui;
};

} // namespace

std::unique_ptr<Progress> QtUi::StartProgress(std::string_view caption, ProgressKind kind) {
    if (m_dialogs.progress)
        return m_dialogs.progress(caption, kind);
    return std::make_unique<StatusProgress>(*this);
}

void QtUi::Popup(std::string_view title, std::string_view text) {
    if (m_dialogs.popup)
        m_dialogs.popup(title, text);
    else
        MsgBox(text, BoxIcon::Information, BoxButtons::OK, title);
}

void QtUi::ShowStatus(std::string_view text) {
    if (m_status.text)
        m_status.text(text);
}

void QtUi::ShowProgress(int64_t done, int64_t total) {
    if (m_status.progress)
        m_status.progress(done, total);
}

void QtUi::PushWaitCursor() {
    ++m_waitDepth;
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

void QtUi::PopWaitCursor() {
    --m_waitDepth;
    QApplication::restoreOverrideCursor();
}

void QtUi::DoEvents() {
    if (m_sinceTurn.elapsed() < kTurn)
        return;
    QCoreApplication::processEvents(QEventLoop::AllEvents, kTurn / 2);
    m_sinceTurn.restart();
}

} // namespace kr
