#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/EntryID.h"

/// How subsystems talk to the person at the console. The Qt implementation shows real windows; the
/// scripted twin of the tests answers from a list.
namespace kr {

inline constexpr std::string_view kAppTitle = "zandrelAgent Administrator";

/// Stop for failures, exclamation for validation, information for notices, question for choices.
enum class BoxIcon { None, Stop, Question, Exclamation, Information };
enum class BoxButtons { OK, OKCancel, YesNo, YesNoCancel };
enum class BoxAnswer { OK, Cancel, Yes, No };

/// A progress window: a caption, one line of text, a bar where a total is known, and Cancel.
class Progress {
public:
    virtual ~Progress() = default;
    virtual void SetText(std::string_view text) = 0;
    /// `total` 0: the length isn't known.
    virtual void SetValue(int64_t done, int64_t total) = 0;
    /// True from the moment the person pressed Cancel or closed the window.
    virtual bool Cancelled() const = 0;
};

enum class ProgressKind { Plain, User };

/// One entry that is shown in, or came back from, the address book dialog.
struct PickedRecipient {
    EntryID id;
    std::string name;
};

/// What the folder picker may offer; see FolderPick for the answer.
struct FolderPickOptions {
    bool showMailbox = true;
    /// Address of the mailbox to show; empty: the one that the session is logged on to.
    std::string mailbox;
    bool showPublicFolders = true;
    bool allowMail = false;
    bool allowContacts = false;
    bool allowNotes = false;
    bool allowTasks = false;
    bool multiple = false;
    std::string startPath;
    std::string hint;
    /// Of the window; empty: "Folder Selector".
    std::string title;
};
struct FolderPick {
    EntryID entryID;
    EntryID storeID;
    std::string path;
};

class RDOSession;

class Ui {
public:
    virtual ~Ui() = default;

    virtual BoxAnswer MsgBox(std::string_view text, BoxIcon icon,
                             BoxButtons buttons = BoxButtons::OK,
                             std::string_view title = kAppTitle) = 0;
    /// frmWarn: a confirmation with "do not warn again"; the flag goes out as ticked.
    virtual bool Warn(std::string_view text, bool& doNotWarnAgain) = 0;
    virtual std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                                std::string_view initial = {}) = 0;
    /// `filter` as "CSV file (*.csv)|*.csv"; nothing when cancelled.
    virtual std::optional<std::string> OpenFileName(std::string_view title,
                                                    std::string_view filter) = 0;
    virtual std::optional<std::string> SaveFileName(std::string_view title, std::string_view filter,
                                                    std::string_view initial = {}) = 0;
    /// The address book with `chosen` preselected; `toLabel` stands on the button that adds names.
    /// Throws PlatformError whose text holds "MAPI_E_USER_CANCEL" when the person cancels.
    virtual std::vector<PickedRecipient> ShowAddressBook(RDOSession& session,
                                                         const std::vector<PickedRecipient>& chosen,
                                                         std::string_view title, bool oneAddress,
                                                         bool forceResolution,
                                                         std::string_view toLabel = {}) = 0;
    /// Nothing when cancelled. Throws PlatformError when no folder can be read at all.
    virtual std::vector<FolderPick> PickFolders(RDOSession& session,
                                                const FolderPickOptions& options) = 0;
    virtual std::unique_ptr<Progress> StartProgress(std::string_view caption,
                                                    ProgressKind kind) = 0;
    /// frmPopup: a read-only text with "Close".
    virtual void Popup(std::string_view title, std::string_view text) = 0;

    /// Panel 1 of the status bar.
    virtual void ShowStatus(std::string_view text) = 0;
    /// Panel 2 of the status bar: the mailbox that the console is connected to.
    virtual void ShowMailbox(std::string_view /*text*/) {}
    /// The bar in the status bar; `total` 0 hides it.
    virtual void ShowProgress(int64_t done, int64_t total) = 0;
    /// A wait cursor while the depth is above 0; use WaitCursor.
    virtual void PushWaitCursor() = 0;
    virtual void PopWaitCursor() = 0;
    /// Lets queued events run, at most once in a few milliseconds however often it is called.
    virtual void DoEvents() = 0;
};

class WaitCursor {
public:
    explicit WaitCursor(Ui& ui) : m_ui(ui) { m_ui.PushWaitCursor(); }
    ~WaitCursor() { m_ui.PopWaitCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

private:
    Ui& m_ui;
};

} // namespace kr
