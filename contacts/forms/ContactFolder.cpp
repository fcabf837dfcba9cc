#include "contacts/forms/ContactFolder.h"

#include "contacts/basACF.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr std::string_view kNoFolder =
    "Unable to open the Source folder!\nVerify that the folder exists and that the \nlogged-in "
    "account has rights to view and open it";
constexpr QRgb kRed = 0xFFFF0000;

void setText(QPlainTextEdit& text, std::string_view content, const QPalette& palette) {
    text.setPalette(palette);
    text.setPlainText(FromUtf8(content));
}

} // namespace

std::optional<FolderPick> PickContactFolder(AgentSession& session, FolderPickOptions options,
                                            std::string_view form) {
    options.allowContacts = true;
    options.title = "Select a Contacts folder";
    auto picks = Trap([&] { return session.ui().PickFolders(*session.rdo, options); },
                      [&](const Trapped& error) {
                          session.log(std::string(form) + ": " + error.text());
                          session.ui().MsgBox("There was an error loading the folder list!\n"
                                              "Details are in the log.",
                                              BoxIcon::Stop);
                      });
    if (picks.empty())
        return {};
    return std::move(picks.front());
}

void ShowFolderPath(QPlainTextEdit& text, std::string_view path) {
    // one within a mailbox begins with a single backslash, before which there is no name
    if (path.starts_with('\\') && !path.starts_with("\\\\"))
        path.remove_prefix(1);
    setText(text, FormatFolderPath(path), QPalette());
}

void ShowNoFolder(QPlainTextEdit& text) {
    QPalette palette = text.palette();
    palette.setColor(QPalette::Text, QColor(kRed));
    setText(text, kNoFolder, palette);
}

} // namespace kr
