#pragma once

#include <deque>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "platform/ui/Ui.h"

namespace kr {

/// The person at the console, played from a list: every box, picker and file question must have
/// been expected, in order, else the test fails. Texts are compared whole when given.
class ScriptedUi : public Ui {
public:
    struct Said {
        std::string text;
        BoxIcon icon = BoxIcon::None;
        std::string title;
    };

    ~ScriptedUi() override;

    /// The next box must have this text ("" accepts any) and gets this answer.
    void Expect(std::string text, BoxAnswer answer = BoxAnswer::OK);
    void ExpectInput(std::optional<std::string> answer);
    void ExpectOpenFile(std::optional<std::string> answer);
    void ExpectSaveFile(std::optional<std::string> answer);
    /// nullopt: the person cancels.
    void ExpectAddressBook(std::optional<std::vector<PickedRecipient>> answer);
    void ExpectFolders(std::vector<FolderPick> answer);
    /// Progress windows report Cancel from the n-th look on; -1: never.
    void CancelProgressAfter(int looks) { m_cancelAfter = looks; }

    const std::vector<Said>& boxes() const { return m_boxes; }
    const std::vector<std::string>& statuses() const { return m_statuses; }
    std::string lastStatus() const { return m_statuses.empty() ? "" : m_statuses.back(); }
    const std::vector<std::vector<PickedRecipient>>& preselected() const { return m_preselected; }
    /// The label of each address book that was shown.
    const std::vector<std::string>& toLabels() const { return m_toLabels; }
    int doEventsCalls() const { return m_doEvents; }
    int waitCursors() const { return m_waitCursors; }
    const std::vector<std::string>& popups() const { return m_popups; }
    std::string lastFilter() const { return m_lastFilter; }
    /// Runs at each DoEvents, to play what happens meanwhile.
    std::function<void()> onDoEvents;

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
    void ShowStatus(std::string_view text) override { m_statuses.emplace_back(text); }
    void ShowProgress(int64_t, int64_t) override {}
    void PushWaitCursor() override { ++m_waitCursors; }
    void PopWaitCursor() override { --m_waitCursors; }
    void DoEvents() override;

private:
    struct Box {
        std::string text;
        BoxAnswer answer;
    };
    std::deque<Box> m_expected;
    std::deque<std::optional<std::string>> m_inputs, m_opens, m_saves;
    std::deque<std::optional<std::vector<PickedRecipient>>> m_books;
    std::deque<std::vector<FolderPick>> m_folders;
    std::vector<Said> m_boxes;
    std::vector<std::string> m_statuses, m_popups;
    std::vector<std::vector<PickedRecipient>> m_preselected;
    std::vector<std::string> m_toLabels;
    std::string m_lastFilter;
    int m_cancelAfter = -1;
    int m_doEvents = 0;
    int m_waitCursors = 0;
};

} // namespace kr
