#pragma once

#include <QAbstractTableModel>
#include <optional>

#include "platform/store/Store.h"

namespace kr {

/// Rows of the address book that begin with a text, as a model of two columns: name and address.
/// It fetches a few at first and more as the view reaches its end, so that the size of the address
/// book doesn't count. One more row can stand at the end, for what the book doesn't hold.
class AddressRows : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit AddressRows(AddressBookPtr book, QObject* parent = nullptr);

    /// Searches anew. Throws PlatformError; the model is empty then.
    void Search(std::string_view prefix, std::optional<AddressRow> extra);
    const AddressRow& At(int row) const;
    /// -1 when it isn't among the fetched rows.
    int Find(const EntryID& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

signals:
    /// The address book failed while more rows were fetched.
    void failed(const kr::PlatformError& error);

private:
    AddressBookPtr m_book;
    std::string m_prefix;
    std::vector<AddressRow> m_rows;
    std::optional<AddressRow> m_extra;
    size_t m_limit = 0;
    bool m_whole = true;
};

/// The image of an address book entry, by its display type.
std::string_view AddressImage(int displayType);

} // namespace kr
