#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QString>
#include <QWidget>

#include "platform/ui/Ui.h"

class QFileDialog;

namespace kr {

inline QString FromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string ToUtf8(const QString& text) { return text.toStdString(); }

/// The program's own dialogs behind the seam; the start of the program names them.
struct QtDialogs {
    std::function<bool(std::string_view text, bool& doNotWarnAgain)> warn;
    std::function<std::vector<PickedRecipient>(RDOSession&, const std::vector<PickedRecipient>&,
                                               std::string_view title, bool oneAddress,
                                               bool forceResolution, std::string_view toLabel)>
        addressBook;
    std::function<std::vector<FolderPick>(RDOSession&, const FolderPickOptions&)> folders;
    std::function<std::unique_ptr<Progress>(std::string_view caption, ProgressKind)> progress;
    std::function<void(std::string_view title, std::string_view text)> popup;
};

/// The status bar of the main form.
struct QtStatus {
    std::function<void(std::string_view text)> text;
    std::function<void(int64_t done, int64_t total)> progress;
};

/// The person at the console, asked with Qt's windows. Boxes have the object name "msgBox", input
/// boxes "inputBox", file questions "fileDialog". A file question begins in the folder in which a
/// file of that kind was last opened or saved.
class QtUi : public Ui {
public:
    QtUi();
    ~QtUi() override;

    void SetDialogs(QtDialogs dialogs) { m_dialogs = std::move(dialogs); }
    void SetStatus(QtStatus status) { m_status = std::move(status); }
    /// Parent of boxes that come while no window is active.
    void SetMainWindow(QWidget* window) { m_window = window; }
    /// The window that a dialog of this moment belongs to.
    QWidget* DialogParent() const;

    BoxAnswer MsgBox(std::string_view text, BoxIcon icon, BoxButtons buttons,
                     std::string_view title) override;
    bool Warn(std::string_view text, bool& doNotWarnAgain) override;
    std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                        std::string_view initial) override;
    std::optional<std::string> OpenFileName(std::string_view title,
                                            std::string_view filter) override;
    std::optional<std::string> SaveFileName(std::string_view title, std::string_view filter,
                                            std::string_view initial) override;
    std::vector<PickedRecipient> ShowAddressBook(RDOSession& session,
                                                 const std::vector<PickedRecipient>& chosen,
                                                 std::string_view title, bool oneAddress,
                                                 bool forceResolution,
                                                 std::string_view toLabel = {}) override;
    std::vector<FolderPick> PickFolders(RDOSession& session,
                                        const FolderPickOptions& options) override;
    std::unique_ptr<Progress> StartProgress(std::string_view caption, ProgressKind kind) override;
    void Popup(std::string_view title, std::string_view text) override;
    void ShowStatus(std::string_view text) override;
    void ShowProgress(int64_t done, int64_t total) override;
    void PushWaitCursor() override;
    void PopWaitCursor() override;
    /// At most one turn of the event loop in kTurn milliseconds.
    void DoEvents() override;
    static constexpr int kTurn = 40;

private:
    std::optional<std::string> chooseFile(QFileDialog& dialog, std::string_view filter);

    QtDialogs m_dialogs;
    QtStatus m_status;
    QPointer<QWidget> m_window;
    QElapsedTimer m_sinceTurn;
    QHash<QString, QString> m_folders; // by kind of file, where the last one was chosen
    int m_waitDepth = 0;
};

/// "CSV file (*.csv)|*.csv|..." as the list of filters that QFileDialog takes.
QStringList FileFilters(std::string_view filter);

} // namespace kr
