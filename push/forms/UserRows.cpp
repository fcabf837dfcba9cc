#include "push/forms/UserRows.h"

#include "console/UserFields.h"
#include "console/basUsers.h"
#include "core/basText.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr std::string_view kUnmarked = "[PushSelected]=False AND [State]>-1";
constexpr UserFieldID kFields[] = {UserFieldID::DisplayName, UserFieldID::Email};

} // namespace

UserRows::UserRows(AgentSession& session, QObject* parent)
    : QAbstractTableModel(parent), m_session(session) {
    if (const auto users = RequireUsers(session)) {
        m_users = users->Clone();
        m_users->SetSort("[DisplayName] ASC");
    }
    Find(FindBy::Name, "");
}

void UserRows::Find(FindBy field, const std::string& text) {
    if (!m_users)
        return;
    std::string filter(kUnmarked);
    if (!text.empty())
        filter += std::string(field == FindBy::Name ? " AND [DisplayName]" : " AND [Email]") +
                  " LIKE '" + EscapeQuotes(text) + "%'";
    beginResetModel();
    m_rows.clear();
    ApplyFilter(m_session, *m_users, filter);
    for (m_users->MoveFirst(); !m_users->EOF_(); m_users->MoveNext())
        m_rows.push_back(m_users->Bookmark());
    endResetModel();
}

std::string_view UserRows::textAt(int row, int field) const {
    const auto at = static_cast<size_t>(row);
    if (at >= m_rows.size() || !m_users->SetBookmark(m_rows[at]))
        return {};
    return m_users->Text(field);
}

std::string UserRows::IdOf(int row) const {
    return std::string(textAt(row, Index(UserFieldID::EntryID)));
}

int UserRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int UserRows::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(std::size(kFields));
}

QVariant UserRows::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || role != Qt::DisplayRole)
        return {};
    return FromUtf8(textAt(index.row(), Index(kFields[index.column()])));
}

QVariant UserRows::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == 0 ? tr("Name") : tr("Email");
}

} // namespace kr
