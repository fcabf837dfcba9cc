#pragma once

#include <QAbstractTableModel>
#include <memory>
#include <string>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// Name and address of the users that aren't marked for a push, read from the recordset row by row
/// as they are shown.
class UserRows : public QAbstractTableModel {
    Q_OBJECT
public:
    enum class FindBy { Name, Email };

    explicit UserRows(AgentSession& session, QObject* parent = nullptr);
    /// Those whose name or address begins so; "" for all.
    void Find(FindBy field, const std::string& text);
    /// The entry id of a row's user.
    std::string IdOf(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::string_view textAt(int row, int field) const;

    AgentSession& m_session;
    std::shared_ptr<Recordset> m_users; // a clone; null when the users can't be read
    std::vector<uint64_t> m_rows;       // bookmarks
};

} // namespace kr
