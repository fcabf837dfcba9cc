#include "console/forms/DialogHooks.h"

#include <QPointer>

#include "console/forms/frmAddressBook.h"
#include "console/forms/frmFolderPicker.h"
#include "console/forms/frmPopup.h"
#include "console/forms/frmProgress.h"
#include "console/forms/frmProgressUser.h"
#include "console/forms/frmWarn.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

/// Owns a progress window, and outlives it where the window's parent goes first.
class ShownProgress : public Progress {
public:
    explicit ShownProgress(ProgressDialog* window) : m_window(window) { m_window->show(); }
    ~ShownProgress() override { delete m_window; }
    ShownProgress(const ShownProgress&) = delete;
    ShownProgress& operator=(const ShownProgress&) = delete;

    void SetText(std::string_view text) override {
        if (m_window)
            m_window->SetText(FromUtf8(text));
    }
    void SetValue(int64_t done, int64_t total) override {
        if (m_window)
            m_window->SetValue(done, total);
    }
    bool Cancelled() const override { return !m_window || m_window->Cancelled(); }

private:
    QPointer<ProgressDialog> m_window;
};

} // namespace

std::vector<PickedRecipient> ShowAddressBook(RDOSession& session,
                                             const std::vector<PickedRecipient>& chosen,
                                             std::string_view title, bool oneAddress,
                                             bool forceResolution, std::string_view toLabel,
                                             QWidget* parent) {
    frmAddressBook form(
        session, {chosen, FromUtf8(title), oneAddress, forceResolution, FromUtf8(toLabel)}, parent);
    if (form.exec() == QDialog::Accepted)
        return form.chosen();
    if (form.failure())
        throw *form.failure();
    throw PlatformError(MAPI_E_USER_CANCEL, "MAPI_E_USER_CANCEL: the dialog was cancelled.",
                        "AddressBook");
}

std::vector<FolderPick> PickFolders(RDOSession& session, const FolderPickOptions& options,
                                    const Log& log, QWidget* parent) {
    frmFolderPicker form(session, log, options, parent);
    if (form.exec() == QDialog::Accepted)
        return form.picks();
    if (form.failed())
        throw PlatformError(MAPI_E_CALL_FAILED, "There was an error loading the folder list!",
                            "frmFolderPicker");
    return {};
}

std::unique_ptr<Progress> StartProgress(std::string_view caption, ProgressKind kind,
                                        QWidget* parent) {
    const QString text = FromUtf8(caption);
    if (kind == ProgressKind::User)
        return std::make_unique<ShownProgress>(new frmProgressUser(text, parent));
    return std::make_unique<ShownProgress>(new frmProgress(text, parent));
}

void Popup(std::string_view title, std::string_view text, QWidget* parent) {
    frmPopup(FromUtf8(title), FromUtf8(text), parent).exec();
}

bool Warn(std::string_view text, bool& doNotWarnAgain, QWidget* parent) {
    frmWarn form(FromUtf8(text), parent);
    const bool confirmed = form.exec() == QDialog::Accepted;
    doNotWarnAgain = form.doNotWarnAgain();
    return confirmed;
}

} // namespace kr
