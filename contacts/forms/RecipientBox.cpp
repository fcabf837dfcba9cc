#include "contacts/forms/RecipientBox.h"

#include "contacts/basExpand.h"
#include "core/Text.h"
#include "core/basEntryID.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

/// The pieces between the ";", also empty ones: names and addresses keep their places.
std::vector<std::string> piecesOf(std::string_view list) {
    return list.empty() ? std::vector<std::string>() : Split(list, ";");
}

/// The id by which the picker knows a person; an address that stands in no address book gets one of
/// its own.
std::string idOf(AgentSession& session, const std::string& name, const std::string& address) {
    if (const AddressEntryPtr entry = GetAddressEntry(session, address))
        return entry->ID().text();
    return address.empty() ? std::string() : ToHex(MakeOneOffEntryID(name, address));
}

} // namespace

RecipientBox::RecipientBox(AgentSession& session, const Controls& controls, Picker picker,
                           std::function<void(const std::string& addresses)> showMembers,
                           QObject* parent)
    : QObject(parent), m_session(session), m_controls(controls), m_picker(std::move(picker)),
      m_showMembers(std::move(showMembers)) {
    connect(m_controls.select, &QAbstractButton::clicked, this, &RecipientBox::onSelect);
    connect(m_controls.list, &QListWidget::currentRowChanged, this, [this] { adjust(); });
    if (m_controls.remove)
        connect(m_controls.remove, &QAbstractButton::clicked, this, &RecipientBox::onRemove);
    if (m_controls.members) {
        m_controls.members->setToolTip(tr("Fully expand distribution lists to show all members"));
        connect(m_controls.members, &QAbstractButton::clicked, this, [this] {
            if (m_showMembers)
                m_showMembers(m_recipients.addresses);
        });
    }
    show();
}

void RecipientBox::Set(std::string_view names, std::string_view addresses) {
    m_recipients = {{}, std::string(names), std::string(addresses)};
    show();
}

bool RecipientBox::empty() const {
    return SplitNonEmpty(m_recipients.addresses, ";").empty() &&
           SplitNonEmpty(m_recipients.names, ";").empty();
}

void RecipientBox::onSelect() {
    RecipientList chosen = m_recipients;
    if (chosen.ids.empty()) {
        // records hold names and addresses alone
        const auto names = piecesOf(chosen.names);
        const auto addresses = piecesOf(chosen.addresses);
        std::vector<std::string> ids;
        for (size_t i = 0; i < addresses.size(); ++i)
            ids.push_back(
                idOf(m_session, i < names.size() ? names[i] : addresses[i], Trim(addresses[i])));
        chosen.ids = Join(ids, ";");
    }
    if (!PickRecipients(m_session, m_picker.title, chosen, false, m_picker.toLabel))
        return;
    const bool differs =
        chosen.names != m_recipients.names || chosen.addresses != m_recipients.addresses;
    m_recipients = std::move(chosen);
    show();
    if (differs)
        emit changed();
}

void RecipientBox::onRemove() {
    const int row = m_controls.list->currentRow();
    if (row < 0)
        return;
    const auto without = [row](const std::string& list) {
        auto pieces = piecesOf(list);
        if (static_cast<size_t>(row) < pieces.size())
            pieces.erase(pieces.begin() + row);
        return Join(pieces, ";");
    };
    m_recipients = {without(m_recipients.ids), without(m_recipients.names),
                    without(m_recipients.addresses)};
    show();
    m_controls.list->setCurrentRow(std::min(row, m_controls.list->count() - 1));
    emit changed();
}

void RecipientBox::show() {
    const QSignalBlocker quiet(m_controls.list);
    m_controls.list->clear();
    const auto names = piecesOf(m_recipients.names);
    const auto addresses = piecesOf(m_recipients.addresses);
    for (size_t i = 0; i < std::max(names.size(), addresses.size()); ++i) {
        const std::string name = i < names.size() ? Trim(names[i]) : std::string();
        m_controls.list->addItem(
            FromUtf8(name.empty() && i < addresses.size() ? addresses[i] : name));
    }
    adjust();
}

void RecipientBox::adjust() {
    if (m_controls.remove)
        m_controls.remove->setEnabled(m_controls.list->currentRow() >= 0);
    if (m_controls.members)
        m_controls.members->setEnabled(!SplitNonEmpty(m_recipients.addresses, ";").empty());
}

} // namespace kr
