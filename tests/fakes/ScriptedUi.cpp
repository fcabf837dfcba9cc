#include "tests/fakes/ScriptedUi.h"

#include <gtest/gtest.h>

#include "platform/store/Store.h"

namespace kr {

namespace {

class ScriptedProgress : public Progress {
public:
    explicit ScriptedProgress(int cancelAfter) : m_cancelAfter(cancelAfter) {}
    void SetText(std::string_view) override {}
    void SetValue(int64_t, int64_t) override {}
    bool Cancelled() const override { return m_cancelAfter >= 0 && m_looks++ >= m_cancelAfter; }

private:
    int m_cancelAfter;
    mutable int m_looks = 0;
};

/// The next answer of a list, or nothing and a failed test when nobody scripted one.
template <class T>
T next(std::deque<T>& answers, const char* what, std::string_view about) {
    if (answers.empty()) {
        ADD_FAILURE() << "unexpected " << what << ": " << about;
        return {};
    }
    T answer = std::move(answers.front());
    answers.pop_front();
    return answer;
}

} // namespace

ScriptedUi::~ScriptedUi() {
    for (const Box& box : m_expected)
        ADD_FAILURE() << "a box that was expected did not come: " << box.text;
    if (!m_inputs.empty() || !m_opens.empty() || !m_saves.empty() || !m_books.empty() ||
        !m_folders.empty())
        ADD_FAILURE() << "a question that was expected did not come";
}

void ScriptedUi::Expect(std::string text, BoxAnswer answer) {
    m_expected.push_back({std::move(text), answer});
}
void ScriptedUi::ExpectInput(std::optional<std::string> answer) { m_inputs.push_back(answer); }
void ScriptedUi::ExpectOpenFile(std::optional<std::string> answer) { m_opens.push_back(answer); }
void ScriptedUi::ExpectSaveFile(std::optional<std::string> answer) { m_saves.push_back(answer); }
void ScriptedUi::ExpectAddressBook(std::optional<std::vector<PickedRecipient>> answer) {
    m_books.push_back(std::move(answer));
}
void ScriptedUi::ExpectFolders(std::vector<FolderPick> answer) {
    m_folders.push_back(std::move(answer));
}

BoxAnswer ScriptedUi::MsgBox(std::string_view text, BoxIcon icon, BoxButtons buttons,
                             std::string_view title) {
    m_boxes.push_back({std::string(text), icon, std::string(title)});
    if (m_expected.empty()) {
        ADD_FAILURE() << "unexpected box: " << text;
        return buttons == BoxButtons::OK      ? BoxAnswer::OK
               : buttons == BoxButtons::YesNo ? BoxAnswer::No
                                              : BoxAnswer::Cancel;
    }
    Box box = std::move(m_expected.front());
    m_expected.pop_front();
    if (!box.text.empty())
        EXPECT_EQ(box.text, text);
    return box.answer;
}

bool ScriptedUi::Warn(std::string_view text, bool& doNotWarnAgain) {
    doNotWarnAgain = false;
    return MsgBox(text, BoxIcon::Exclamation, BoxButtons::OKCancel, "Warning") == BoxAnswer::OK;
}

std::optional<std::string> ScriptedUi::InputBox(std::string_view prompt, std::string_view,
                                                std::string_view) {
    return next(m_inputs, "input box", prompt);
}

std::optional<std::string> ScriptedUi::OpenFileName(std::string_view title,
                                                    std::string_view filter) {
    m_lastFilter = filter;
    return next(m_opens, "file to open", title);
}

std::optional<std::string> ScriptedUi::SaveFileName(std::string_view title, std::string_view filter,
                                                    std::string_view) {
    m_lastFilter = filter;
    return next(m_saves, "file to save", title);
}

std::vector<PickedRecipient> ScriptedUi::ShowAddressBook(RDOSession&,
                                                         const std::vector<PickedRecipient>& chosen,
                                                         std::string_view title, bool, bool,
                                                         std::string_view toLabel) {
    m_preselected.push_back(chosen);
    m_toLabels.emplace_back(toLabel);
    auto answer = next(m_books, "address book", title);
    if (!answer)
        throw PlatformError(MAPI_E_USER_CANCEL, "Error in AddressBook: MAPI_E_USER_CANCEL");
    return *answer;
}

std::vector<FolderPick> ScriptedUi::PickFolders(RDOSession&, const FolderPickOptions& options) {
    return next(m_folders, "folder picker", options.hint);
}

std::unique_ptr<Progress> ScriptedUi::StartProgress(std::string_view, ProgressKind) {
    return std::make_unique<ScriptedProgress>(m_cancelAfter);
}

void ScriptedUi::Popup(std::string_view, std::string_view text) { m_popups.emplace_back(text); }

void ScriptedUi::DoEvents() {
    ++m_doEvents;
    if (onDoEvents)
        onDoEvents();
}

} // namespace kr
