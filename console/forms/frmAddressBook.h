#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>
#include <optional>

#include "platform/store/Store.h"
#include "platform/ui/Ui.h"

namespace Ui {
class frmAddressBook;
}

namespace kr {

class AddressRows;

/// The address book: a search box, the names that begin with its text, and the chosen recipients.
/// With oneAddress there is no list of chosen ones, and the current name is the answer.
class frmAddressBook : public QDialog {
    Q_OBJECT
public:
    struct Options {
        std::vector<PickedRecipient> chosen;
        QString title;
        bool oneAddress = false;
        /// Only entries of the address book; else any SMTP address may be typed.
        bool forceResolution = false;
        /// On the button that adds names; "" for its own caption.
        QString toLabel;
    };

    /// Throws PlatformError when the address book can't be read.
    frmAddressBook(RDOSession& session, Options options, QWidget* parent = nullptr);
    ~frmAddressBook() override;

    /// After OK.
    std::vector<PickedRecipient> chosen() const;
    /// Why the dialog gave up by itself.
    const std::optional<PlatformError>& failure() const { return m_failure; }

public slots:
    void accept() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeSingle();
    void makeMultiple();
    void connectControls();
    void search();
    std::optional<AddressRow> extraRow(const std::string& text) const;
    EntryID oneOff(const std::string& address) const;
    void addSelected();
    void add(const PickedRecipient& recipient, std::string_view image);
    void removeSelected();
    void enableButtons();
    void onEnter();
    void fail(const PlatformError& error);

    std::unique_ptr<::Ui::frmAddressBook> m_ui;
    RDOSession& m_session;
    AddressBookPtr m_book;
    Options m_options;
    std::unique_ptr<AddressRows> m_rows;
    QTimer m_typing;
    std::optional<PlatformError> m_failure;
};

} // namespace kr
